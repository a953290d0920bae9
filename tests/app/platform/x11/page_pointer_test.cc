// Real Firefox ESR and Chromium showing a page served on loopback, read
// through a private accessibility bus on a private X11 desktop.
#include "app/platform/x11/page_pointer.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <thread>

#include "app/platform/x11/accessibility_place.h"
#include "app/platform/x11/window_list.h"
#include "tests/testing/browsing.h"
#include "tests/testing/child_process.h"
#include "tests/testing/media_files.h"
#include "tests/testing/pictures.h"
#include "tests/testing/test_window.h"

namespace brindlemoor {

// Failures show what was found in words.
void PrintTo(const PageTarget& target, std::ostream* out) {
  const Rect& f = target.frame();
  *out << std::array{"image", "video", "window"}[static_cast<int>(target.kind())] << "("
       << target.source().value_or("-") << ", " << f.x << "," << f.y << " " << f.width << "x"
       << f.height << ")";
}

namespace {

using namespace std::chrono_literals;

// The page's elements from its top left corner; the poster is inside a link
// to a video file whose extension is in capitals.
constexpr Rect kPhoto{20, 20, 300, 200}, kBackground{360, 20, 300, 200}, kClip{20, 260, 320, 180},
    kWords{400, 260, 400, 40}, kPoster{20, 480, 240, 135};

std::string page() {
  const auto style = [](const Rect& r) {
    std::ostringstream out;
    out << " style='position:absolute;left:" << r.x << "px;top:" << r.y << "px;width:" << r.width
        << "px;height:" << r.height << "px";
    return out.str();
  };
  return "<!doctype html><html><head><title>Pointer page</title></head><body style='margin:0'>"
         "<img src='photo.png' alt='A photo'" +
         style(kPhoto) + "'><div role='img' aria-label='A wall'" + style(kBackground) +
         ";background-image:url(wall.png)'></div><video src='clip.mp4' muted" + style(kClip) +
         "'></video><p" + style(kWords) +
         ";margin:0;font-size:20px'>Words that are only words.</p><a href='movie.MP4'><img "
         "src='photo.png' alt='Trailer'" +
         style(kPoster) + "'></a></body></html>";
}

// Browsers under Xvfb on a busy machine take their time, and how long isn't tested.
bool eventually(const std::function<bool()>& done, std::chrono::seconds limit = 60s) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(200ms);
  }
  return true;
}

void run(const std::string& program, const std::vector<std::string>& args) {
  testing::ChildProcess process("/usr/bin/" + program, args, {});
  ASSERT_EQ(process.wait(), 0) << process.err();
}

void setAccessibility(bool on) {
  run("dbus-send", {"--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                    "org.freedesktop.DBus.Properties.Set", "string:org.a11y.Status",
                    "string:IsEnabled", std::string("variant:boolean:") + (on ? "true" : "false")});
}

// One desktop for the whole process, with the page's folder.
class Desktop : public ::testing::Environment {
 public:
  void SetUp() override {
    desktop = std::make_unique<testing::PageDesktop>();
    const std::filesystem::path& site = desktop->site();
    std::ofstream(site / "page.html") << page();
    testing::halves(300, 200).write_to_file((site / "photo.png").c_str());
    testing::halves(300, 200).write_to_file((site / "wall.png").c_str());
    testing::writeTestVideo(site / "clip.mp4", {.width = 320, .height = 180});
  }
  void TearDown() override { desktop.reset(); }

  static inline std::unique_ptr<testing::PageDesktop> desktop;
};

const auto* const kDesktop = ::testing::AddGlobalTestEnvironment(new Desktop);

std::string url(const std::string& path) {
  return Desktop::desktop->url(path);
}

class PagePointerTest : public ::testing::Test {
 protected:
  // Starts the browser on the page, its window in front; it ends with the test.
  void open(testing::Browser::Kind kind) {
    m_browser = std::make_unique<testing::Browser>(kind, url("/page.html"));
  }

