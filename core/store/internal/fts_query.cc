#include "core/store/internal/fts_query.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <vector>

#include "core/model/text.h"

namespace brindlemoor::internal {
namespace {

// Words too common to narrow a search of things seen on a screen.
constexpr std::array<std::string_view, 26> kStopwords = {
    "a",    "an",   "the",  "of",   "in",  "on", "at", "to", "for", "and", "or",   "with", "about",
    "from", "that", "this", "what", "was", "is", "it", "my", "i",   "me",  "some", "page", "screen",
};

bool isWordCharacter(UChar32 c) {
  return (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

// FTS5's work grows with the square of the number of terms, so a pasted
// page must not become a query of thousands: a word counts once, and the
// first words are enough to narrow any search.
constexpr std::size_t kMaxTerms = 32;

void addTerm(std::vector<std::string_view>& terms, std::string_view word) {
  if (word.empty() || terms.size() == kMaxTerms) return;
  if (std::find(kStopwords.begin(), kStopwords.end(), word) != kStopwords.end()) return;
  if (std::find(terms.begin(), terms.end(), word) != terms.end()) return;
  terms.push_back(word);
}

}  // namespace

std::string ftsQuery(std::string_view words) {
  const std::string lower = Text::lowercased(words);
  const auto* s = reinterpret_cast<const uint8_t*>(lower.data());
  const int32_t length = static_cast<int32_t>(lower.size());
  std::vector<std::string_view> terms;
  int32_t wordStart = 0;
  int32_t i = 0;
  while (i < length) {
    const int32_t start = i;
    UChar32 c;
    U8_NEXT(s, i, length, c);
    // An ill-formed byte is no letter, so it separates like punctuation.
    if (c < 0 || !isWordCharacter(c)) {
      addTerm(terms, std::string_view(lower).substr(wordStart, start - wordStart));
      wordStart = i;
    }
  }
  addTerm(terms, std::string_view(lower).substr(wordStart));
  std::string expression;
  for (std::string_view term : terms) {
    if (!expression.empty()) expression += ' ';
    expression += '"';
    expression += term;
    expression += "\"*";
  }
  return expression;
}

}  // namespace brindlemoor::internal
