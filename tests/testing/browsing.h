// Real browsers on a private desktop, read through a private accessibility
// bus: the desktop with its session bus and a folder served on loopback,
// and Firefox ESR or Chromium started on a page of it.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "core/capture/rect.h"
#include "tests/testing/child_process.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/x_session.h"

namespace httplib {
class Server;
}  // namespace httplib

namespace brindlemoor::testing {

// An X11 desktop (XSession), a session bus with accessibility switched on,
// and site() served on loopback. One a process: AT-SPI keeps one
// connection, to the bus it finds first.
class PageDesktop {
 public:
  // Throws std::runtime_error when a part can't start.
  PageDesktop();
  ~PageDesktop();
  PageDesktop(const PageDesktop&) = delete;
  PageDesktop& operator=(const PageDesktop&) = delete;

  // The folder served; files may be added at any time.
  const std::filesystem::path& site() const { return m_site.path(); }
  // "http://127.0.0.1:<port>" followed by `path`.
  std::string url(const std::string& path) const;

 private:
  TempDir m_runtime;
  TempDir m_site;
  std::unique_ptr<XSession> m_session;
  std::unique_ptr<httplib::Server> m_server;
  int m_port = 0;
  std::thread m_thread;
};

// A browser with a fresh profile, started on `address` in a session of its
// own, so that it and its helpers all end with the value.
class Browser {
 public:
  enum Kind { firefox, chromium };

  static bool installed(Kind kind);

  // Returns once the browser's window, `width` by `height`, is in front;
  // throws std::runtime_error when it isn't within a minute. Media play at
  // once, sound and all, as after a click.
  Browser(Kind kind, const std::string& address, int width = 1000, int height = 700);
  ~Browser();
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  pid_t pid() const { return m_process->pid(); }

  // Where the page's document stands on the screen, once it is in the
  // accessibility tree; nothing when it isn't within a minute.
  std::optional<Rect> pageFrame() const;

 private:
  TempDir m_profile;
  std::unique_ptr<ChildProcess> m_process;
};

}  // namespace brindlemoor::testing
