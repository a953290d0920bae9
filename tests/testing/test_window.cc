#include "tests/testing/test_window.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "app/platform/x11/x_connection.h"

namespace brindlemoor::testing {

TestWindow::TestWindow(const std::string& title, Rect frame, int seed, const std::string& companion)
    : m_process(BM_TEST_WINDOW,
                {title, std::to_string(int(frame.x)), std::to_string(int(frame.y)),
                 std::to_string(int(frame.width)), std::to_string(int(frame.height)),
                 std::to_string(seed), companion},
                {}) {
  const XConnection x;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < deadline) {
    for (const xcb_window_t window : x.values(x.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW)) {
      if (x.text(window, "WM_NAME") == title &&
          !x.values(window, "_BM_DRAWN", XCB_ATOM_CARDINAL).empty()) {
        m_id = window;
        return;
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  m_process.kill();
  const int code = m_process.wait();
  throw std::runtime_error("the test window " + title + " did not appear (its process ended with " +
                           std::to_string(code) + ": " + m_process.err() + ")");
}

}  // namespace brindlemoor::testing
