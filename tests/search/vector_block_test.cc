// The block's scans of codes must give exactly what scoring every float
// gives: the same scores, in the same order, ties included.
#include "core/search/vector_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "core/model/vector_math.h"

namespace brindlemoor {
namespace {

using Vectors = std::vector<std::vector<float>>;
using namespace std::string_view_literals;

VectorBlock blockOf(const Vectors& vectors) {
  VectorBlock block;
  for (const auto& vector : vectors)
    block.append("v" + std::to_string(block.entries().size()), vector);
  return block;
}

void expectSameAnswers(const VectorBlock& block, const Vectors& queries) {
  for (const auto& query : queries) {
    const auto all = SearchMerge::scores(query, block.entries(), std::nullopt);
    EXPECT_EQ(block.standouts(query), SearchMerge::standouts(all));
    // Floors between the scores and on them, where >= must hold exactly.
    for (float floor : {-1.0f, 0.0f, 0.1f, 0.5f, 0.76f, all[3].score, all.back().score}) {
      for (const auto excluding : {std::optional<std::string_view>(), std::optional("v3"sv)}) {
        auto plain = SearchMerge::scores(query, block.entries(), excluding);
        std::erase_if(plain, [&](const SearchMerge::Score& s) { return s.score < floor; });
        std::ranges::stable_sort(plain, std::ranges::greater{}, &SearchMerge::Score::score);
        EXPECT_EQ(block.atLeast(query, floor, excluding), plain);
      }
    }
  }
}

// A unit vector near `centre`.
std::vector<float> near(std::mt19937& random, const std::vector<float>& centre, float spread) {
  std::normal_distribution<float> noise(0, spread);
  std::vector<float> vector(centre);
  for (float& x : vector) x += noise(random);
  return VectorMath::unit(vector);
}

TEST(VectorBlockTest, ScatteredAndClusteredVectorsGiveTheAnswersOfTheFloats) {
  std::mt19937 random(1);
  Vectors vectors;
  for (int i = 0; i < 25'000; ++i) vectors.push_back(near(random, Vectors::value_type(96), 1));
  // Stored vectors themselves, one scaled far from unit length, and a stranger.
  std::vector<float> scaled = vectors[9];
  for (float& x : scaled) x *= 40;
  expectSameAnswers(blockOf(vectors),
                    {vectors[3], scaled, near(random, Vectors::value_type(96), 1)});

  // Clusters and duplicates keep their order on ties.
  Vectors centres;
  vectors.clear();
  for (int c = 0; c < 8; ++c) centres.push_back(near(random, Vectors::value_type(64), 1));
  for (int i = 0; i < 600; ++i) {
    // Every third vector repeats an earlier one, so equal scores abound.
    vectors.push_back(i % 3 == 2 ? vectors[static_cast<std::size_t>(i) / 2]
                                 : near(random, centres[i % 8], 0.02f));
  }
  expectSameAnswers(blockOf(vectors), {vectors[0], centres[1], near(random, centres[2], 0.3f)});
}

TEST(VectorBlockTest, BlocksThatCannotBeCodedStillAnswer) {
  std::mt19937 random(3);
  Vectors mixed;
  for (int i = 0; i < 200; ++i)
    mixed.push_back(near(random, Vectors::value_type(i == 50 ? 32 : 48), 1));
  Vectors withNaN(mixed.begin() + 51, mixed.end());
  withNaN[10][0] = std::nanf("");
  Vectors few(mixed.begin() + 51, mixed.begin() + 60);
  for (const Vectors& vectors : {mixed, few}) expectSameAnswers(blockOf(vectors), {vectors[1]});
  // A query of another length scores 0 everywhere.
  EXPECT_EQ(blockOf(withNaN).atLeast(mixed[50], 0.0f, std::nullopt).size(), withNaN.size());
}

}  // namespace
}  // namespace brindlemoor
