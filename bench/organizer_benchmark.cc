// Speed of Organizer::decide over a library of 100,000 captures with vectors
// of 768 floats: 80,000 in 2,000 collections of uneven sizes and 20,000
// unsorted. Each decision computes every collection's centroid afresh and,
// unless it joins one, scores every unsorted capture, so it reads up to 300 MB
// of vectors; the bytes per second of what it reads show how close that
// comes to the memory's speed. Read the p50 and p95 rows.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <deque>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "bench/one_at_a_time.h"
#include "core/organizing/organizer.h"
#include "core/model/vector_math.h"

namespace brindlemoor {
namespace {

constexpr std::size_t kDimension = 768;
constexpr std::size_t kCollections = 2000;
constexpr std::size_t kCollected = 80000;
constexpr std::size_t kUnsorted = 20000;

class Vectors {
 public:
  // A random direction.
  std::vector<float> random() {
    std::vector<float> v(kDimension);
    for (float& x : v) x = m_normal(m_generator);
    return VectorMath::unit(v);
  }
  // A unit vector about 0.89 from `center`, so that two of them score about
  // 0.8 against each other, as captures of one subject do.
  std::vector<float> near(const std::vector<float>& center) {
    const std::vector<float> noise = random();
    std::vector<float> v(kDimension);
    for (std::size_t i = 0; i < kDimension; ++i) v[i] = center[i] + 0.5f * noise[i];
    return VectorMath::unit(v);
  }

 private:
  std::mt19937 m_generator{7};
  std::normal_distribution<float> m_normal;
};

// Collection sizes spread over two orders of magnitude, as in a library
// where a few subjects dominate, adding up to about kCollected.
std::vector<std::size_t> collectionSizes() {
  std::mt19937 generator(11);
  std::lognormal_distribution<double> spread(0.0, 1.0);
  std::vector<double> weights(kCollections);
  for (double& w : weights) w = spread(generator);
  const double total = std::accumulate(weights.begin(), weights.end(), 0.0);
  std::vector<std::size_t> sizes(kCollections);
  std::size_t sum = 0;
  for (std::size_t i = 0; i < kCollections; ++i) {
    sizes[i] = std::max<std::size_t>(2, static_cast<std::size_t>(weights[i] / total * kCollected));
    sum += sizes[i];
  }
  sizes.front() += kCollected - std::min(sum, kCollected);
  return sizes;
}

struct SampleLibrary {
  Vectors vectors;
  std::vector<std::vector<float>> centers;
  std::deque<std::vector<float>> held;  // what the groups view; a deque never moves them
  std::vector<Organizer::Group> collections;
  std::vector<Organizer::Unsorted> unsorted;
  std::size_t collectedBytes = 0;
  std::size_t unsortedBytes = kUnsorted * kDimension * sizeof(float);

  SampleLibrary() {
    for (const std::size_t size : collectionSizes()) {
      centers.push_back(vectors.random());
      Organizer::Group group{"c" + std::to_string(collections.size()), {}};
      for (std::size_t i = 0; i < size; ++i)
        group.members.push_back(held.emplace_back(vectors.near(centers.back())));
      collectedBytes += size * kDimension * sizeof(float);
      collections.push_back(std::move(group));
    }
    for (std::size_t i = 0; i < kUnsorted; ++i) {
      unsorted.push_back({"u" + std::to_string(i), held.emplace_back(vectors.random())});
    }
  }
};

SampleLibrary& library() {
  static SampleLibrary made;
  return made;
}

// Times the decision on `capture`, which must be of the kind `Expected`.
template <typename Expected>
void decide(benchmark::State& state, const std::vector<float>& capture) {
  const SampleLibrary& made = library();
  const Organizer organizer;
  for (auto _ : state) {
    const Organizer::Decision decision = organizer.decide(capture, made.collections, made.unsorted);
    if (!std::holds_alternative<Expected>(decision.value))
      state.SkipWithError("unexpected decision");
    benchmark::DoNotOptimize(decision);
  }
  // A join is decided before the unsorted captures are read.
  const bool joins = std::is_same_v<Expected, Organizer::Decision::Join>;
  const std::size_t bytes = made.collectedBytes + (joins ? 0 : made.unsortedBytes);
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

// A capture on the subject of the largest collection.
void BM_DecideJoin(benchmark::State& state) {
  SampleLibrary& made = library();
  const auto largest = std::max_element(
      made.collections.begin(), made.collections.end(),
      [](const auto& a, const auto& b) { return a.members.size() < b.members.size(); });
  decide<Organizer::Decision::Join>(
      state, made.vectors.near(made.centers[largest - made.collections.begin()]));
}
BENCHMARK(BM_DecideJoin)->Apply([](auto* b) { bench::oneAtATime(b, 50); });

// A capture near one unsorted capture and no collection: every collection
// is looked at and none is joined, then the unsorted ones are scored.
void BM_DecideForm(benchmark::State& state) {
  SampleLibrary& made = library();
  const std::span<const float> neighbour = made.unsorted[kUnsorted / 2].vector;
  decide<Organizer::Decision::Form>(
      state, made.vectors.near(std::vector<float>(neighbour.begin(), neighbour.end())));
}
BENCHMARK(BM_DecideForm)->Apply([](auto* b) { bench::oneAtATime(b, 50); });

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
