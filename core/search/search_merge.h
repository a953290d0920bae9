// SearchMerge is the arithmetic that makes one answer of the three judges of
// a search: full text and the two vector spaces. It decides which vector
// matches count at all, merges ranked lists by reciprocal rank, notices when a
// search has nearly hit a whole collection and completes it, and says why each
// result is there. Pure functions without state, safe from any thread; none of
// them can fail.
#pragma once

#include <concepts>
#include <cstddef>
#include <map>
#include <optional>
#include <ranges>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/search/search_reason.h"
#include "core/model/vector_math.h"

namespace brindlemoor::SearchMerge {

// How far above the median of a field a vector score must stand.
inline constexpr float aboveMedian = 0.08f;
// How far below the best score of a field a vector score may lie.
inline constexpr float nearTop = 0.07f;
// The share of a collection's captures that must be among the results for the
// search to cover it.
inline constexpr double completionShare = 0.75;
// The smallest collection a search can cover.
inline constexpr std::size_t completionMinimum = 3;

// One stored vector's similarity to a query. `id` views the id of the entry
// it was computed from, so a score lives no longer than the vectors it was
// computed from; take a std::string of the ids that are kept.
struct Score {
  std::string_view id;
  float score = 0;

  bool operator==(const Score&) const = default;
};

// Anything that has an `id` and a `vector` of floats, such as the store's
// vectors as read for comparison.
template <class T>
concept IdentifiedVector = requires(const T& entry) {
  { entry.id } -> std::convertible_to<std::string_view>;
  { entry.vector } -> std::convertible_to<std::span<const float>>;
};

// The collections' capture ids by collection id. The order of the map is the
// order in which collections are covered and completed.
using Members = std::map<std::string, std::vector<std::string>>;

// The score VectorMath::dot(query, vector) of every entry of `vectors` in
// their order, leaving out the entry whose id is `excluding`. Search scores
// every stored vector of a space this way, so the entries are read where
// they lie: nothing is copied but the result, whose ids view the entries.
// `vectors` must therefore outlive the result; a temporary is refused at
// compile time.
template <std::ranges::input_range Vectors>
requires std::ranges::borrowed_range<Vectors> &&
    IdentifiedVector<std::ranges::range_value_t<Vectors>>
        std::vector<Score> scores(std::span<const float> query, Vectors&& vectors,
                                  std::optional<std::string_view> excluding) {
  std::vector<Score> result;
  if constexpr (std::ranges::sized_range<Vectors>) result.reserve(std::ranges::size(vectors));
  for (const auto& entry : vectors) {
    const std::string_view id = entry.id;
    if (excluding && id == *excluding) continue;
    result.push_back({id, VectorMath::dot(query, entry.vector)});
  }
  return result;
}

// What stands out of the field of one query: `scores` sorted stably, highest
// first, and cut below a floor that follows the field. The floor is
// `nearTop` below the best score; from 6 scores on it is also at least
// `aboveMedian` above the median (the lower middle for an even count), so a
// flat field gives nothing. With fewer than 6 the best always stands out.
std::vector<Score> standouts(std::vector<Score> scores);

// The floor of standouts for a field of `count` scores with the best `top`
// and the median `median`.
float standoutFloor(float top, float median, std::size_t count);

// Reciprocal rank fusion of ranked `lists` of ids: the id at position p
// (from 1) of any list gains 1 / (p + 60), as often as it occurs. The ids by
// total, highest first, equal totals by id ascending; at most `limit` of
// them. The lists weigh the same.
std::vector<std::string> merge(const std::vector<std::vector<std::string>>& lists,
                               std::size_t limit);

// The collections of `members` of at least `completionMinimum` captures of
// which at least `completionShare` are among `ids`, in the order of
// `members`.
std::vector<std::string> coveredCollections(const std::vector<std::string>& ids,
                                            const Members& members);

// `ids` followed by the captures of each covered collection that are not yet
// there, collection by collection in the order of `members`. It may be longer
// than any limit `ids` was cut to.
std::vector<std::string> completingCollections(const std::vector<std::string>& ids,
                                               const Members& members);

// Why each id is a result: the reasons of the lists that name it, and
// `collection` alone for an id of `completed` that no list names.
std::map<std::string, std::set<SearchReason>> reasons(
    const std::map<SearchReason, std::vector<std::string>>& lists,
    const std::vector<std::string>& completed);

}  // namespace brindlemoor::SearchMerge
