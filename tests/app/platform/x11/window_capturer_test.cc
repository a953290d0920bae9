// The window in front, chosen among real windows of other processes under a
// real window manager, and pictured with its own pixels.
#include "app/platform/x11/window_capturer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

#include "tests/testing/child_process.h"
#include "tests/testing/test_window.h"
#include "tests/testing/x_session.h"

namespace brindlemoor {
namespace {

void xdotool(const std::vector<std::string>& args) {
  ASSERT_EQ(testing::ChildProcess("/usr/bin/xdotool", args, {}).wait(), 0);
}

// How many pixels of `picture` differ from what the window of `seed` drew.
int wrongPixels(const WindowCapturer::Picture& picture, int seed) {
  int wrong = 0;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const std::uint8_t* rgb = &picture.rgb[(static_cast<std::size_t>(y) * picture.width + x) * 3];
      const std::uint32_t colour = rgb[0] << 16 | rgb[1] << 8 | rgb[2];
      wrong += colour != testing::patternColour(seed, x, y);
    }
  }
  return wrong;
}

// A Wayland session without X11 must give words the application can show,
// not a crash.
TEST(WindowCapturer, WithoutAnX11DisplayItSaysSo) {
  const char* display = std::getenv("DISPLAY");
  const std::string saved = display ? display : "";
  ::unsetenv("DISPLAY");
  ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  try {
    WindowCapturer capturer;
    ADD_FAILURE() << "a capturer without a display";
  } catch (const WindowCapturer::Failure& failure) {
    EXPECT_EQ(failure.kind(), WindowCapturer::Failure::Kind::noPermission);
    EXPECT_STREQ(failure.what(),
                 "Brindlemoor keeps from the screen through X11, and this Wayland session offers "
                 "no X11 display.");
  }
  ::unsetenv("WAYLAND_DISPLAY");
  if (!saved.empty()) ::setenv("DISPLAY", saved.c_str(), 1);
}

class WindowCapturerTest : public ::testing::Test {
 protected:
  testing::XSession m_session;
  WindowCapturer m_capturer;
};

TEST_F(WindowCapturerTest, WithNoWindowThereIsNothingToKeep) {
  try {
    m_capturer.focusedTarget(::getpid());
    FAIL() << "a window was chosen on an empty desktop";
  } catch (const WindowCapturer::Failure& failure) {
    EXPECT_EQ(failure.kind(), WindowCapturer::Failure::Kind::noWindow);
  }
}

// The active window is kept with its own pixels though another covers half
// of it; and a window of our own is never the one kept.
TEST_F(WindowCapturerTest, TheActiveWindowIsKeptWithItsOwnPixelsAndNeverOurOwn) {
  const testing::TestWindow alpha("Alpha", {40, 40, 400, 300}, 1);
  const testing::TestWindow beta("Beta", {240, 140, 400, 300}, 2);
  const testing::TestWindow gamma("Gamma", {900, 600, 300, 200}, 3);
  xdotool({"windowactivate", "--sync", std::to_string(alpha.id())});
  xdotool({"windowraise", std::to_string(beta.id())});

  const WindowCapturer::Target target = m_capturer.focusedTarget(::getpid());
  EXPECT_EQ(target.window, alpha.id());
  EXPECT_EQ(target.capture.windowTitle, "Alpha");
  EXPECT_EQ(target.capture.app, "bm-test-window");
  EXPECT_EQ(target.capture.bundleID, "BmTestWindow");
  EXPECT_EQ(target.entry.pid, alpha.pid());
  const WindowCapturer::Picture picture = m_capturer.shoot(target);
  EXPECT_EQ(picture.width, 400);
  EXPECT_EQ(picture.height, 300);
  EXPECT_EQ(wrongPixels(picture, 1), 0) << "Beta's pixels, or a frame, in Alpha's picture";

  // With Alpha's process taken for our own, the frontmost window of another
  // process is kept: Beta, raised over it.
  EXPECT_EQ(m_capturer.focusedTarget(alpha.pid()).window, beta.id());
}

}  // namespace
}  // namespace brindlemoor
