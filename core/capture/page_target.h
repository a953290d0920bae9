// PageTarget is what the capture keys keep in a browser: the image under the
// pointer, the video under it (which starts a recording), or, for anything
// else, the window. decide() reads it from a chain of PointerNode values, so
// the rule runs without any desktop. Frames are screen points with the origin
// at the top left. A plain value; the functions are pure and safe from any
// thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "core/capture/pointer_node.h"
#include "core/capture/rect.h"

namespace brindlemoor {

class PageTarget {
 public:
  enum class Kind : std::uint8_t { image, video, window };

  // An image, with its web address where one is known; without one the
  // picture comes from the window's own pixels inside `frame`.
  static PageTarget image(std::optional<std::string> source, Rect frame);
  // A video, and the region to record.
  static PageTarget video(Rect frame);
  // Nothing special: keep the window.
  static PageTarget window();

  // What the chain under the pointer shows, by the first of these that
  // answers. A video node among the 7 nearest the pointer, at least 160 by
  // 90: its role is "AXVideo", or its role description, title or description
  // name a video or player as a word, or any of its DOM classes or its
  // identifier contains either. Else a link to a video file (mp4, webm, mov,
  // m4v, in any case) anywhere in the chain: the first node inside the link
  // that is at least 160 by 90. Else the first "AXImage" among the 3 nearest
  // the pointer, if it is at least 120 by 120, with its address as `source`
  // only when that is http or https: data: and blob: addresses give none.
  // Anything else, an empty chain included, is window. So a video beats an
  // image, and is looked for further up.
  static PageTarget decide(std::span<const PointerNode> chain);

  // Whether the chain reaches any element of the page itself, rather than
  // only the scroll areas, groups and windows a browser shows while its
  // page's tree is still being built. When decide() gives window for a chain
  // that doesn't, the caller may read the chain again a moment later.
  static bool reachesPage(std::span<const PointerNode> chain);

  Kind kind() const { return m_kind; }
  // The image's web address; nothing for a video or the window.
  const std::optional<std::string>& source() const { return m_source; }
  // The image's or the video's frame; empty for the window.
  const Rect& frame() const { return m_frame; }

  bool operator==(const PageTarget&) const = default;

 private:
  PageTarget(Kind kind, std::optional<std::string> source, Rect frame)
      : m_kind(kind), m_source(std::move(source)), m_frame(frame) {}

  Kind m_kind;
  std::optional<std::string> m_source;
  Rect m_frame;
};

}  // namespace brindlemoor