  // The pointer is moved onto each element and what is under it read until
  // it is as expected: a read a busy browser doesn't answer in time gives
  // less, the next all. A fresh Chromium shows its page to a walk down from
  // its window only once an element inside was asked for, so the place last.
  void expectThePageRead() {
    const std::optional<Rect> document = m_browser->pageFrame();
    EXPECT_TRUE(document) << "the page never came into the accessibility tree";
    if (!document) return;
    const auto at = [&](const Rect& e) {
      return Rect{document->x + e.x, document->y + e.y, e.width, e.height};
    };
    for (const auto& [element, expected] :
         {std::pair{kPhoto, PageTarget::image(url("/photo.png"), at(kPhoto))},
          {kBackground, PageTarget::image(std::nullopt, at(kBackground))},
          {kClip, PageTarget::video(at(kClip))},
          {kWords, PageTarget::window()},
          {kPoster, PageTarget::video(at(kPoster))}}) {
      const Rect onScreen = at(element);
      run("xdotool",
          {"mousemove", std::to_string(static_cast<int>(onScreen.x + onScreen.width / 2)),
           std::to_string(static_cast<int>(onScreen.y + onScreen.height / 2))});
      PageTarget found = PageTarget::window();
      EXPECT_TRUE(eventually([&] { return (found = PagePointer::target(m_x)) == expected; }, 20s))
          << ::testing::PrintToString(found) << " instead of "
          << ::testing::PrintToString(expected);
    }

    // The window takes the page's title a moment after the page's address.
    AccessibilityPlace::Place place;
    EXPECT_TRUE(eventually([&] {
      place = AccessibilityPlace::read(m_browser->pid());
      return place.url == url("/page.html") && place.title.value_or("").starts_with("Pointer page");
    })) << place.url.value_or("no address")
        << ", " << place.title.value_or("no title");
    EXPECT_FALSE(place.documentPath);
  }

  XConnection m_x;
  std::unique_ptr<testing::Browser> m_browser;
};

TEST_F(PagePointerTest, InFirefoxThePageIsReadAndNoOtherWindowIs) {
  if (!testing::Browser::installed(testing::Browser::firefox))
    GTEST_SKIP() << "firefox-esr is not installed";
  open(testing::Browser::firefox);
  expectThePageRead();

  // Over a window of another process, with Firefox still in front, nothing
  // of either is read.
  const auto front = *WindowList::active(m_x);
  const testing::TestWindow other("Other", {1300, 100, 400, 300}, 1);
  run("xdotool", {"windowactivate", "--sync", std::to_string(front)});
  run("xdotool", {"mousemove", "1500", "250"});
  EXPECT_TRUE(PagePointer::chain(m_x, {1500, 250}, m_browser->pid()).empty());
  EXPECT_EQ(PagePointer::target(m_x), PageTarget::window());

  // A browser that hangs answers nothing, and the press goes on with the window.
  run("xdotool", {"windowactivate", "--sync", std::to_string(front)});
  const Rect frame = *WindowList::frame(m_x, front);  // the photo lies about here
  run("xdotool",
      {"mousemove", std::to_string(int(frame.x) + 150), std::to_string(int(frame.y) + 200)});
  ::kill(m_browser->pid(), SIGSTOP);
  EXPECT_EQ(PagePointer::target(m_x), PageTarget::window());
  ::kill(m_browser->pid(), SIGCONT);
}

TEST_F(PagePointerTest, InAChromiumStartedWithAccessibilityOnThePageIsRead) {
  if (!testing::Browser::installed(testing::Browser::chromium))
    GTEST_SKIP() << "chromium is not installed";
  open(testing::Browser::chromium);
  expectThePageRead();
  EXPECT_FALSE(PagePointer::restartAdvice(m_x));
}

TEST_F(PagePointerTest, AChromiumStartedBeforeAccessibilityWasOnMustBeRestarted) {
  if (!testing::Browser::installed(testing::Browser::chromium))
    GTEST_SKIP() << "chromium is not installed";
  setAccessibility(false);
  open(testing::Browser::chromium);
  // Once the page has loaded, Chromium would have joined the bus if it were going to.
  ASSERT_TRUE(eventually([&] {
    const auto windows = WindowList::frontToBack(m_x);
    return !windows.empty() && windows.front().title.starts_with("Pointer page");
  }));
  setAccessibility(true);
  EXPECT_EQ(PagePointer::restartAdvice(m_x),
            "Restart Chromium to keep images and videos from its pages: it started before "
            "accessibility was on.");
  EXPECT_EQ(PagePointer::target(m_x), PageTarget::window());
}

}  // namespace
}  // namespace brindlemoor
