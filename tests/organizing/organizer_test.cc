#include "core/organizing/organizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/model/vector_math.h"

namespace brindlemoor {
namespace {

using Decision = Organizer::Decision;
using Vector = std::vector<float>;

// The unit vector in the plane that scores exactly `cosine` against {1, 0}.
Vector at(float cosine) {
  return {cosine, std::sqrt(1.0f - cosine * cosine)};
}

const Vector kEast = {1.0f, 0.0f};

TEST(OrganizerDecide, ThresholdsAreExactJoiningBeatsFormingAndOnlyLikeVectorsMatch) {
  // With one member {1, 0} the centroid is that member, so the centroid and
  // the best member both score exactly the capture's first component.
  const std::vector<Organizer::Group> groups = {{"empty", {}}, {"c", {kEast}}};
  EXPECT_EQ(Organizer{}.decide(kEast, {}, {}), Decision::stayUnsorted());
  EXPECT_EQ(Organizer{}.decide(kEast, {}, {{"a", at(0.79f)}}), Decision::form({"a"}, 0.79f));
  EXPECT_EQ(Organizer{}.decide(kEast, {}, {{"a", at(0.7899f)}}), Decision::stayUnsorted());
  EXPECT_EQ(Organizer{}.decide(at(0.8f), groups, {}), Decision::join("c", 0.8f));
  EXPECT_EQ(Organizer{}.decide(at(0.7999f), groups, {}), Decision::stayUnsorted());
  EXPECT_EQ(Organizer{}.decide(at(0.8f), groups, {{"a", at(0.8f)}}), Decision::join("c", 0.8f));

  // It forms with the twelve closest in order of score. Twenty neighbours named by their rank, "a"
  // the closest, in a scrambled order; "f" and "g" score the same, and "f" comes first in the list.
  std::vector<Vector> vectors(20);
  std::vector<Organizer::Unsorted> unsorted;
  for (int position = 0; position < 20; ++position) {
    const int rank = position * 7 % 20;
    vectors[position] = at(0.99f - 0.01f * static_cast<float>(rank == 6 ? 5 : rank));
    unsorted.push_back({std::string(1, static_cast<char>('a' + rank)), vectors[position]});
  }
  EXPECT_EQ(Organizer{}.decide(kEast, {}, unsorted),
            Decision::form({"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"}, 0.99f));
  // Identical in their common part: a dot product over the shorter length would score them 1.
  Organizer organizer;
  organizer.formThreshold = 0.01f;
  organizer.joinThreshold = 0.01f;
  const Vector longer = {1.0f, 0.0f, 0.0f};
  EXPECT_EQ(organizer.decide(kEast, {{"c", {longer, longer}}}, {{"a", longer}}),
            Decision::stayUnsorted());
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(Organizer{}.decide(Vector{nan, nan}, {{"c", {kEast}}}, {{"a", kEast}}),
            Decision::stayUnsorted());
}

TEST(OrganizerDecide, JoinsTheClosestCentroidOnlyWithAMemberAtTheFormThreshold) {
  const Vector capture = {1.0f, 0.0f, 0.0f};
  // Two members on either side of the capture's axis, each scoring exactly
  // `best`, whose centroid scores `central`.
  std::vector<Vector> vectors;
  vectors.reserve(4);
  const auto pair = [&](const char* id, float best, float central) {
    const float z = std::sqrt(best * best / (central * central) - best * best);
    const float y = std::sqrt(1.0f - best * best - z * z);
    vectors.push_back({best, y, z});
    vectors.push_back({best, -y, z});
    return Organizer::Group{id, {vectors[vectors.size() - 2], vectors.back()}};
  };
  const auto similarity = [&](const Organizer::Group& g) {
    return VectorMath::dot(capture, *VectorMath::centroid(g.members));
  };
  const Organizer::Group lacking = pair("lacking", 0.78f, 0.9f);
  EXPECT_EQ(Organizer{}.decide(capture, {lacking}, {}), Decision::stayUnsorted());

  // Holds the capture's own direction, but its centroid scores about 0.82.
  const float u = 2.0f * 0.82f * 0.82f - 1.0f;
  const Vector away = {u, std::sqrt(1.0f - u * u), 0.0f};
  const Organizer::Group exactMember = {"exact", {capture, away}};
  const Organizer::Group central = pair("central", 0.8f, 0.85f);
  ASSERT_NEAR(similarity(central), 0.85f, 1e-4f);
  EXPECT_EQ(Organizer{}.decide(capture, {exactMember, central}, {}),
            Decision::join("central", similarity(central)));
}

TEST(OrganizerShouldRename, NamesAtTwoThenAtEachDoublingUnlessTheUserNamed) {
  const std::vector<std::tuple<std::int64_t, std::int64_t, bool, bool>> cases = {
      {1, 0, false, false}, {2, 0, false, true}, {3, 2, false, false},
      {4, 2, false, true},  {8, 4, false, true}, {1000, 4, true, false}};
  for (const auto& [count, namedAtCount, userNamed, due] : cases) {
    EXPECT_EQ(Organizer::shouldRename(
                  {.count = count, .namedAtCount = namedAtCount, .userNamed = userNamed}),
              due)
        << count << " named at " << namedAtCount << (userNamed ? " by the user" : "");
  }
}

}  // namespace
}  // namespace brindlemoor
