#include "core/organizing/organizer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <future>
#include <optional>

#include "core/model/vector_math.h"

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

// From this many groups their centroids are shared out to two threads.
constexpr std::size_t kSharedFrom = 256;

// Each group's score against its centroid, none for a group without members.
// Summing every member of every group is nearly all of a decision's reading
// of memory, so a large library's groups are summed on two threads.
std::vector<std::optional<float>> centroidScores(std::span<const float> vector,
                                                 const std::vector<Organizer::Group>& groups) {
  std::vector<std::optional<float>> scores(groups.size());
  const auto score = [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      const Organizer::Group& group = groups[i];
      if (group.members.empty()) continue;
      if (group.centroid) {
        scores[i] = VectorMath::dot(vector, *group.centroid);
      } else if (const auto centroid = VectorMath::centroid(group.members)) {
        scores[i] = VectorMath::dot(vector, *centroid);
      }
    }
  };
  if (groups.size() < kSharedFrom) {
    score(0, groups.size());
  } else {
    auto first = std::async(std::launch::async, score, 0, groups.size() / 2);
    score(groups.size() / 2, groups.size());
    first.get();
  }
  return scores;
}

}  // namespace

Organizer::Decision Organizer::decide(std::span<const float> vector,
                                      const std::vector<Group>& collections,
                                      const std::vector<Unsorted>& unsorted) const {
  const Group* chosen = nullptr;
  float chosenSimilarity = 0;
  const std::vector<std::optional<float>> similarities = centroidScores(vector, collections);
  for (std::size_t i = 0; i < collections.size(); ++i) {
    const Group& group = collections[i];
    if (!similarities[i]) continue;
    const float similarity = *similarities[i];
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
