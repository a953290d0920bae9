#include "core/search/search_merge.h"

#include <gtest/gtest.h>

#include <array>
#include <span>

namespace brindlemoor {
namespace {

using SearchMerge::Score;
using Ids = std::vector<std::string>;

// A stored vector as the store hands it over.
struct Entry {
  std::string id;
  std::vector<float> vector;
};

// Scores named "s0", "s1", ... in the order given.
std::vector<Score> field(const std::vector<float>& values) {
  static const std::array<std::string, 12> names = {"s0", "s1", "s2", "s3", "s4",  "s5",
                                                    "s6", "s7", "s8", "s9", "s10", "s11"};
  std::vector<Score> result;
  for (std::size_t i = 0; i < values.size(); ++i) result.push_back({names.at(i), values[i]});
  return result;
}

TEST(SearchMergeScores, KeepsTheOrderOfTheVectorsAndLeavesOutTheExcludedId) {
  const std::vector<Entry> entries = {
      {"a", {0.6f, 0.8f}}, {"b", {1.0f, 0.0f}}, {"c", {0.0f, 1.0f}}, {"d", {-1.0f, 0.0f}}};
  const std::vector<float> query = {1.0f, 0.0f};
  EXPECT_EQ(SearchMerge::scores(query, entries, "b"),
            (std::vector<Score>{{"a", 0.6f}, {"c", 0.0f}, {"d", -1.0f}}));
  EXPECT_EQ(SearchMerge::scores(query, entries, std::nullopt).size(), 4u);
}

// The scores view the ids of the vectors they came from, so vectors that die
// at the end of the call must not compile.
template <class V>
concept Scorable = requires(std::span<const float> query, V&& vectors) {
  SearchMerge::scores(query, std::forward<V>(vectors), std::nullopt);
};
static_assert(Scorable<const std::vector<Entry>&>);
static_assert(!Scorable<std::vector<Entry>>);

TEST(SearchMergeStandouts, TheBestAndThoseNearItAndFromSixScoresAboveTheMedian) {
  EXPECT_EQ(SearchMerge::standouts(field({0.42f, 0.50f, 0.45f})),
            (std::vector<Score>{{"s1", 0.50f}, {"s2", 0.45f}}));
  // Five equal scores come back in their own order: the sort is stable.
  EXPECT_EQ(SearchMerge::standouts(field(std::vector<float>(5, 0.7f))),
            field(std::vector<float>(5, 0.7f)));
  EXPECT_TRUE(SearchMerge::standouts(field(std::vector<float>(6, 0.7f))).empty());
  // Of an even field the lower middle, 0.50, lifts the floor to 0.58, under
  // near at 0.63; the upper middle, 0.60, would lift it to 0.68 and drop 0.66.
  EXPECT_EQ(SearchMerge::standouts(field({0.30f, 0.40f, 0.50f, 0.60f, 0.66f, 0.70f})),
            (std::vector<Score>{{"s5", 0.70f}, {"s4", 0.66f}}));
}

TEST(SearchMergeMerge, RanksByReciprocalPositionsThenIdUpToTheLimit) {
  EXPECT_EQ(SearchMerge::merge({{"a", "b"}, {"b", "c"}}, 60), (Ids{"b", "a", "c"}));
  // "z" with 1/61 + 1/63 beats "a" with 1/61; counted once it would tie and
  // lose by its id.
  EXPECT_EQ(SearchMerge::merge({{"z", "b", "z"}, {"a"}}, 60), (Ids{"z", "a", "b"}));
  EXPECT_EQ(SearchMerge::merge({{"a", "b"}, {"b", "c"}}, 2), (Ids{"b", "a"}));
}

TEST(SearchMergeCollections, ACoveredOneHasThreeQuartersOfAtLeastThreeAndIsCompleted) {
  const SearchMerge::Members members = {
      {"four", {"f1", "f2", "f3", "f4"}},
      {"two", {"t1", "t2"}},
      {"eight-5", {"e1", "e2", "e3", "e4", "e5", "e6", "e7", "e8"}},
      {"eight-6", {"g1", "g2", "g3", "g4", "g5", "g6", "g7", "g8"}},
  };
  const Ids found = {"f1", "x",  "f3", "t1", "t2", "f2", "e1", "e2", "e3",
                     "e4", "e5", "g1", "g2", "g3", "g4", "g5", "g6"};
  // Ascending by collection id; 6 of 8 is exactly three quarters.
  EXPECT_EQ(SearchMerge::coveredCollections(found, members), (Ids{"eight-6", "four"}));

  // Completing appends the missing captures collection by collection, once.
  const SearchMerge::Members sharing = {{"c1", {"a", "b", "c", "shared"}},
                                        {"c2", {"d", "e", "f", "shared"}}};
  EXPECT_EQ(SearchMerge::completingCollections({"a", "b", "c", "d", "e", "f"}, sharing),
            (Ids{"a", "b", "c", "d", "e", "f", "shared"}));
}

}  // namespace
}  // namespace brindlemoor
