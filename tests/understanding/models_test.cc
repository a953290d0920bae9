#include "core/understanding/models.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(Models, VersionsCompareByNumericPiecesAndVisionFollowsMemory) {
  EXPECT_TRUE(Models::isVersion("0.40.10", "0.40.9"));  // as numbers, not as text
  EXPECT_FALSE(Models::isVersion("0.40", "0.40.1"));
  EXPECT_TRUE(Models::isVersion("0.40.0-rc1", "0.40.0"));
  // A piece that is no decimal integer reads as zero.
  EXPECT_FALSE(Models::isVersion("v1.0", "0.0.1"));              // "v1" spoils only its own piece
  EXPECT_FALSE(Models::isVersion("99999999999999999999", "1"));  // too large to be a number
  // The small vision model below sixteen gibibytes, and every default has a download size.
  EXPECT_NE(Models::vision(15), Models::vision(16));
  EXPECT_EQ(Models::vision(16), Models::vision(64));
  for (const std::string& name : {Models::vision(15), Models::vision(16), Models::embedding}) {
    EXPECT_TRUE(Models::sizes.contains(name)) << name;
  }
}

}  // namespace
}  // namespace brindlemoor
