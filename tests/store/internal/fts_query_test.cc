#include "core/store/internal/fts_query.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace brindlemoor::internal {
namespace {

TEST(FtsQuery, QuotesPrefixTermsDropsStopwordsAndStaysSmall) {
  EXPECT_EQ(ftsQuery("Photos of Lisbon!"), "\"photos\"* \"lisbon\"*");
  EXPECT_EQ(ftsQuery("the page"), "");
  EXPECT_EQ(ftsQuery("\" NEAR(a b) OR * -x ^y : {z}"), "\"near\"* \"b\"* \"x\"* \"y\"* \"z\"*");
  EXPECT_EQ(ftsQuery("naïve\xff\xfequote"), "\"naïve\"* \"quote\"*");
  EXPECT_EQ(ftsQuery(std::string("nul\0byte", 8)), "\"nul\"* \"byte\"*");
  std::string pasted;
  for (int i = 0; i < 100000; ++i) pasted += "lemon w" + std::to_string(i) + " ";
  const std::string expression = ftsQuery(pasted);
  EXPECT_EQ(expression.substr(0, 20), "\"lemon\"* \"w0\"* \"w1\"*");
  EXPECT_EQ(std::count(expression.begin(), expression.end(), '*'), 32)
      << "a pasted page stays small";
}

}  // namespace
}  // namespace brindlemoor::internal
