#include "core/capture/page_target.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

// Exactly the smallest video and image, and just short of a video.
constexpr Rect kVideo{10, 20, 160, 90};
constexpr Rect kImage{5, 5, 120, 120};
constexpr Rect kNarrow{10, 20, 159, 200};
constexpr Rect kLarge{0, 0, 800, 450};

PointerNode node(std::string role, Rect frame = {}) {
  return {.role = std::move(role), .frame = frame};
}

PointerNode link(std::string url) {
  return {.role = "AXLink", .url = std::move(url), .frame = kLarge};
}

PointerNode image(std::optional<std::string> url, Rect frame = kImage) {
  return {.role = "AXImage", .url = std::move(url), .frame = frame};
}

TEST(PageTarget, DecidesVideoThenVideoLinkThenImageThenWindow) {
  std::vector<PointerNode> deep(7, node("AXGroup"));
  deep.push_back(node("AXVideo", kLarge));
  const std::string photo = "https://example.com/fox.jpg";
  const PointerNode videoParent{.frame = kLarge, .domClasses = {"outer", "html5-video-box"}};
  const struct {
    const char* what;
    std::vector<PointerNode> chain;
    PageTarget expected;
  } cases[] = {
      {"empty", {}, PageTarget::window()},
      {"a narrow video gives way to a video parent",
       {node("AXVideo", kNarrow), node("AXGroup", kVideo), videoParent},
       PageTarget::video(kLarge)},
      {"the eighth node is out of reach", deep, PageTarget::window()},
      {"videos is no video", {{.title = "Latest videos", .frame = kVideo}}, PageTarget::window()},
      {"video is", {{.title = "Play video: cats", .frame = kVideo}}, PageTarget::video(kVideo)},
      {"any class containing it",
       {{.frame = kVideo, .domClasses = {"myVideos"}}},
       PageTarget::video(kVideo)},
      {"a video beats an image",
       {image(photo), node("AXVideo", kVideo)},
       PageTarget::video(kVideo)},
      {"inside a link to a video file",
       {node("AXText", kNarrow), node("AXGroup", kVideo), link("https://a.com/Clip.MP4")},
       PageTarget::video(kVideo)},
      {"never the link itself",
       {link("https://a.com/c.webm"), node("AXGroup", kVideo)},
       PageTarget::window()},
      {"mp4 in the query",
       {node("AXGroup", kVideo), link("https://a.com/w.html?f=a.mp4")},
       PageTarget::window()},
      {"an image", {node("AXText"), image(photo)}, PageTarget::image(photo, kImage)},
      {"data: gives no source",
       {image("data:image/png;base64,iVBORw0KGgo=")},
       PageTarget::image(std::nullopt, kImage)},
      {"a narrow image decides",
       {image(photo, {0, 0, 119, 500}), image(photo, kLarge)},
       PageTarget::window()},
      {"the fourth node is out of reach",
       {node("AXGroup"), node("AXGroup"), node("AXGroup"), image(photo)},
       PageTarget::window()},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PageTarget::decide(c.chain), c.expected) << c.what;
  }
}

TEST(PageTarget, ReachesPageOnlyPastTheOuterContainers) {
  std::vector<PointerNode> chain = {node("AXScrollArea"), node("AXGroup"), node("AXWindow")};
  EXPECT_FALSE(PageTarget::reachesPage({}));
  EXPECT_FALSE(PageTarget::reachesPage(chain));
  chain.insert(chain.begin(), node("AXStaticText"));
  EXPECT_TRUE(PageTarget::reachesPage(chain));
}

}  // namespace
}  // namespace brindlemoor
