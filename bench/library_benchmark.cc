// Speed of keeping: Library::keep of a 1 MB picture with a 50 KB thumbnail,
// files written atomically and the row inserted. Read the p50 and p95 rows.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

#include "bench/one_at_a_time.h"
#include "core/library/library.h"
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
// pipeline step files each capture at once, so keeping is measured with the
// drain running beside it, as in the application.
struct Keeping {
  testing::TempDir dir;
  Library library{std::make_unique<LibraryStore>(dir.path()), "v", "e",
                  [this](const Capture& c) { library.store().setCollection(c.id, std::nullopt); }};
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

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
