#include "core/capture/window_choice.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

constexpr int kEditor = 10;
constexpr int kBrowser = 20;
constexpr int kOurs = 30;

WindowEntry window(std::int64_t number, int pid, std::string title, Rect at = {0, 0, 800, 600},
                   std::string owner = "App", int layer = 0) {
  return {number, pid, std::move(owner), std::move(title), layer, at.x, at.y, at.width, at.height};
}

// The number of the window picked with our own process excluded, or -1.
std::int64_t picked(const std::vector<WindowEntry>& entries, std::optional<int> frontmost,
                    std::optional<Rect> focused = std::nullopt) {
  const auto entry = WindowChoice::pick(entries, frontmost, kOurs, focused);
  return entry ? entry->number : -1;
}

TEST(WindowChoice, OnlyOrdinaryOwnedWindowsOfAHundredPointsCount) {
  EXPECT_EQ(picked({}, kEditor), -1);
  EXPECT_EQ(picked({window(1, kEditor, "Dock", {}, "App", 20)}, kEditor), -1);
  // Whichever rule would favour them, a side under 100 or no owner rules a window out.
  const std::vector<WindowEntry> entries = {window(1, kEditor, "Small", {0, 0, 99.9, 900}),
                                            window(2, kEditor, "Big", {0, 0, 3000, 3000}, ""),
                                            window(3, kEditor, "", {0, 0, 100, 100})};
  EXPECT_EQ(picked(entries, kEditor, Rect{0, 0, 50, 50}), 3);
  EXPECT_EQ(picked(entries, std::nullopt), 3);
}

TEST(WindowChoice, FocusedFrameWinsWithinTheFrontmostApplication) {
  const std::vector<WindowEntry> entries = {
      window(1, kBrowser, "Other app"), window(2, kEditor, "", {0, 0, 400, 400}),
      window(3, kEditor, "Titled", {1000, 0, 400, 400}), window(4, kEditor, "", {300, 0, 400, 400}),
      window(5, kEditor, "", {500, 0, 400, 400})};
  EXPECT_EQ(picked(entries, kEditor, Rect{350, 0, 300, 300}), 4) << "most overlap, no title";
  EXPECT_EQ(picked(entries, kEditor, Rect{550, 0, 100, 100}), 4) << "a tie goes to the front";
  EXPECT_EQ(picked(entries, kEditor, Rect{400, 400, 100, 100}), 3) << "touching: first titled";
}

TEST(WindowChoice, FallsBackToFirstTitledThenLargestNearestTheFront) {
  const std::vector<WindowEntry> untitled = {
      window(1, kEditor, "", {0, 0, 300, 300}), window(2, kEditor, "", {0, 0, 400, 400}),
      window(3, kBrowser, "", {0, 0, 400, 400}), window(4, kBrowser, "", {0, 0, 900, 900})};
  EXPECT_EQ(picked(untitled, kEditor), 2) << "the frontmost application's largest";
  EXPECT_EQ(picked(untitled, std::nullopt), 4) << "the largest of all";
  EXPECT_EQ(picked({untitled[1], untitled[2]}, std::nullopt), 2) << "equal areas: the front";
  // Our own window in front is never kept; the next application's titled one is.
  const std::vector<WindowEntry> ours = {window(1, kOurs, "Brindlemoor"), window(2, kEditor, ""),
                                         window(3, kBrowser, "Page")};
  EXPECT_EQ(picked(ours, kOurs, ours[0].bounds()), 3);
}

}  // namespace
}  // namespace brindlemoor
