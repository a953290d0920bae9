#include "app/platform/x11/hotkey_monitor.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "tests/testing/x_session.h"

namespace brindlemoor {
namespace {

using namespace std::chrono_literals;

// Types on the private desktop through XTEST, by key code, as a keyboard
// would: `strokes` is xdotool's, e.g. "keydown 133 keyup 133".
void type(const std::string& strokes) {
  ASSERT_EQ(std::system(("xdotool " + strokes).c_str()), 0) << strokes;
}

// Each test has a desktop of its own and a running monitor of both Super
// keys that counts its firings and keeps each state of the held keys told.
class HotkeyMonitorTest : public ::testing::Test {
 protected:
  void SetUp() override { m_monitor.start(); }

  // The firings since the last call, once `expected` have come or 5 s have
  // passed, and a little longer, so that one too many would show.
  int fired(int expected) {
    within5s([&] { return m_firings >= expected; });
    std::this_thread::sleep_for(300ms);
    return m_firings.exchange(0);
  }
  bool heldComesTo(HeldKeys held) {
    return within5s([&] { return m_monitor.held() == held; });
  }
  static bool within5s(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!done() && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(10ms);
    return done();
  }
  std::vector<HeldKeys> heldSeen() {
    std::lock_guard lock(m_mutex);
    return m_heldSeen;
  }

  testing::XSession m_session;
  std::atomic<int> m_firings = 0;
  std::mutex m_mutex;
  std::vector<HeldKeys> m_heldSeen;
  HotkeyMonitor m_monitor{CaptureKeys::bothCommands, [this] { ++m_firings; },
                          [this](HeldKeys held) {
                            std::lock_guard lock(m_mutex);
                            m_heldSeen.push_back(held);
                          }};
};

// Xvfb's map: Super_L 133, Super_R 134, e 26, Tab 23, Control_L 37, Alt_L 64, Alt_R 108,
// Shift_L 50, k 45.

TEST_F(HotkeyMonitorTest, BothSuperKeysFireOncePerCleanHoldingWhateverHappensUnseen) {
  type("keydown 133 keydown 134 keyup 134 keyup 133");
  EXPECT_EQ(fired(1), 1);
  EXPECT_EQ(heldSeen(), (std::vector<HeldKeys>{{true, false}, {true, true}, {true, false}, {}}));
  type("keydown 134 keydown 133 keyup 133 keyup 134");
  EXPECT_EQ(fired(1), 1) << "the other order";
  // Held a while, and one side lifted and pressed again: still once.
  type("keydown 133 keydown 134 sleep 1 keyup 133 keydown 133 keyup 133 keyup 134");
  EXPECT_EQ(fired(1), 1);
  EXPECT_EQ(m_monitor.held(), HeldKeys{});

  // A letter typed with one Super, or one Super alone, never fires; the
  // chord that follows is clean again.
  type("keydown 133 keydown 26 keyup 26 keydown 134 keyup 134 keyup 133");
  type("keydown 134 keydown 23 keyup 23 keyup 134");
  type("keydown 133 sleep 1 keyup 133");
  type("keydown 133 keyup 133 keydown 133 keyup 133");
  type("keydown 133 keydown 134 keyup 134 keyup 133");
  EXPECT_EQ(fired(1), 1);

  // A release during another client's grab is seen.
  type("keydown 133");
  ASSERT_TRUE(heldComesTo({true, false}));
  const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> grabber(
      xcb_connect(nullptr, nullptr), xcb_disconnect);
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(grabber.get())).data->root;
  const std::unique_ptr<xcb_grab_keyboard_reply_t, decltype(&std::free)> grab(
      xcb_grab_keyboard_reply(grabber.get(),
                              xcb_grab_keyboard(grabber.get(), 0, root, XCB_CURRENT_TIME,
                                                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                              nullptr),
      std::free);
  ASSERT_TRUE(grab && grab->status == XCB_GRAB_STATUS_SUCCESS);
  type("keyup 133");
  xcb_ungrab_keyboard(grabber.get(), XCB_CURRENT_TIME);
  xcb_flush(grabber.get());
  EXPECT_TRUE(heldComesTo({}));
  // Had the release been lost, the right key alone would complete a gesture.
  type("keydown 134 keyup 134");
  EXPECT_EQ(fired(0), 0);

  // Keys changed while stopped are taken from the server at start: the left
  // went up unseen and the right down, so pressing the left completes the pair.
  type("keydown 133");
  ASSERT_TRUE(heldComesTo({true, false}));
  m_monitor.stop();
  type("keyup 133 keydown 134");
  m_monitor.start();
  type("keydown 133");
  EXPECT_EQ(fired(1), 1);
  EXPECT_EQ(m_monitor.held(), (HeldKeys{true, true}));
  type("keyup 133 keyup 134");
  EXPECT_TRUE(heldComesTo({}));
}

TEST_F(HotkeyMonitorTest, KeysChosenAtRunTimeAndALayoutChangedWhileListeningAreFollowed) {
  m_monitor.setKeys(CaptureKeys::bothOptions);
  type("keydown 133 keydown 134 keyup 134 keyup 133");
  EXPECT_EQ(fired(0), 0) << "Super keys no longer";
  type("keydown 108 keydown 64 keyup 64 keyup 108");
  EXPECT_EQ(fired(1), 1);
  EXPECT_EQ(heldSeen().at(1), (HeldKeys{true, true}));

  // Ctrl+Alt+Super+K alone, not with Shift, nor the Super pair.
  m_monitor.setKeys(CaptureKeys::shortcut);
  type("keydown 133 keydown 134 keyup 134 keyup 133");
  type(
      "keydown 37 keydown 64 keydown 133 keydown 50 keydown 45 keyup 45 keyup 50 keyup 133 "
      "keyup 64 keyup 37");
  EXPECT_EQ(fired(0), 0);
  type("keydown 37 keydown 64 keydown 133 keydown 45 keyup 45 keyup 133 keyup 64 keyup 37");
  EXPECT_EQ(fired(1), 1);

  // Swapping the left Alt and Super puts Super_L on 64 and makes 133 a left
  // Alt, which spoils the pair.
  m_monitor.setKeys(CaptureKeys::bothCommands);
  ASSERT_EQ(std::system("setxkbmap -option altwin:swap_lalt_lwin"), 0);
  type("keydown 133 keydown 134 keyup 134 keyup 133");
  EXPECT_EQ(fired(0), 0);
  type("keydown 64 keydown 134 keyup 134 keyup 64");
  EXPECT_EQ(fired(1), 1);
}

}  // namespace
}  // namespace brindlemoor
