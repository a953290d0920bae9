#include "core/organizing/organizer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "core/understanding/vector_math.h"

namespace brindlemoor {
namespace {

struct Scored {
  float score;
  std::size_t index;
};

// Highest score first; of equal scores the earlier one, which makes a
// partial sort keep the order a stable sort would.
bool ranksBefore(const Scored& a, const Scored& b) {
  return a.score > b.score || (a.score == b.score && a.index < b.index);
}

}  // namespace

Organizer::Decision Organizer::decide(std::span<const float> vector,
                                      const std::vector<Group>& collections,
                                      const std::vector<Unsorted>& unsorted) const {
  const Group* chosen = nullptr;
  float chosenSimilarity = 0;
  for (const Group& group : collections) {
    const std::optional<std::vector<float>> centroid = VectorMath::centroid(group.members);
    if (!centroid) continue;
    const float similarity = VectorMath::dot(vector, *centroid);
    // The centroid test rules most groups out, so members are scored only
    // for groups that pass it and could still win. Written so that a score
    // of NaN, from a vector the daemon filled with infinities, fails it.
    if (!(similarity >= joinThreshold)) continue;
    if (chosen && similarity <= chosenSimilarity) continue;
    const bool nearAMember =
        std::any_of(group.members.begin(), group.members.end(), [&](std::span<const float> member) {
          return VectorMath::dot(vector, member) >= formThreshold;
        });
    if (!nearAMember) continue;
    chosen = &group;
    chosenSimilarity = similarity;
  }
  if (chosen) return Decision::join(chosen->id, chosenSimilarity);

  std::vector<Scored> near;
  for (std::size_t i = 0; i < unsorted.size(); ++i) {
    const float score = VectorMath::dot(vector, unsorted[i].vector);
    if (score >= formThreshold) near.push_back({score, i});
  }
  const std::size_t kept =
      std::min(near.size(), static_cast<std::size_t>(std::max(maxFormMembers, 0)));
  if (kept == 0) return Decision::stayUnsorted();
  std::partial_sort(near.begin(), near.begin() + static_cast<std::ptrdiff_t>(kept), near.end(),
                    ranksBefore);
  std::vector<std::string> with;
  with.reserve(kept);
  for (std::size_t i = 0; i < kept; ++i) with.push_back(unsorted[near[i].index].id);
  return Decision::form(std::move(with), near.front().score);
}

bool Organizer::shouldRename(const CaptureCollection& collection) {
  if (collection.userNamed) return false;
  return collection.count >= std::max<std::int64_t>(2, 2 * collection.namedAtCount);
}

}  // namespace brindlemoor
