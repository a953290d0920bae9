// TestWindow is a real window of another process on the test's X server:
// bm-test-window, which draws a pattern of its own and keeps it until it is
// ended. Tests that choose or picture windows start a few of them and
// compare what they get against patternColour().
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string>

#include "core/capture/rect.h"
#include "tests/testing/child_process.h"

namespace brindlemoor::testing {

// The colour, 0xRRGGBB, that the window drawn with `seed` has at (x, y) of
// its inside: stripes and a gradient, so that a shift, a crop or another
// window's pixels show as a difference.
constexpr std::uint32_t patternColour(int seed, int x, int y) {
  const auto red = static_cast<std::uint32_t>((x * 7 + seed * 50) & 0xFF);
  const auto green = static_cast<std::uint32_t>((y * 5 + (x / 16) * 40) & 0xFF);
  const auto blue = static_cast<std::uint32_t>(((x ^ y) + seed * 90) & 0xFF);
  return red << 16 | green << 8 | blue;
}

class TestWindow {
 public:
  // Starts the window titled `title` (WM_NAME and _NET_WM_NAME), asking for
  // `frame` on the screen, and returns once the window manager lists it and
  // it has drawn itself. Throws std::runtime_error when that doesn't happen
  // within seconds.
  TestWindow(const std::string& title, Rect frame, int seed);

  // The client window, as the window manager's lists give it.
  xcb_window_t id() const { return m_id; }
  pid_t pid() const { return m_process.pid(); }

 private:
  ChildProcess m_process;
  xcb_window_t m_id = XCB_WINDOW_NONE;
};

}  // namespace brindlemoor::testing
