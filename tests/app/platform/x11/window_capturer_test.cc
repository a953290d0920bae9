// The window in front, chosen among real windows of other processes under a
// real window manager, and pictured with its own pixels.
#include "app/platform/x11/window_capturer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "tests/testing/child_process.h"
#include "tests/testing/failure_of.h"
#include "tests/testing/test_window.h"
#include "tests/testing/x_session.h"

namespace brindlemoor {
namespace {

void xdotool(const std::vector<std::string>& args) {
  ASSERT_EQ(testing::ChildProcess("/usr/bin/xdotool", args, {}).wait(), 0);
}

// A Wayland session without X11 must give words the application can show,
// not a crash.
TEST(WindowCapturer, WithoutAnX11DisplayItSaysSo) {
  const std::string display = std::getenv("DISPLAY") ? std::getenv("DISPLAY") : "";
  ::unsetenv("DISPLAY");
  ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  const auto failure = testing::failureOf<WindowCapturer::Failure>([] { WindowCapturer(); });
  EXPECT_EQ(failure.kind(), WindowCapturer::Failure::Kind::noPermission);
  EXPECT_STREQ(failure.what(),
               "Brindlemoor keeps from the screen through X11, and this Wayland session offers "
               "no X11 display.");
  ::unsetenv("WAYLAND_DISPLAY");
  if (!display.empty()) ::setenv("DISPLAY", display.c_str(), 1);
}

// Nothing on an empty desktop; then the active window with its own pixels
// though another covers half of it, and never a window of our own.
TEST(WindowCapturer, KeepsTheActiveWindowWithItsOwnPixelsAndNeverOurOwn) {
  const testing::XSession session;
  WindowCapturer capturer;
  EXPECT_EQ(testing::failureOf<WindowCapturer::Failure>([&] {
              capturer.focusedTarget(::getpid());
            }).kind(),
            WindowCapturer::Failure::Kind::noWindow);

  const testing::TestWindow alpha("Alpha", {40, 40, 400, 300}, 1);
  const testing::TestWindow beta("Beta", {240, 140, 400, 300}, 2);
  const testing::TestWindow gamma("Gamma", {900, 600, 300, 200}, 3);
  xdotool({"windowactivate", "--sync", std::to_string(alpha.id())});
  xdotool({"windowraise", std::to_string(beta.id())});
  const WindowCapturer::Target target = capturer.focusedTarget(::getpid());
  EXPECT_EQ(target.window, alpha.id());
  EXPECT_EQ(target.capture.windowTitle, "Alpha");
  EXPECT_EQ(target.capture.app, "bm-test-window");
  EXPECT_EQ(target.capture.bundleID, "BmTestWindow");
  EXPECT_EQ(target.entry.pid, alpha.pid());
  const WindowCapturer::Picture picture = capturer.shoot(target);
  ASSERT_EQ(picture.width, 400);
  ASSERT_EQ(picture.height, 300);
  int wrong = 0;  // pixels of Beta, or of a frame
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const std::uint8_t* rgb = &picture.rgb[(static_cast<std::size_t>(y) * picture.width + x) * 3];
      wrong += static_cast<std::uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]) !=
               testing::patternColour(1, x, y);
    }
  }
  EXPECT_EQ(wrong, 0);

  // With Alpha's process taken for our own, the frontmost window of another
  // process is kept: Beta, raised over it.
  EXPECT_EQ(capturer.focusedTarget(alpha.pid()).window, beta.id());

  // A window that closes between the choice and the picture.
  auto closing = std::make_unique<testing::TestWindow>("Closing", Rect{60, 700, 300, 200}, 4);
  xdotool({"windowactivate", "--sync", std::to_string(closing->id())});
  const WindowCapturer::Target gone = capturer.focusedTarget(::getpid());
  ASSERT_EQ(gone.window, closing->id());
  closing.reset();
  EXPECT_EQ(testing::failureOf<WindowCapturer::Failure>([&] { capturer.shoot(gone); }).kind(),
            WindowCapturer::Failure::Kind::noWindow);
}

}  // namespace
}  // namespace brindlemoor
