// A private X11 desktop for one test: Xvfb with Composite, XInput 2 and XTEST,
// and openbox bound to no keys, so no chord a test types opens anything.
// DISPLAY names it while it lives and is put back when it goes.
#pragma once

#include <sys/types.h>

#include <string>

#include "tests/testing/temp_dir.h"

namespace brindlemoor::testing {

class XSession {
 public:
  // Returns once the manager manages windows; throws when either can't start.
  XSession();
  ~XSession();
  XSession(const XSession&) = delete;
  XSession& operator=(const XSession&) = delete;

 private:
  void shutDown();

  TempDir m_dir;
  std::string m_previousDisplay;
  pid_t m_server = -1;
  pid_t m_manager = -1;
};

}  // namespace brindlemoor::testing
