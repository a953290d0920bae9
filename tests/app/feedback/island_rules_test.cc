#include "app/feedback/island_rules.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

using IslandRules::AfterDismissal;

IslandRules::Kept keptWindow(std::int64_t total) {
  IslandRules::Kept kept;
  kept.captureID = "a";
  kept.heading = "Kept · the window";
  kept.detail = "Field notes";
  kept.total = total;
  kept.collectionName = [](const std::string& id) -> std::optional<std::string> {
    if (id == "c1") return "Moorland";
    return std::nullopt;
  };
  return kept;
}

Capture understood(std::optional<std::string> title, std::optional<std::string> collection = {}) {
  Capture capture;
  capture.id = "a";
  capture.title = std::move(title);
  capture.collectionID = std::move(collection);
  return capture;
}

TEST(IslandRules, TheLinesFillInAsTheCaptureIsUnderstoodAndFiled) {
  IslandRules::Kept kept = keptWindow(7);
  EXPECT_EQ(IslandRules::lines(kept),
            (IslandRules::Lines{"Kept · the window", false, "Field notes", std::nullopt}));

  kept.lastKept = understood(std::nullopt);
  EXPECT_EQ(IslandRules::lines(kept).lower, "Field notes");
  kept.lastKept = understood("Moorland field notes");
  EXPECT_EQ(IslandRules::lines(kept).lower, "Moorland field notes");
  EXPECT_EQ(IslandRules::lines(kept).chip, std::nullopt);

  kept.lastKept = understood("Moorland field notes", "c1");
  EXPECT_EQ(IslandRules::lines(kept).chip, "→ Moorland");
  // A collection not loaded yet gives no chip.
  kept.lastKept = understood("Moorland field notes", "c2");
  EXPECT_EQ(IslandRules::lines(kept).chip, std::nullopt);
  // Another capture's understanding is not this one's.
  kept.lastKept = understood("Other");
  kept.lastKept->id = "b";
  EXPECT_EQ(IslandRules::lines(kept).lower, "Field notes");
}

TEST(IslandRules, AMilestoneShowsOnlyOnTheCaptureThatReachedItOnceUnderstood) {
  for (const std::int64_t total : {1, 10, 100, 300}) {
    IslandRules::Kept kept = keptWindow(total);
    kept.newestID = "a";
    EXPECT_FALSE(IslandRules::lines(kept).milestone) << "not understood yet, " << total;
    kept.lastKept = understood(std::nullopt);
    EXPECT_TRUE(IslandRules::lines(kept).milestone) << total;
    kept.newestID = "newer";
    EXPECT_EQ(IslandRules::lines(kept).upper, "Kept · the window") << total;
  }
  IslandRules::Kept kept = keptWindow(1);
  kept.newestID = "a";
  kept.lastKept = understood(std::nullopt);
  EXPECT_EQ(IslandRules::lines(kept).upper, "Your first thing kept.");
  kept.total = 2;
  EXPECT_EQ(IslandRules::lines(kept).upper, "Kept · the window");
}

TEST(IslandRules, ARecordingStaysAndAPointerOrANoteHoldsTheIslandOn) {
  EXPECT_EQ(IslandRules::afterDismissal(true, true, true), AfterDismissal::stay);
  EXPECT_EQ(IslandRules::afterDismissal(true, false, false), AfterDismissal::stay);
  EXPECT_EQ(IslandRules::afterDismissal(false, true, false), AfterDismissal::holdOn);
  EXPECT_EQ(IslandRules::afterDismissal(false, false, true), AfterDismissal::holdOn);
  EXPECT_EQ(IslandRules::afterDismissal(false, false, false), AfterDismissal::leave);
}

}  // namespace
}  // namespace brindlemoor
