#include "core/presentation/wording.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

namespace brindlemoor {
namespace {

// An American user in UTC, so that figures and days read the same everywhere.
class WordingTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("UTC"));
  }
};

TEST_F(WordingTest, AmountsAreWordsUpToNinetyNineAndGroupedFiguresAbove) {
  EXPECT_EQ(Wording::count(1, "thing", "things", true), "One thing");
  EXPECT_EQ(Wording::count(0, "thing", "things", false), "zero things");
  EXPECT_EQ(Wording::count(21, "thing", "things", false), "twenty-one things");
  EXPECT_EQ(Wording::count(99, "thing", "things", true), "Ninety-nine things");
  EXPECT_EQ(Wording::count(100, "thing", "things", true), "100 things");
  EXPECT_EQ(Wording::count(12345, "thing", "things", true), "12,345 things");

  EXPECT_EQ(Wording::today(0, 17), (Wording::Today{"Nothing kept", "yet today."}));
  EXPECT_EQ(Wording::today(0, 18), (Wording::Today{"A quiet day,", "nothing kept."}));
  EXPECT_EQ(Wording::today(12, 9), (Wording::Today{"Twelve things,", "kept today."}));
  EXPECT_EQ(Wording::search(0), "Nothing yet about");
  EXPECT_EQ(Wording::search(3), "Three things about");

  EXPECT_EQ(Wording::milestone(1), "Your first thing kept.");
  EXPECT_EQ(Wording::milestone(10), "Ten things kept.");
  EXPECT_EQ(Wording::milestone(200), "200 things kept.");
  for (const std::int64_t none : {-100, 0, 2, 99, 150}) EXPECT_FALSE(Wording::milestone(none));
}

TEST_F(WordingTest, WhenReadsAsMinutesThenTheTimeThenYesterdayThenTheDay) {
  const Date now = dateFromSeconds(1'718'454'600);  // Saturday 15 June 2024, 12:30 UTC
  const auto ago = [&](double seconds) {
    return Wording::shortRelative(dateFromSeconds(secondsSince1970(now) - seconds), now);
  };
  EXPECT_EQ(ago(-30), "Just now");
  EXPECT_EQ(ago(59), "Just now");
  EXPECT_EQ(ago(60), "1 min ago");
  EXPECT_EQ(ago(3599), "59 min ago");
  EXPECT_EQ(ago(3 * 3600), "9:30\u202FAM");
  EXPECT_EQ(ago(13 * 3600), "Yesterday");
  EXPECT_EQ(ago(3 * 86400), "Wed, Jun 12");
  EXPECT_EQ(ago(200 * 86400), "Nov 28, 2023");
}

}  // namespace
}  // namespace brindlemoor
