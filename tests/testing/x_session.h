// XSession is a private X11 desktop for one test: an X server (Xvfb) with
// Composite, XInput 2 and XTEST, and an EWMH window manager (openbox) that
// keeps none of its own key bindings, so that no chord a test types opens
// anything. DISPLAY names it in this process's environment while it lives;
// what the test starts, and what it opens itself, talks to it. Both are
// stopped, and DISPLAY put back, when it goes.
#pragma once

#include <sys/types.h>

#include <string>

#include "tests/testing/temp_dir.h"

namespace brindlemoor::testing {

class XSession {
 public:
  // Starts the server, then the window manager, and returns once the manager
  // has taken the screen. Throws std::runtime_error when either can't start.
  XSession();
  ~XSession();
  XSession(const XSession&) = delete;
  XSession& operator=(const XSession&) = delete;

  // ":N".
  const std::string& display() const { return m_display; }

 private:
  void shutDown();

  TempDir m_dir;
  std::string m_display;
  std::string m_previousDisplay;
  pid_t m_server = -1;
  pid_t m_manager = -1;
};

}  // namespace brindlemoor::testing
