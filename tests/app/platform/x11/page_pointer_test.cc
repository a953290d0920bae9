// What lies under the pointer in real browsers, Firefox ESR and Chromium,
// showing a page served on loopback, read through a private accessibility
// bus on a private X11 desktop; and the page's address as the focused
// window gives it.
#include "app/platform/x11/page_pointer.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <thread>

#include "app/platform/x11/accessibility_place.h"
#include "app/platform/x11/window_list.h"
#include "tests/testing/child_process.h"
#include "tests/testing/media_files.h"
#include "tests/testing/pictures.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/test_window.h"
#include "tests/testing/x_session.h"

namespace brindlemoor {

// Failures show what was found in words.
void PrintTo(const PageTarget& target, std::ostream* out) {
  constexpr const char* kKinds[] = {"image", "video", "window"};
  const Rect& f = target.frame();
  *out << kKinds[static_cast<int>(target.kind())] << "(" << target.source().value_or("-") << ", "
       << f.x << "," << f.y << " " << f.width << "x" << f.height << ")";
}

namespace {

using namespace std::chrono_literals;

// Where the page lays its elements out, from the page's top left corner.
constexpr Rect kPhoto{20, 20, 300, 200};
constexpr Rect kBackground{360, 20, 300, 200};
constexpr Rect kClip{20, 260, 320, 180};
constexpr Rect kWords{400, 260, 400, 40};
// A poster inside a link to a video file, whose extension is in capitals.
constexpr Rect kPoster{20, 480, 240, 135};

std::string style(const Rect& r) {
  std::ostringstream out;
  out << "position:absolute;left:" << r.x << "px;top:" << r.y << "px;width:" << r.width
      << "px;height:" << r.height << "px";
  return out.str();
}

std::string page() {
  return "<!doctype html><html><head><title>Pointer page</title></head>"
         "<body style='margin:0'>"
         "<img src='photo.png' alt='A photo' style='" +
         style(kPhoto) +
         "'>"
         "<div role='img' aria-label='A wall' style='" +
         style(kBackground) +
         ";background-image:url(wall.png)'></div>"
         "<video src='clip.mp4' muted style='" +
         style(kClip) +
         "'></video>"
         "<p style='" +
         style(kWords) +
         ";margin:0;font-size:20px'>Words that are only words.</p>"
         "<a href='movie.MP4'><img src='photo.png' alt='Trailer' style='" +
         style(kPoster) + "'></a></body></html>";
}

std::string text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

// Waits, checking every 0.2 s, until `done` or `limit` has passed: browsers
// under Xvfb on a busy machine take their time, and how long isn't tested.
bool eventually(const std::function<bool()>& done, std::chrono::seconds limit = 60s) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(200ms);
  }
  return true;
}

void xdotool(const std::vector<std::string>& args) {
  ASSERT_EQ(testing::ChildProcess("/usr/bin/xdotool", args, {}).wait(), 0);
}

void setAccessibility(bool on) {
  ASSERT_EQ(testing::ChildProcess(
                "/usr/bin/dbus-send",
                {"--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                 "org.freedesktop.DBus.Properties.Set", "string:org.a11y.Status",
                 "string:IsEnabled", std::string("variant:boolean:") + (on ? "true" : "false")},
                {})
                .wait(),
            0);
}

// A desktop of the test's own for the whole process, since AT-SPI keeps
// one connection to the bus it finds first: an X server and window manager,
// a session bus with accessibility on, and the page's server.
class Desktop : public ::testing::Environment {
 public:
  void SetUp() override {
    ::setenv("XDG_RUNTIME_DIR", m_runtime.path().c_str(), 1);
    m_session = std::make_unique<testing::XSession>();
    // dbus-launch, unlike the daemon itself, lets go of its output once
    // the bus is up; and the bus goes with the X server should the test
    // itself not live to end it.
    testing::ChildProcess bus("/usr/bin/dbus-launch", {"--exit-with-x11"}, {});
    ASSERT_EQ(bus.wait(), 0) << bus.err();
    std::istringstream printed(bus.out());
    for (std::string line; std::getline(printed, line);) {
      const std::size_t equals = line.find('=');
      if (line.starts_with("DBUS_SESSION_BUS_ADDRESS=")) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", line.substr(equals + 1).c_str(), 1);
      } else if (line.starts_with("DBUS_SESSION_BUS_PID=")) {
        m_busPid = std::stoi(line.substr(equals + 1));
      }
    }
    PagePointer::startPreparing();

