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
  auto us = calendar("UTC", "en_US");            // weeks start on Sunday
  auto de = calendar("UTC", "de_DE");            // weeks start on Monday
  auto tokyo = calendar("Asia/Tokyo", "ja_JP");  // 00:30 on the 20th there
  EXPECT_EQ(secondsSince1970(TimeShelf(TimeShelf::today).start(kThursday, *us)), 1795046400);
  EXPECT_EQ(secondsSince1970(TimeShelf(TimeShelf::today).start(kThursday, *tokyo)),
            1795046400 + 86400 - 9 * 3600);
  EXPECT_EQ(secondsSince1970(TimeShelf(TimeShelf::thisWeek).start(kThursday, *us)),
            1795046400 - 4 * 86400);
  EXPECT_EQ(secondsSince1970(TimeShelf(TimeShelf::thisWeek).start(kThursday, *de)),
            1795046400 - 3 * 86400);
  EXPECT_EQ(secondsSince1970(TimeShelf(TimeShelf::thisMonth).start(kThursday, *de)),
            1795046400 - 18 * 86400);
}

}  // namespace
}  // namespace brindlemoor
