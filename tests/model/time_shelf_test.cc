#include "core/model/time_shelf.h"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <memory>

namespace brindlemoor {
namespace {

std::unique_ptr<icu::Calendar> calendar(const char* zone, const char* locale) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> result(icu::Calendar::createInstance(
      icu::TimeZone::createTimeZone(zone), icu::Locale(locale), status));
  EXPECT_TRUE(U_SUCCESS(status));
  return result;
}

// 2026-11-19 (a Thursday) 15:30:00 UTC.
const Date kThursday = dateFromSeconds(1795102200);

TEST(TimeShelf, StartsInTheCallersZoneAndWeek) {
  const double midnight = 1795046400;  // of the 19th in UTC
  const std::vector<std::tuple<TimeShelf::Value, const char*, const char*, double>> cases = {
      {TimeShelf::today, "UTC", "en_US", midnight},
      {TimeShelf::today, "Asia/Tokyo", "ja_JP", midnight + 86400 - 9 * 3600},  // the 20th there
      {TimeShelf::thisWeek, "UTC", "en_US", midnight - 4 * 86400},  // weeks start on Sunday
      {TimeShelf::thisWeek, "UTC", "de_DE", midnight - 3 * 86400},  // weeks start on Monday
      {TimeShelf::thisMonth, "UTC", "de_DE", midnight - 18 * 86400}};
  for (const auto& [kind, zone, locale, start] : cases) {
    EXPECT_EQ(secondsSince1970(TimeShelf(kind).start(kThursday, *calendar(zone, locale))), start)
        << zone << " " << locale;
  }
}

}  // namespace
}  // namespace brindlemoor
