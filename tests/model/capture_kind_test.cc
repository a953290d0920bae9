#include "core/model/capture_kind.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(CaptureKind, ParseReadsRawStringsAndAliasesOnly) {
  EXPECT_EQ(CaptureKind::parse(std::nullopt), CaptureKind::other);
  EXPECT_EQ(CaptureKind::parse(" Slack \n"), CaptureKind::chat);
  EXPECT_EQ(CaptureKind::parse("VIDEO"), CaptureKind::video);
  EXPECT_EQ(CaptureKind::parse("food and drink"), CaptureKind::food);
  EXPECT_EQ(CaptureKind::parse("Food & Drink"), CaptureKind::other) << "a title is no alias";
  EXPECT_EQ(CaptureKind(CaptureKind::food).title(), "Food & drink");
}

}  // namespace
}  // namespace brindlemoor
