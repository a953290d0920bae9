#include "core/search/search_merge.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace brindlemoor::SearchMerge {

namespace {

using IdSet = std::unordered_set<std::string_view>;

IdSet setOf(const std::vector<std::string>& ids) {
  return IdSet(ids.begin(), ids.end());
}

// The entries of `members` that `found` covers, in the order of `members`.
std::vector<Members::const_iterator> covered(const IdSet& found, const Members& members) {
  std::vector<Members::const_iterator> result;
  for (auto it = members.begin(); it != members.end(); ++it) {
    const std::vector<std::string>& captures = it->second;
    if (captures.size() < completionMinimum) continue;
    const auto count =
        std::ranges::count_if(captures, [&](const std::string& id) { return found.contains(id); });
    if (static_cast<double>(count) / static_cast<double>(captures.size()) >= completionShare) {
      result.push_back(it);
    }
  }
  return result;
}

}  // namespace

std::vector<Score> standouts(std::vector<Score> scores) {
  if (scores.empty()) return scores;
  std::ranges::stable_sort(scores, std::ranges::greater{}, &Score::score);
  const std::size_t n = scores.size();
  const float floor = standoutFloor(scores.front().score, scores[n / 2].score, n);
  // Sorted from the top, what reaches the floor is a prefix.
  const auto end = std::ranges::find_if(scores, [&](const Score& s) { return s.score < floor; });
  scores.erase(end, scores.end());
  return scores;
}

float standoutFloor(float top, float median, std::size_t count) {
  const float near = top - nearTop;
  const float lifted = median + aboveMedian;
  return count < 6 ? near : std::max(near, lifted);
}

std::vector<std::string> merge(const std::vector<std::vector<std::string>>& lists,
                               std::size_t limit) {
  std::unordered_map<std::string_view, double> totals;
  for (const std::vector<std::string>& list : lists) {
    for (std::size_t position = 1; position <= list.size(); ++position) {
      totals[list[position - 1]] += 1.0 / static_cast<double>(position + 60);
    }
  }
  std::vector<std::pair<std::string_view, double>> ranked(totals.begin(), totals.end());
  std::ranges::sort(ranked, [](const auto& a, const auto& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
  });
  const std::size_t kept = std::min(limit, ranked.size());
  std::vector<std::string> result;
  result.reserve(kept);
  for (std::size_t i = 0; i < kept; ++i) result.emplace_back(ranked[i].first);
  return result;
}

std::vector<std::string> coveredCollections(const std::vector<std::string>& ids,
                                            const Members& members) {
  std::vector<std::string> result;
  for (const auto& collection : covered(setOf(ids), members)) result.push_back(collection->first);
  return result;
}

std::vector<std::string> completingCollections(const std::vector<std::string>& ids,
                                               const Members& members) {
  IdSet present = setOf(ids);
  const std::vector<Members::const_iterator> completed = covered(present, members);
  std::vector<std::string> result = ids;
  for (const auto& collection : completed) {
    for (const std::string& id : collection->second) {
      if (present.insert(id).second) result.push_back(id);
    }
  }
  return result;
}

std::map<std::string, std::set<SearchReason>> reasons(
    const std::map<SearchReason, std::vector<std::string>>& lists,
    const std::vector<std::string>& completed) {
  std::map<std::string, std::set<SearchReason>> result;
  for (const auto& [reason, ids] : lists) {
    for (const std::string& id : ids) result[id].insert(reason);
  }
  for (const std::string& id : completed) {
    result.try_emplace(id, std::set<SearchReason>{SearchReason::collection});
  }
  return result;
}

}  // namespace brindlemoor::SearchMerge
