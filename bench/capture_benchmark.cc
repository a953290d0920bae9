// Latency of the capture keys on a private 1920x1080 desktop with a real
// window manager: from the second Super key's press to the front window's
// picture in hand, and the reading of what lies under the pointer in a
// long-running Firefox ESR and Chromium. Read the p50 and p95 rows.
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <xcb/xtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "app/platform/x11/hotkey_monitor.h"
#include "app/platform/x11/page_pointer.h"
#include "app/platform/x11/window_capturer.h"
#include "app/platform/x11/window_list.h"
#include "bench/one_at_a_time.h"
#include "tests/testing/browsing.h"
#include "tests/testing/child_process.h"
#include "tests/testing/pictures.h"
#include "tests/testing/test_window.h"

namespace brindlemoor {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Xvfb's map.
constexpr std::uint8_t kSuperL = 133, kSuperR = 134;
// Where the image stands in the page.
constexpr Rect kImage{20, 20, 300, 200};

void waitFor(const std::function<bool()>& done, const char* what) {
  const auto deadline = Clock::now() + 60s;
  while (!done()) {
    if (Clock::now() > deadline) throw std::runtime_error(std::string(what) + " never came");
    std::this_thread::sleep_for(10ms);
  }
}

// One desktop for the process, made before anything that lives on it and
// so ended after all of it.
testing::PageDesktop& desktop() {
  static testing::PageDesktop made;
  return made;
}

// The address of a page with one image, which it writes.
std::string imagePage() {
  const std::filesystem::path& site = desktop().site();
  std::ofstream(site / "page.html")
      << "<!doctype html><html><body style='margin:0'><img src='photo.png' alt='A photo' "
         "style='position:absolute;left:"
      << kImage.x << "px;top:" << kImage.y << "px;width:" << kImage.width
      << "px;height:" << kImage.height << "px'></body></html>";
  testing::halves(300, 200).write_to_file((site / "photo.png").c_str());
  return desktop().url("/page.html");
}

// A full-screen pattern window of another process in front, a capturer
// made before it as the application makes one at launch, and a monitor of
// both Super keys that wakes the benchmark's thread as it would wake the
// application's.
struct KeyToPicture {
  testing::PageDesktop& place = desktop();
  WindowCapturer capturer;
  testing::TestWindow front{"Front", {0, 0, 1920, 1080}, 1};
  XConnection keyboard;
  std::mutex mutex;
  std::condition_variable woken;
  bool fired = false;
  HotkeyMonitor monitor{CaptureKeys::bothCommands,
                        [this] {
                          std::lock_guard lock(mutex);
                          fired = true;
                          woken.notify_one();
                        },
                        {}};

  KeyToPicture() {
    testing::ChildProcess activate("/usr/bin/xdotool",
                                   {"windowactivate", "--sync", std::to_string(front.id())}, {});
    if (activate.wait() != 0) throw std::runtime_error("the window can't be activated");
    monitor.start();
  }

  // Sent as the keyboard sends it, and in the server when this returns.
  void key(std::uint8_t type, std::uint8_t keycode) {
    xcb_test_fake_input(keyboard.get(), type, keycode, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    xReply(xcb_get_input_focus_reply(keyboard.get(), xcb_get_input_focus(keyboard.get()), nullptr));
  }
};

void BM_KeyPressToPicture(benchmark::State& state) {
  static KeyToPicture desk;
  WindowCapturer::Picture picture;
  for (auto _ : state) {
    desk.key(XCB_KEY_PRESS, kSuperL);
    const auto start = Clock::now();
    desk.key(XCB_KEY_PRESS, kSuperR);
    {
      std::unique_lock lock(desk.mutex);
      if (!desk.woken.wait_for(lock, 5s, [&] { return desk.fired; })) {
        state.SkipWithError("the monitor never fired");
        break;
      }
      desk.fired = false;
    }
    picture = desk.capturer.shoot(desk.capturer.focusedTarget(::getpid()));
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());

    desk.key(XCB_KEY_RELEASE, kSuperR);
    desk.key(XCB_KEY_RELEASE, kSuperL);
    waitFor([&] { return desk.monitor.held() == HeldKeys{}; }, "the keys' release");
  }
  state.counters["width"] = picture.width;
  state.counters["height"] = picture.height;
}
BENCHMARK(BM_KeyPressToPicture)
    ->Apply([](benchmark::internal::Benchmark* b) { bench::oneAtATime(b); })
    ->UseManualTime();

// A browser showing the page, with the pointer over the image once the
// browser has read it out as the image.
struct PointedPage {
  testing::PageDesktop& place = desktop();
  XConnection x;
  testing::Browser browser;

  explicit PointedPage(testing::Browser::Kind kind) : browser(kind, imagePage()) {
    // The page is found anew on each try: Chromium may still replace its
    // window, or shift the page with its bar, after the page first shows.
    waitFor(
        [&] {
          const std::optional<Rect> document = browser.pageFrame();
          if (!document)
            throw std::runtime_error("the page never came into the accessibility tree");
          xcb_warp_pointer(x.get(), XCB_WINDOW_NONE, x.root(), 0, 0, 0, 0,
                           static_cast<std::int16_t>(document->x + kImage.x + kImage.width / 2),
                           static_cast<std::int16_t>(document->y + kImage.y + kImage.height / 2));
          xcb_flush(x.get());
          return PagePointer::target(x).kind() == PageTarget::Kind::image;
        },
        "the image under the pointer");
  }
};

// The browser measured; the one before ends as the next starts, so that
// only one loads the machine.
PointedPage& pointedPage(testing::Browser::Kind kind) {
  static std::unique_ptr<PointedPage> open;
  static testing::Browser::Kind openKind;
  if (!open || openKind != kind) {
    open.reset();
    open = std::make_unique<PointedPage>(kind);
    openKind = kind;
  }
  return *open;
}

void BM_PageTarget(benchmark::State& state, testing::Browser::Kind kind) {
  if (!testing::Browser::installed(kind)) {
    state.SkipWithError("the browser is not installed");
    return;
  }
  PointedPage& page = pointedPage(kind);
  int missed = 0;  // readings that didn't give the image
  for (auto _ : state) missed += PagePointer::target(page.x).kind() != PageTarget::Kind::image;
  state.counters["missed"] = missed;
}
BENCHMARK_CAPTURE(BM_PageTarget, Firefox, testing::Browser::firefox)
    ->UseRealTime()
    ->Apply([](benchmark::internal::Benchmark* b) { bench::oneAtATime(b, 100); });
BENCHMARK_CAPTURE(BM_PageTarget, Chromium, testing::Browser::chromium)
    ->UseRealTime()
    ->Apply([](benchmark::internal::Benchmark* b) { bench::oneAtATime(b, 100); });

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
