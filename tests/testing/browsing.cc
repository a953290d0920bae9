#include "tests/testing/browsing.h"

#include <httplib.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "app/platform/x11/page_pointer.h"
#include "app/platform/x11/window_list.h"

namespace brindlemoor::testing {
namespace {

const char* program(Browser::Kind kind) {
  return kind == Browser::firefox ? "/usr/bin/firefox-esr" : "/usr/bin/chromium";
}

}  // namespace

PageDesktop::PageDesktop() : m_server(std::make_unique<httplib::Server>()) {
  ::setenv("XDG_RUNTIME_DIR", m_runtime.path().c_str(), 1);
  m_session = std::make_unique<XSession>();
  // dbus-launch lets go of its output once the bus is up, and its bus goes
  // with the X server.
  ChildProcess bus("/usr/bin/dbus-launch", {"--exit-with-x11"}, {});
  if (bus.wait() != 0) throw std::runtime_error("dbus-launch failed: " + bus.err());
  const std::string key = "DBUS_SESSION_BUS_ADDRESS=", out = bus.out();
  const std::size_t from = out.find(key) + key.size();
  ::setenv("DBUS_SESSION_BUS_ADDRESS", out.substr(from, out.find('\n', from) - from).c_str(), 1);
  PagePointer::startPreparing();

  m_server->set_mount_point("/", site().string());
  m_port = m_server->bind_to_any_port("127.0.0.1");
  if (m_port <= 0) throw std::runtime_error("no loopback port for the page server");
  m_thread = std::thread([this] { m_server->listen_after_bind(); });
  while (!m_server->is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

PageDesktop::~PageDesktop() {
  m_server->stop();
  if (m_thread.joinable()) m_thread.join();
}

std::string PageDesktop::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

bool Browser::installed(Kind kind) {
  return std::filesystem::exists(program(kind));
}

Browser::Browser(Kind kind, const std::string& address, int width, int height) {
  std::vector<std::string> args{"/bin/sh", "-c", "exec \"$0\" \"$@\" >/dev/null 2>&1",
                                program(kind)};
  if (kind == firefox) {
    std::ofstream(m_profile.path() / "user.js") << "user_pref(\"media.autoplay.default\", 0);\n";
    args.insert(args.end(),
                {"--no-remote", "--new-instance", "--profile", m_profile.path().string(), "-width",
                 std::to_string(width), "-height", std::to_string(height)});
  } else {
    // As root Chromium runs only without its sandbox; --test-type keeps away
    // the bar that warns of it, which pushes the page down once it shows.
    args.insert(args.end(),
                {"--no-sandbox", "--test-type", "--user-data-dir=" + m_profile.path().string(),
                 "--no-first-run",
                 "--no-default-browser-check", "--disable-gpu",
                 "--autoplay-policy=no-user-gesture-required", "--window-position=0,0",
                 "--window-size=" + std::to_string(width) + "," + std::to_string(height)});
  }
  args.push_back(address);
  m_process =
      std::make_unique<ChildProcess>("/usr/bin/setsid", args, std::map<std::string, std::string>{});
  // Browsers under Xvfb on a busy machine take their time.
  const XConnection x;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  for (;;) {
    const auto window = WindowList::active(x);
    if (window && WindowList::pid(x, *window) == pid()) return;
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(-pid(), SIGKILL);
      throw std::runtime_error(std::string(program(kind)) + "'s window never came to the front");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
}

std::optional<Rect> Browser::pageFrame() const {
  const XConnection x;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::chrono::steady_clock::now() < deadline) {
    // Read anew each time: a fresh Chromium may still replace the window it
    // first brought to the front. Near its corner nothing but the page stands.
    const auto active = WindowList::active(x);
    if (const auto window = active ? WindowList::frame(x, *active) : std::nullopt) {
      for (const PointerNode& node : PagePointer::chain(
               x, {window->x + window->width - 60, window->y + window->height - 60}, pid())) {
        if (node.role == "AXWebArea") return node.frame;
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  return std::nullopt;
}

Browser::~Browser() {
  ::kill(-pid(), SIGKILL);
}

}  // namespace brindlemoor::testing