    testing::writeTestVideo(m_media.path() / "clip.mp4", {.width = 320, .height = 180});
    std::ifstream clip(m_media.path() / "clip.mp4", std::ios::binary);
    const std::string video((std::istreambuf_iterator<char>(clip)), {});
    const std::string photo = text(testing::encoded(testing::halves(300, 200), ".png"));
    const auto serve = [this](const std::string& path, const std::string& body, const char* type) {
      m_server.Get(path, [=](const httplib::Request&, httplib::Response& response) {
        response.set_content(body, type);
      });
    };
    serve("/page.html", page(), "text/html");
    serve("/photo.png", photo, "image/png");
    serve("/wall.png", photo, "image/png");
    serve("/clip.mp4", video, "video/mp4");
    port = m_server.bind_to_any_port("127.0.0.1");
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    while (!m_server.is_running()) std::this_thread::sleep_for(1ms);
  }

  void TearDown() override {
    m_server.stop();
    if (m_thread.joinable()) m_thread.join();
    if (m_busPid > 0) ::kill(m_busPid, SIGTERM);
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    m_session.reset();
    ::unsetenv("XDG_RUNTIME_DIR");
  }

  static inline int port = 0;

 private:
  testing::TempDir m_runtime;
  testing::TempDir m_media;
  std::unique_ptr<testing::XSession> m_session;
  pid_t m_busPid = -1;
  httplib::Server m_server;
  std::thread m_thread;
};

const auto* const kDesktop = ::testing::AddGlobalTestEnvironment(new Desktop);

std::string url(const std::string& path) {
  return "http://127.0.0.1:" + std::to_string(Desktop::port) + path;
}

// A browser showing the page; it and every process it starts are ended
// with the test.
class Browser {
 public:
  Browser(const std::string& program, std::vector<std::string> args,
          const std::map<std::string, std::string>& environment = {}) {
    args.insert(args.begin(), {"-c", "exec \"$0\" \"$@\" >/dev/null 2>&1", program});
    args.insert(args.begin(), "/bin/sh");
    // A session of its own, so that its helpers can be ended together.
    m_process = std::make_unique<testing::ChildProcess>("/usr/bin/setsid", args, environment);
  }
  ~Browser() { ::kill(-m_process->pid(), SIGKILL); }
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  pid_t pid() const { return m_process->pid(); }

 private:
  std::unique_ptr<testing::ChildProcess> m_process;
};

std::vector<std::string> chromiumArgs(const testing::TempDir& profile) {
  // As root Chromium runs only without its sandbox.
  return {"--no-sandbox",           "--user-data-dir=" + profile.path().string(),
          "--no-first-run",         "--no-default-browser-check",
          "--disable-gpu",          "--window-position=0,0",
          "--window-size=1000,700", url("/page.html")};
}

bool available(const char* program) {
  return std::filesystem::exists(std::filesystem::path("/usr/bin") / program);
}

class PagePointerTest : public ::testing::Test {
 protected:
  // The browser's window once it is in front.
  void waitForWindow(pid_t pid) {
    ASSERT_TRUE(eventually([&] {
      const auto window = WindowList::active(m_x);
      return window && WindowList::pid(m_x, *window) == pid;
    })) << "the browser's window never came to the front";
  }

  // The page's top left corner on the screen, from the web document under a
  // point of the page where nothing else stands, once the page is there.
  PagePointer::Point pageOrigin(pid_t pid) {
    const auto window = WindowList::frame(m_x, *WindowList::active(m_x));
    const PagePointer::Point empty{window->x + window->width - 60, window->y + window->height - 60};
    std::optional<Rect> document;
    eventually([&] {
      for (const PointerNode& node : PagePointer::chain(m_x, empty, pid)) {
        if (node.role == "AXWebArea") document = node.frame;
      }
      return document.has_value();
    });
    EXPECT_TRUE(document) << "the page never came into the accessibility tree";
    return document ? PagePointer::Point{document->x, document->y} : PagePointer::Point{};
  }

  // The pointer is moved onto the middle of `element`, and what is under it
  // read until it is `expected`: a read that a busy browser doesn't answer
  // in time gives less, and the next gives all.
  void expectTargetAt(PagePointer::Point origin, const Rect& element, const PageTarget& expected) {
    const Rect onScreen = at(origin, element);
    xdotool({"mousemove", std::to_string(static_cast<int>(onScreen.x + onScreen.width / 2)),
             std::to_string(static_cast<int>(onScreen.y + onScreen.height / 2))});
    PageTarget found = PageTarget::window();
    EXPECT_TRUE(eventually([&] { return (found = PagePointer::target(m_x)) == expected; }, 20s))
        << ::testing::PrintToString(found) << " instead of " << ::testing::PrintToString(expected);
  }

