// The few ICU calls that the readers of model replies and the capture rules
// share: UTF-8 in and out of ICU strings, and patterns compiled once and
// applied everywhere in a text.
#pragma once

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>
#include <string>
#include <string_view>

namespace brindlemoor::IcuRegex {

icu::UnicodeString unicode(std::string_view text);
std::string utf8(const icu::UnicodeString& text);

// Patterns are built from constants and escaped words, so one that does not
// compile is a mistake in our code: it throws std::logic_error.
std::unique_ptr<icu::RegexPattern> compiled(const icu::UnicodeString& source);

// `text` with every match of `pattern` replaced; `text` itself if ICU fails.
icu::UnicodeString replacedAll(const icu::RegexPattern& pattern, const icu::UnicodeString& text,
                               const icu::UnicodeString& replacement);

}  // namespace brindlemoor::IcuRegex
