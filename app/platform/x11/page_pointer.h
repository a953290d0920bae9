// PagePointer reads what lies under the pointer in a browser, through the
// desktop's accessibility bus, and says with PageTarget whether the capture
// keys keep an image, a video or the window. Only browsers are read: in any
// other application, and whenever the tree can't be read, the answer is the
// window, so that the user always keeps at least that.
//
// Threads: as AtSpi's, one thread for all accessibility calls; the X
// connection is the caller's.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/platform/x11/x_connection.h"
#include "core/capture/page_target.h"
#include "core/capture/pointer_node.h"

namespace brindlemoor::PagePointer {

// A point on the screen, in X11 pixels from the top left.
struct Point {
  double x = 0;
  double y = 0;
};

// Asks every application to expose itself to accessibility, by turning the
// desktop's accessibility on. Firefox follows within seconds; a Chromium
// browser only when it starts next (see restartAdvice). Called at launch;
// target() asks again until the bus has taken it.
void startPreparing();

// Where the pointer is now.
Point pointerLocation(const XConnection& x);

// The chain under `point`: the deepest element there first, then its
// parents up to its window, at most 10 nodes, with AT-SPI's roles given the
// names PageTarget knows. Empty when the window under the point isn't one
// of process `pid`'s, when that process isn't on the accessibility bus, or
// when nothing there can be read.
std::vector<PointerNode> chain(const XConnection& x, Point point, int pid);

// What the capture keys keep: PageTarget::decide over the chain under the
// pointer when the active window is a browser's, else the window. A browser
// that is still building its page's tree is read up to 4 times, 0.2 s
// apart; the pointer's place is read once, before the first.
PageTarget target(const XConnection& x);

// The words for the user when the active window is a Chromium browser that
// shows nothing to accessibility because it started before accessibility
// was on, which only a restart mends; nothing otherwise.
std::optional<std::string> restartAdvice(const XConnection& x);

}  // namespace brindlemoor::PagePointer
