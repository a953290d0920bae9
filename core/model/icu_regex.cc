#include "core/model/icu_regex.h"

#include <stdexcept>

namespace brindlemoor::IcuRegex {

icu::UnicodeString unicode(std::string_view text) {
  return icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  text.toUTF8String(result);
  return result;
}

std::unique_ptr<icu::RegexPattern> compiled(const icu::UnicodeString& source) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError where;
  std::unique_ptr<icu::RegexPattern> pattern(icu::RegexPattern::compile(source, where, status));
  if (U_FAILURE(status)) throw std::logic_error("bad regular expression");
  return pattern;
}

icu::UnicodeString replacedAll(const icu::RegexPattern& pattern, const icu::UnicodeString& text,
                               const icu::UnicodeString& replacement) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::RegexMatcher> matcher(pattern.matcher(text, status));
  icu::UnicodeString result = matcher->replaceAll(replacement, status);
  return U_SUCCESS(status) ? result : text;
}

}  // namespace brindlemoor::IcuRegex
