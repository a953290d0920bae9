#include "core/understanding/models.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <vector>

#include "core/model/text.h"

namespace brindlemoor::Models {

namespace {

// A decimal integer, with an optional "+" as integer parsing elsewhere in the
// program allows; anything else, overflow included, is 0.
std::int64_t numberOf(std::string_view piece) {
  if (piece.starts_with('+')) piece.remove_prefix(1);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
  const bool whole = !piece.empty() && error == std::errc() && end == piece.data() + piece.size();
  return whole ? value : 0;
}

std::vector<std::int64_t> numbersOf(std::string_view version) {
  const std::vector<std::string_view> release = Text::pieces(version, '-');
  std::vector<std::int64_t> numbers;
  if (release.empty()) return numbers;
  for (std::string_view piece : Text::pieces(release.front(), '.'))
    numbers.push_back(numberOf(piece));
  return numbers;
}

}  // namespace

std::string vision(std::int64_t ramGB) {
  return ramGB < 16 ? "qwen3.5:2b-q4_K_M" : "qwen3.5:4b";
}

bool isVersion(std::string_view a, std::string_view atLeast) {
  const std::vector<std::int64_t> mine = numbersOf(a);
  const std::vector<std::int64_t> least = numbersOf(atLeast);
  for (std::size_t i = 0; i < std::max(mine.size(), least.size()); ++i) {
    const std::int64_t x = i < mine.size() ? mine[i] : 0;
    const std::int64_t y = i < least.size() ? least[i] : 0;
    if (x != y) return x > y;
  }
  return true;
}

}  // namespace brindlemoor::Models
