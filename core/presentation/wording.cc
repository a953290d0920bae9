#include "core/presentation/wording.h"

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/dtptngen.h>
#include <unicode/numfmt.h>
#include <unicode/rbnf.h>
#include <unicode/smpdtfmt.h>
#include <unicode/uchar.h>

#include <cmath>
#include <memory>

namespace brindlemoor::Wording {
namespace {

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  return text.toUTF8String(result);
}

icu::UnicodeString number(std::int64_t n) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString text;
  if (n <= 99) {
    icu::RuleBasedNumberFormat words(icu::URBNF_SPELLOUT, icu::Locale("en_US"), status);
    if (U_SUCCESS(status)) words.format(static_cast<int64_t>(n), text);
  } else {
    const std::unique_ptr<icu::NumberFormat> digits(icu::NumberFormat::createInstance(status));
    if (U_SUCCESS(status)) digits->format(static_cast<int64_t>(n), text);
  }
  if (text.isEmpty()) text = icu::UnicodeString::fromUTF8(std::to_string(n));
  return text;
}

// `date` in the pattern that `skeleton` stands for in the locale.
std::string formatted(Date date, const char* skeleton) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::DateTimePatternGenerator> patterns(
      icu::DateTimePatternGenerator::createInstance(icu::Locale::getDefault(), status));
  if (U_FAILURE(status)) return "";
  const icu::UnicodeString pattern = patterns->getBestPattern(skeleton, status);
  icu::SimpleDateFormat format(pattern, status);
  if (U_FAILURE(status)) return "";
  icu::UnicodeString text;
  return utf8(format.format(secondsSince1970(date) * 1000, text));
}

}  // namespace

std::string count(std::int64_t n, std::string_view singular, std::string_view plural,
                  bool capitalized) {
  icu::UnicodeString text = number(n);
  if (capitalized && !text.isEmpty()) {
    const UChar32 first = text.char32At(0);
    text.replace(0, U16_LENGTH(first), static_cast<UChar32>(u_toupper(first)));
  }
  return utf8(text) + " " + std::string(n == 1 ? singular : plural);
}

Today today(std::int64_t kept, int hour) {
  if (kept > 0) return {count(kept, "thing", "things", true) + ",", "kept today."};
  if (hour < 18) return {"Nothing kept", "yet today."};
  return {"A quiet day,", "nothing kept."};
}

std::string search(std::int64_t found) {
  return found == 0 ? "Nothing yet about" : count(found, "thing", "things", true) + " about";
}

std::optional<std::string> milestone(std::int64_t total) {
  if (total == 10) return "Ten things kept.";
  if (total == 1) return "Your first thing kept.";
  if (total < 1 || total % 100 != 0) return std::nullopt;
  return count(total, "thing", "things", true) + " kept.";
}

std::string shortRelative(Date date, Date now) {
  const double seconds = secondsSince1970(now) - secondsSince1970(date);
  if (seconds < 60) return "Just now";
  if (seconds < 3600) return std::to_string(static_cast<int>(seconds / 60)) + " min ago";

  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
  if (U_FAILURE(status)) return "";
  const auto day = [&](Date moment, int daysLater) {
    calendar->setTime(secondsSince1970(moment) * 1000, status);
    calendar->add(UCAL_DATE, daysLater, status);
    return std::pair{calendar->get(UCAL_EXTENDED_YEAR, status),
                     calendar->get(UCAL_DAY_OF_YEAR, status)};
  };
  if (day(date, 0) == day(now, 0)) {
    const std::unique_ptr<icu::DateFormat> time(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort));
    icu::UnicodeString text;
    return time ? utf8(time->format(secondsSince1970(date) * 1000, text)) : "";
  }
  if (day(date, 1) == day(now, 0)) return "Yesterday";
  if (day(date, 0).first != day(now, 0).first) return formatted(date, "dMMMy");
  return formatted(date, "EEEdMMM");
}

}  // namespace brindlemoor::Wording
