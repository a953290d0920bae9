// A real window of another process (bm-test-window) on the test's X server,
// drawn with patternColour() until it is ended.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string>

#include "core/capture/rect.h"
#include "tests/testing/child_process.h"

namespace brindlemoor::testing {

// 0xRRGGBB at (x, y) inside the window drawn with `seed`: stripes and a
// gradient, so that a shift, a crop or another window's pixels show.
constexpr std::uint32_t patternColour(int seed, int x, int y) {
  const auto red = static_cast<std::uint32_t>((x * 7 + seed * 50) & 0xFF);
  const auto green = static_cast<std::uint32_t>((y * 5 + (x / 16) * 40) & 0xFF);
  const auto blue = static_cast<std::uint32_t>(((x ^ y) + seed * 90) & 0xFF);
  return red << 16 | green << 8 | blue;
}

class TestWindow {
 public:
  // Returns once the window manager lists the window titled `title` and it
  // has drawn itself; throws std::runtime_error when that takes seconds.
  // A `companion` shell command is run by the window's process, as a child
  // of the application, such as the player of its sound.
  TestWindow(const std::string& title, Rect frame, int seed, const std::string& companion = "");

  xcb_window_t id() const { return m_id; }
  pid_t pid() const { return m_process.pid(); }

 private:
  ChildProcess m_process;
  xcb_window_t m_id = XCB_WINDOW_NONE;
};

}  // namespace brindlemoor::testing
