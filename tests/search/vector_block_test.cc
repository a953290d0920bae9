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

VectorBlock blockOf(const Vectors& vectors) {
  VectorBlock block;
  for (const auto& vector : vectors)
    block.append("v" + std::to_string(block.entries().size()), vector);
  return block;
}

std::vector<SearchMerge::Score> plainAtLeast(const VectorBlock& block, std::span<const float> query,
                                             float floor,
                                             std::optional<std::string_view> excluding) {
  auto scores = SearchMerge::scores(query, block.entries(), excluding);
  std::erase_if(scores, [&](const SearchMerge::Score& s) { return s.score < floor; });
  std::ranges::stable_sort(scores, std::ranges::greater{}, &SearchMerge::Score::score);
  return scores;
}

void expectSameAnswers(const VectorBlock& block, const Vectors& queries) {
  for (const auto& query : queries) {
    const auto all = SearchMerge::scores(query, block.entries(), std::nullopt);
    EXPECT_EQ(block.standouts(query), SearchMerge::standouts(all));
    // Floors between the scores and on them, where >= must hold exactly.
    for (float floor : {-1.0f, 0.0f, 0.1f, 0.5f, 0.76f, all[3].score, all[all.size() - 1].score}) {
      EXPECT_EQ(block.atLeast(query, floor, std::nullopt),
                plainAtLeast(block, query, floor, std::nullopt));
      EXPECT_EQ(block.atLeast(query, floor, "v3"), plainAtLeast(block, query, floor, "v3"));
    }
  }
}

class Field {
 public:
  explicit Field(unsigned seed) : m_random(seed) {}

  std::vector<float> unitNear(const std::vector<float>& centre, float spread) {
    std::normal_distribution<float> noise(0, spread);
    std::vector<float> vector(centre);
    for (float& x : vector) x += noise(m_random);
    return VectorMath::unit(vector);
  }
  std::vector<float> anywhere(std::size_t dimension) {
    return unitNear(std::vector<float>(dimension, 0.0f), 1.0f);
  }

 private:
  std::mt19937 m_random;
};

TEST(VectorBlockTest, ScatteredVectorsGiveTheAnswersOfTheFloats) {
  Field field(1);
  Vectors vectors;
  for (int i = 0; i < 25'000; ++i) vectors.push_back(field.anywhere(96));
  const VectorBlock block = blockOf(vectors);
  // Stored vectors themselves, one scaled far from unit length, and strangers.
  std::vector<float> scaled = vectors[9];
  for (float& x : scaled) x *= 40;
  expectSameAnswers(block,
                    {vectors[3], vectors[7], scaled, field.anywhere(96), field.anywhere(96)});
}

TEST(VectorBlockTest, ClustersAndDuplicatesKeepTheirOrderOnTies) {
  Field field(2);
  Vectors centres;
  for (int c = 0; c < 8; ++c) centres.push_back(field.anywhere(64));
  Vectors vectors;
  for (int i = 0; i < 600; ++i) {
    // Every third vector repeats an earlier one, so equal scores abound.
    vectors.push_back(i % 3 == 2 ? vectors[static_cast<std::size_t>(i) / 2]
                                 : field.unitNear(centres[i % 8], 0.02f));
  }
  const VectorBlock block = blockOf(vectors);
  expectSameAnswers(block, {vectors[0], vectors[5], centres[1], field.unitNear(centres[2], 0.3f)});
}

TEST(VectorBlockTest, BlocksThatCannotBeCodedStillAnswer) {
  Field field(3);
  Vectors mixed;
  for (int i = 0; i < 200; ++i) mixed.push_back(field.anywhere(i == 50 ? 32 : 48));
  Vectors withNaN(mixed.begin() + 51, mixed.end());
  withNaN[10][0] = std::nanf("");
  Vectors few(mixed.begin() + 51, mixed.begin() + 60);
  for (const Vectors& vectors : {mixed, few}) {
    expectSameAnswers(blockOf(vectors), {vectors[1], vectors[4]});
  }
  // A query of another length scores 0 everywhere.
  const VectorBlock block = blockOf(withNaN);
  EXPECT_EQ(block.atLeast(field.anywhere(32), 0.0f, std::nullopt).size(), withNaN.size());
  EXPECT_TRUE(VectorBlock().standouts(withNaN[2]).empty());
}

}  // namespace
}  // namespace brindlemoor
