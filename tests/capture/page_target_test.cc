#include "core/capture/page_target.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

// Exactly the smallest video and image, and just short of a video.
constexpr Rect kVideo{10, 20, 160, 90}, kImage{5, 5, 120, 120}, kNarrow{10, 20, 159, 200},
    kLarge{0, 0, 800, 450};
const std::string kPhoto = "https://example.com/fox.jpg";

PointerNode node(std::string role, Rect frame = {}, std::optional<std::string> url = {}) {
  return {.role = std::move(role), .url = std::move(url), .frame = frame};
}
PointerNode link(std::string url) {
  return node("AXLink", kLarge, std::move(url));
}
PointerNode image(std::optional<std::string> url = kPhoto, Rect frame = kImage) {
  return node("AXImage", frame, std::move(url));
}

TEST(PageTarget, DecidesVideoThenVideoLinkThenImageThenWindow) {
  const auto video = PageTarget::video;
  const auto window = PageTarget::window;
  std::vector<PointerNode> deep(7, node("AXGroup"));
  deep.push_back(node("AXVideo", kLarge));
  const PointerNode videoParent{.frame = kLarge, .domClasses = {"outer", "html5-video-box"}};
  const struct {
    const char* what;
    std::vector<PointerNode> chain;
    PageTarget expected;
  } cases[] = {
      {"empty", {}, window()},
      {"a narrow video gives way to a video parent",
       {node("AXVideo", kNarrow), node("AXGroup", kVideo), videoParent},
       video(kLarge)},
      {"the eighth node is out of reach", deep, window()},
      {"videos is no video", {{.title = "Latest videos", .frame = kVideo}}, window()},
      {"video is", {{.title = "Play video: cats", .frame = kVideo}}, video(kVideo)},
      {"any class containing it", {{.frame = kVideo, .domClasses = {"myVideos"}}}, video(kVideo)},
      {"a video beats an image", {image(), node("AXVideo", kVideo)}, video(kVideo)},
      {"inside a link to a video file",
       {node("AXText", kNarrow), node("AXGroup", kVideo), link("https://a.com/Clip.MP4")},
       video(kVideo)},
      {"never the link itself", {link("https://a.com/c.webm"), node("AXGroup", kVideo)}, window()},
      {"mp4 in the query",
       {node("AXGroup", kVideo), link("https://a.com/w.html?f=a.mp4")},
       window()},
      {"an image", {node("AXText"), image()}, PageTarget::image(kPhoto, kImage)},
      {"data: gives no source",
       {image("data:image/png;base64,iVBORw0KGgo=")},
       PageTarget::image(std::nullopt, kImage)},
      {"a narrow image decides",
       {image(kPhoto, {0, 0, 119, 500}), image(kPhoto, kLarge)},
       window()},
      {"the fourth node is out of reach",
       {node("AXGroup"), node("AXGroup"), node("AXGroup"), image()},
       window()},
  };
  for (const auto& c : cases) EXPECT_EQ(PageTarget::decide(c.chain), c.expected) << c.what;
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
