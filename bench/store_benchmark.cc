// Speed of the store's hot paths on a library of 100,000 captures, each with
// a few hundred words of screen text drawn from a Zipf-like vocabulary, so
// that rare and common words behave as they do in a real library.
//
// Single operations are timed one at a time over many repetitions; read the
// p50 and p95 rows.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "bench/one_at_a_time.h"
#include "core/store/library_store.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

constexpr int kCaptures = 100'000;
constexpr int kVocabulary = 30'000;
constexpr int kWordsPerCapture = 120;
constexpr double kFirstDay = 1'700'000'000;

// Words of one length, so that none is the prefix of another and a prefix
// term matches one word, as a real word mostly does.
std::string word(int rank) {
  std::string result = "w____";
  for (int i = 4, n = rank; i >= 1; --i, n /= 26) result[i] = static_cast<char>('a' + n % 26);
  return result;
}

// A library of kCaptures, made once for all benchmarks of the run. All are
// organized but the newest 50, which wait in the pipeline.
struct BigLibrary {
  testing::TempDir dir;
  LibraryStore store{dir.path()};
  std::string rareQuery;  // the two rarest words of one capture

  BigLibrary() {
    std::mt19937 random(7);
    // Rank r is drawn with weight 1/(r+1): a few words everywhere, most rare.
    std::vector<double> weights(kVocabulary);
    for (int r = 0; r < kVocabulary; ++r) weights[r] = 1.0 / (r + 1);
    std::discrete_distribution<int> rank(weights.begin(), weights.end());
    for (int n = 0; n < kCaptures; ++n) {
      Capture capture = testing::sampleCapture(n, kFirstDay + n * 60.0);
      capture.app = n % 3 ? "Firefox" : "Terminal";
      store.insert(capture);
      std::string text;
      int rarest = 0, nextRarest = 0;
      for (int w = 0; w < kWordsPerCapture; ++w) {
        const int r = rank(random);
        text += word(r) + ' ';
        if (r > rarest) {
          nextRarest = rarest;
          rarest = r;
        } else if (r > nextRarest && r != rarest) {
          nextRarest = r;
        }
      }
      if (n == kCaptures / 2) rareQuery = word(rarest) + " " + word(nextRarest);
      store.setRead(capture.id, text, std::nullopt);
      if (n < kCaptures - 50) store.setCollection(capture.id, std::nullopt);
    }
  }
};

BigLibrary& big() {
  static BigLibrary library;
  return library;
}

void BM_Insert(benchmark::State& state) {
  auto& store = big().store;
  static int next = kCaptures;
  for (auto _ : state) store.insert(testing::sampleCapture(next++, kFirstDay));
}
BENCHMARK(BM_Insert)->Apply(bench::oneAtATime);

void BM_CapturesRecent500(benchmark::State& state) {
  auto& store = big().store;
  for (auto _ : state) benchmark::DoNotOptimize(store.captures(500, LibraryFilter::recent()));
}
BENCHMARK(BM_CapturesRecent500)->Apply(bench::oneAtATime);

void BM_TextSearchRareWords(benchmark::State& state) {
  auto& store = big().store;
  const std::string query = big().rareQuery;
  std::size_t hits = 0;
  for (auto _ : state) hits = store.textSearch(query, 200).size();
  state.counters["hits"] = static_cast<double>(hits);
}
BENCHMARK(BM_TextSearchRareWords)->Apply(bench::oneAtATime);

// The worst case: two words found in nearly every capture, so FTS5 ranks
// the whole library.
void BM_TextSearchCommonWords(benchmark::State& state) {
  auto& store = big().store;
  const std::string query = word(0) + " " + word(1);  // in nearly every capture
  std::size_t hits = 0;
  for (auto _ : state) hits = store.textSearch(query, 200).size();
  state.counters["hits"] = static_cast<double>(hits);
}
BENCHMARK(BM_TextSearchCommonWords)->Apply([](benchmark::internal::Benchmark* b) {
  bench::oneAtATime(b, 20);
});

void BM_Pending20(benchmark::State& state) {
  auto& store = big().store;
  for (auto _ : state) benchmark::DoNotOptimize(store.pending(now(), 20));
}
BENCHMARK(BM_Pending20)->Apply(bench::oneAtATime);

void BM_CountSince(benchmark::State& state) {
  auto& store = big().store;
  const Date since = dateFromSeconds(kFirstDay + (kCaptures - 5000) * 60.0);
  for (auto _ : state) benchmark::DoNotOptimize(store.count(since));
}
BENCHMARK(BM_CountSince)->Apply(bench::oneAtATime);

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
