#include "core/capture/page_target.h"

#include <unicode/regex.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <vector>

#include "core/model/icu_regex.h"
#include "core/model/text.h"
#include "core/model/url.h"

namespace brindlemoor {
namespace {

// How far up from the pointer each rule looks: a video's element often lies
// under a few layers of controls, while an image is the element itself or
// close to it.
constexpr std::size_t kVideoReach = 7;
constexpr std::size_t kImageReach = 3;
// Smaller ones are previews, badges and icons, not what the user points at.
constexpr double kVideoWidth = 160;
constexpr double kVideoHeight = 90;
constexpr double kImageSide = 120;

constexpr std::array<std::string_view, 4> kVideoExtensions = {"mp4", "webm", "mov", "m4v"};
// The outer containers a browser shows before its page's elements are there.
constexpr std::array<std::string_view, 3> kContainerRoles = {"AXScrollArea", "AXGroup", "AXWindow"};

bool holdsVideo(const Rect& frame) {
  return frame.width >= kVideoWidth && frame.height >= kVideoHeight;
}

// Titles and descriptions are prose, so the words count only whole: "videos"
// is no video. ICU's word boundaries hold for any script.
bool namesVideo(const std::string& prose) {
  static const auto pattern = IcuRegex::compiled(u"\\b(video|player)\\b");
  const icu::UnicodeString text = IcuRegex::unicode(Text::lowercased(prose));
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
  return U_SUCCESS(status) && matcher->find(status);
}

// Class names and identifiers run words together ("html5-video-player",
// "videoWrapper"), so any that contains either word counts.
bool classedAsVideo(const PointerNode& node) {
  std::vector<std::string> names = node.domClasses;
  names.push_back(node.domIdentifier);
  const std::string lower = Text::lowercased(Text::joined(names, " "));
  return lower.find("video") != std::string::npos || lower.find("player") != std::string::npos;
}

bool isVideo(const PointerNode& node) {
  return node.role == "AXVideo" ||
         namesVideo(node.roleDescription + " " + node.title + " " + node.description) ||
         classedAsVideo(node);
}

bool linksToVideo(const PointerNode& node) {
  if (!node.url) return false;
  const std::string extension = Text::lowercased(Url::pathExtension(*node.url));
  return std::ranges::find(kVideoExtensions, extension) != kVideoExtensions.end();
}

std::optional<std::string> webAddress(const std::optional<std::string>& url) {
  if (!url) return std::nullopt;
  const auto scheme = Url::scheme(*url);
  if (scheme != "http" && scheme != "https") return std::nullopt;
  return url;
}

}  // namespace

PageTarget PageTarget::image(std::optional<std::string> source, Rect frame) {
  return PageTarget(Kind::image, std::move(source), frame);
}

PageTarget PageTarget::video(Rect frame) {
  return PageTarget(Kind::video, std::nullopt, frame);
}

PageTarget PageTarget::window() {
  return PageTarget(Kind::window, std::nullopt, {});
}

PageTarget PageTarget::decide(std::span<const PointerNode> chain) {
  for (const PointerNode& node : chain.first(std::min(chain.size(), kVideoReach))) {
    if (isVideo(node) && holdsVideo(node.frame)) return video(node.frame);
  }

  // A thumbnail that links to a video file: the region is the thumbnail's,
  // inside the link, never the link's own.
  const auto link = std::ranges::find_if(chain, linksToVideo);
  if (link != chain.end()) {
    const auto inside = std::ranges::find_if(chain.begin(), link, holdsVideo, &PointerNode::frame);
    if (inside != link) return video(inside->frame);
  }

  const auto nearest = chain.first(std::min(chain.size(), kImageReach));
  const auto image =
      std::ranges::find_if(nearest, [](const PointerNode& node) { return node.role == "AXImage"; });
  // The nearest image decides alone: one too small means the window, even
  // with a larger image behind it.
  if (image == nearest.end() || image->frame.width < kImageSide ||
      image->frame.height < kImageSide) {
    return window();
  }
  return PageTarget::image(webAddress(image->url), image->frame);
}

bool PageTarget::reachesPage(std::span<const PointerNode> chain) {
  return std::ranges::any_of(chain, [](const PointerNode& node) {
    return std::ranges::find(kContainerRoles, node.role) == kContainerRoles.end();
  });
}

}  // namespace brindlemoor
