#include "core/capture/page_target.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

constexpr Rect kLarge{10, 20, 640, 360};
constexpr Rect kSmall{10, 20, 159, 200};

PointerNode node(std::string role, Rect frame = {}) {
  return {.role = std::move(role), .frame = frame};
}

PointerNode titled(std::string title, Rect frame = kLarge) {
  return {.role = "AXGroup", .title = std::move(title), .frame = frame};
}

PointerNode classed(std::string domClass, Rect frame = kLarge) {
  return {.role = "AXGroup", .frame = frame, .domClasses = {"outer", std::move(domClass)}};
}

PointerNode link(std::string url) {
  return {.role = "AXLink", .url = std::move(url), .frame = {0, 0, 1000, 1000}};
}

PointerNode image(std::optional<std::string> url, Rect frame = {5, 5, 300, 200}) {
  return {.role = "AXImage", .url = std::move(url), .frame = frame};
}

struct Case {
  const char* what;
  std::vector<PointerNode> chain;
  PageTarget expected;
};

TEST(PageTarget, DecidesVideoThenVideoLinkThenImageThenWindow) {
  const Rect parent{0, 0, 800, 450};
  const std::vector<PointerNode> deep(7, node("AXGroup"));
  auto videoAtEight = deep;
  videoAtEight.push_back(node("AXVideo", kLarge));
  const Rect behind{0, 0, 1000, 1000};

  const std::vector<Case> cases = {
      {"empty chain", {}, PageTarget::window()},
      {"a small video gives way to its video parent",
       {node("AXVideo", kSmall), node("AXGroup", parent), classed("html5-video-container", parent)},
       PageTarget::video(parent)},
      {"the eighth node is out of reach", videoAtEight, PageTarget::window()},
      {"videos is not the word video", {titled("Latest videos")}, PageTarget::window()},
      {"video is the word", {titled("Play video: cats")}, PageTarget::video(kLarge)},
      {"player in a role description",
       {node("AXGroup"), {.roleDescription = "Media Player", .frame = kLarge}},
       PageTarget::video(kLarge)},
      {"a class merely containing it counts", {classed("myVideos")}, PageTarget::video(kLarge)},
      {"an identifier too",
       {{.frame = kLarge, .domIdentifier = "movie_player"}},
       PageTarget::video(kLarge)},
      {"a video beats the image under the pointer",
       {image("https://example.com/poster.jpg"), node("AXVideo", kLarge)},
       PageTarget::video(kLarge)},
      {"a link to a video file: the node inside it",
       {node("AXStaticText", kSmall), node("AXGroup", kLarge),
        link("https://example.com/a/Clip.MP4")},
       PageTarget::video(kLarge)},
      {"the link itself is never the region",
       {link("https://example.com/clip.webm"), node("AXGroup", kLarge)},
       PageTarget::window()},
      {"mp4 only in the query",
       {node("AXGroup", kLarge), link("https://example.com/watch.html?f=a.mp4")},
       PageTarget::window()},
      {"an image with a web address",
       {node("AXStaticText"), image("https://example.com/fox.jpg")},
       PageTarget::image("https://example.com/fox.jpg", {5, 5, 300, 200})},
      {"scheme in capitals",
       {image("HTTP://example.com/fox.jpg")},
       PageTarget::image("HTTP://example.com/fox.jpg", {5, 5, 300, 200})},
      {"a data address gives no source",
       {image("data:image/png;base64,iVBORw0KGgo=")},
       PageTarget::image(std::nullopt, {5, 5, 300, 200})},
      {"a blob address gives no source",
       {image("blob:https://example.com/1f2e")},
       PageTarget::image(std::nullopt, {5, 5, 300, 200})},
      {"an image of exactly 120 counts",
       {image(std::nullopt, {0, 0, 120, 120})},
       PageTarget::image(std::nullopt, {0, 0, 120, 120})},
      {"a narrow image decides for the window",
       {image("https://example.com/a.png", {0, 0, 119, 500}),
        image("https://example.com/b.png", behind)},
       PageTarget::window()},
      {"the fourth node is out of reach",
       {node("AXGroup"), node("AXGroup"), node("AXGroup"), image(std::nullopt, behind)},
       PageTarget::window()},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(PageTarget::decide(c.chain), c.expected) << c.what;
  }
}

TEST(PageTarget, ReachesPageOnlyPastTheOuterContainers) {
  EXPECT_FALSE(PageTarget::reachesPage({}));
  const std::vector<PointerNode> outer = {node("AXScrollArea"), node("AXGroup"), node("AXWindow")};
  EXPECT_FALSE(PageTarget::reachesPage(outer));
  auto inner = outer;
  inner.insert(inner.begin(), node("AXStaticText"));
  EXPECT_TRUE(PageTarget::reachesPage(inner));
}

}  // namespace
}  // namespace brindlemoor