  static Rect at(PagePointer::Point origin, const Rect& element) {
    return {origin.x + element.x, origin.y + element.y, element.width, element.height};
  }

  // The page's address and title, as the focused window gives them once the
  // page has loaded.
  void expectThePlace(pid_t pid) {
    AccessibilityPlace::Place place;
    // The window takes the page's title a moment after the page's address.
    EXPECT_TRUE(eventually([&] {
      place = AccessibilityPlace::read(pid);
      return place.url == url("/page.html") && place.title.value_or("").starts_with("Pointer page");
    })) << place.url.value_or("no address")
        << ", " << place.title.value_or("no title");
    EXPECT_FALSE(place.documentPath);
  }

  // The image with its address made absolute, the background image without
  // one, the video, over words the window, and a link to a video file.
  void expectTheElementsOfThePage(pid_t pid) {
    const PagePointer::Point origin = pageOrigin(pid);
    expectTargetAt(origin, kPhoto, PageTarget::image(url("/photo.png"), at(origin, kPhoto)));
    expectTargetAt(origin, kBackground, PageTarget::image(std::nullopt, at(origin, kBackground)));
    expectTargetAt(origin, kClip, PageTarget::video(at(origin, kClip)));
    expectTargetAt(origin, kWords, PageTarget::window());
    expectTargetAt(origin, kPoster, PageTarget::video(at(origin, kPoster)));
  }

  XConnection m_x;
};

TEST_F(PagePointerTest, InFirefoxTheImagesAndTheVideoAreFoundAndNoOtherWindowIsRead) {
  if (!available("firefox-esr")) GTEST_SKIP() << "firefox-esr is not installed";
  const testing::TempDir profile;
  const Browser firefox("firefox-esr",
                        {"--no-remote", "--new-instance", "--profile", profile.path().string(),
                         "-width", "1000", "-height", "700", url("/page.html")});
  waitForWindow(firefox.pid());
  expectThePlace(firefox.pid());
  expectTheElementsOfThePage(firefox.pid());

  // Over a window of another process, with Firefox still in front, nothing
  // of either is read.
  const auto front = *WindowList::active(m_x);
  const testing::TestWindow other("Other", {1300, 100, 400, 300}, 1);
  xdotool({"windowactivate", "--sync", std::to_string(front)});
  xdotool({"mousemove", "1500", "250"});
  EXPECT_TRUE(PagePointer::chain(m_x, {1500, 250}, firefox.pid()).empty());
  EXPECT_EQ(PagePointer::target(m_x), PageTarget::window());
}

TEST_F(PagePointerTest, InChromiumStartedWithAccessibilityOnTheImagesAndTheVideoAreFound) {
  if (!available("chromium")) GTEST_SKIP() << "chromium is not installed";
  const testing::TempDir profile;
  const Browser chromium("chromium", chromiumArgs(profile));
  waitForWindow(chromium.pid());
  // A fresh Chromium shows its page to a walk down from its window only
  // once something has asked for an element inside the page.
  expectTheElementsOfThePage(chromium.pid());
  expectThePlace(chromium.pid());
  EXPECT_FALSE(PagePointer::restartAdvice(m_x));
}

TEST_F(PagePointerTest, AChromiumStartedBeforeAccessibilityWasOnMustBeRestarted) {
  if (!available("chromium")) GTEST_SKIP() << "chromium is not installed";
  setAccessibility(false);
  const testing::TempDir profile;
  const Browser chromium("chromium", chromiumArgs(profile));
  waitForWindow(chromium.pid());
  // Once the page has loaded, Chromium would have joined the bus if it were
  // going to.
  ASSERT_TRUE(eventually([&] {
    const auto windows = WindowList::frontToBack(m_x);
    return !windows.empty() && windows.front().title.starts_with("Pointer page");
  }));
  // Turned on now, accessibility comes too late for it.
  setAccessibility(true);
  EXPECT_EQ(PagePointer::restartAdvice(m_x),
            "Restart Chromium to keep images and videos from its pages: it started before "
            "accessibility was on.");
  EXPECT_EQ(PagePointer::target(m_x), PageTarget::window());
}

}  // namespace
}  // namespace brindlemoor
