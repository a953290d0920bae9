// Speed of keeping: Library::keep of a 1 MB picture with a 50 KB thumbnail,
// files written atomically and the row inserted. Read the p50 and p95 rows.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "bench/one_at_a_time.h"
#include "core/library/library.h"
#include "core/library/local_media_work.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

Bytes noise(std::size_t size) {
  std::mt19937 random(3);
  Bytes bytes(size);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

// One library for every repetition, so it grows as a real one does. Its
// pipeline runs beside the keeping, as in the application; the bytes are no
// picture and the daemon is out of reach, so each capture fails its reading
// at once and waits.
struct Keeping {
  testing::TempDir dir;
  testing::ClosedPort daemon;
  Library library{std::make_unique<LibraryStore>(dir.path()),
                  OllamaClient(daemon.host()),
                  "v",
                  "e",
                  Organizer(),
                  std::make_unique<LocalMediaWork>()};
  const Bytes png = noise(1 << 20);
  const Bytes thumbnail = noise(50 << 10);
  int next = 0;
};

void BM_Keep1MBPicture(benchmark::State& state) {
  static Keeping keeping;
  for (auto _ : state) {
    const int n = keeping.next++;
    keeping.library.keep(testing::sampleCapture(n, 1'700'000'000.0 + n), keeping.png,
                         keeping.thumbnail);
  }
}
BENCHMARK(BM_Keep1MBPicture)->Apply(bench::oneAtATime);

// Filing one capture in a library of 100,000 embedded captures, 2,000
// collections of 40 and 20,000 unsorted, with 768-float vectors: the
// capture waits at `embedded`, and work() files it (the daemon names the
// collection it joins when that is due).
struct Filing {
  static constexpr int kCaptures = 100'000;
  static constexpr int kDimension = 768;
  testing::TempDir dir;
  testing::ImitationOllama daemon;
  std::unique_ptr<Library> library;
  std::mt19937 random{11};
  int next = kCaptures;

  std::vector<float> unitNear(const std::vector<float>& centre, float spread) {
    std::normal_distribution<float> noise(0, spread);
    std::vector<float> vector(centre);
    float norm = 0;
    for (float& x : vector) {
      x += noise(random);
      norm += x * x;
    }
    for (float& x : vector) x /= std::sqrt(norm);
    return vector;
  }

  Filing() {
    daemon.setModels({"v", "e"});
    daemon.setReply(R"({"name": "Group", "emoji": "📁"})");
    {
      LibraryStore store(dir.path());
      std::vector<std::vector<float>> centres;
      for (int c = 0; c < 2'000; ++c) {
        centres.push_back(unitNear(std::vector<float>(kDimension, 0.0f), 1.0f));
        store.insertCollection({"c" + std::to_string(c), "Group", "📁", now(), now(), 0, 0, true});
      }
      for (int n = 0; n < kCaptures; ++n) {
        const std::string id = testing::sampleID(n);
        store.insert(testing::sampleCapture(n, n));
        const auto vector = unitNear(centres[n % 2'000], 0.01f);
        store.setEmbedding(id, "e", {{VectorSpace::look, vector}, {VectorSpace::meaning, vector}});
        store.setCollection(
            id, n < 80'000 ? std::optional("c" + std::to_string(n % 2'000)) : std::nullopt);
      }
    }
    library = std::make_unique<Library>(std::make_unique<LibraryStore>(dir.path()),
                                        OllamaClient(daemon.host()), "v", "e", Organizer(),
                                        std::make_unique<LocalMediaWork>());
  }

  // Keeps one more capture, embedded and waiting to be filed.
  void embedNext() {
    const int n = next++;
    const std::string id = testing::sampleID(n);
    library->store().insert(testing::sampleCapture(n, n));
    const auto vector = unitNear(unitNear(std::vector<float>(kDimension, 0.0f), 1.0f), 0.01f);
    library->store().setEmbedding(id, "e",
                                  {{VectorSpace::look, vector}, {VectorSpace::meaning, vector}});
  }
};

// The first filing after a start reads every vector in and sums every
// collection; this times those that follow.
void BM_OrganizeAmong100000(benchmark::State& state) {
  static Filing filing;
  static const bool warmed = [] {
    filing.embedNext();
    filing.library->work();
    return true;
  }();
  benchmark::DoNotOptimize(warmed);
  for (auto _ : state) {
    state.PauseTiming();
    filing.embedNext();
    state.ResumeTiming();
    filing.library->work();
  }
}
BENCHMARK(BM_OrganizeAmong100000)->Apply([](benchmark::internal::Benchmark* b) {
  bench::oneAtATime(b, 20);
});

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
