// Text holds the Unicode-aware operations on UTF-8 text that the whole core
// shares. Pure functions; safe from any thread (each thread keeps its own
// break iterator).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindlemoor::Text {

// `text` without white space and newlines (Unicode White_Space) at either end,
// nor any code point of `extra` there. Invalid UTF-8 is kept as it stands.
std::string trimmed(std::string_view text, std::u32string_view extra = {});

// The longest start of `text` that holds at most `count` user-perceived
// characters (extended grapheme clusters); `text` itself when it is no
// longer. Reads only as far as it needs, so a limit on a very long text costs
// no more than the limit. Ill-formed UTF-8 counts one character per
// ill-formed sequence.
std::string_view prefix(std::string_view text, std::size_t count);

// Whether `text` has more than `count` user-perceived characters.
inline bool longerThan(std::string_view text, std::size_t count) {
  return prefix(text, count).size() < text.size();
}

// The non-empty pieces of `text` between occurrences of `separator`.
std::vector<std::string_view> pieces(std::string_view text, char separator);

// The parts one after another with `separator` between them.
std::string joined(const std::vector<std::string>& parts, std::string_view separator);

// `text` in lower case by Unicode's full case mapping, independent of locale.
std::string lowercased(std::string_view text);

}  // namespace brindlemoor::Text
