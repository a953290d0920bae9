// HotkeyMonitor hears the user's capture keys anywhere on the desktop and
// calls one callback when the user means to keep what is on the screen: both
// Super keys pressed together, both Alt keys, or Ctrl+Alt+Super+K, as the
// user chose. It also tells which side of the chosen pair is down, so that
// key caps can be drawn pressed in step with the fingers. The rules of the
// gesture are the capture rules' own (BothSidesGesture, CaptureKeys); this
// class feeds them the desktop's key events. Where the choice is stored is
// the application's concern: it passes the choice in.
//
// Threads: start, stop and the destructor belong to the owner's thread;
// setKeys, keys and held may be called from any thread. Both callbacks run
// on the monitor's own reader thread, one event at a time: they must return
// quickly, hand their work to the application's thread, and never call start
// or stop.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "app/platform/x11/held_keys.h"
#include "app/platform/x11/key_event_reader.h"
#include "core/capture/both_sides_gesture.h"
#include "core/capture/capture_keys.h"

namespace brindlemoor {

class HotkeyMonitor {
 public:
  // The user means to keep something.
  using GestureCallback = std::function<void()>;
  // A side of the chosen pair went down or up; the value is the new state.
  using HeldCallback = std::function<void(HeldKeys)>;

  // A stopped monitor of `keys`. Either callback may be empty.
  HotkeyMonitor(CaptureKeys keys, GestureCallback onGesture, HeldCallback onHeldChange);
  ~HotkeyMonitor();
  HotkeyMonitor(const HotkeyMonitor&) = delete;
  HotkeyMonitor& operator=(const HotkeyMonitor&) = delete;

  // Starts listening anew, with a fresh gesture; may be called at any time
  // and as often as wanted. Keys already down when it starts count as held.
  // Throws XConnection::Failure when there is no X server with XInput 2.1
  // and XKB; the monitor is then stopped.
  void start();
  // Stops listening and clears the gesture. What `held` showed stays.
  void stop();

  // Switches to another choice at once with a fresh gesture, also in the
  // middle of a holding; a running monitor goes on running.
  void setKeys(CaptureKeys keys);
  CaptureKeys keys() const;

  // Which side of the pair is down, as last told to the callback. Not kept
  // while the choice is the shortcut, which has no pair.
  HeldKeys held() const;

 private:
  void handle(const KeyEvent& event);

  const GestureCallback m_onGesture;
  const HeldCallback m_onHeldChange;
  mutable std::mutex m_mutex;
  CaptureKeys m_keys;                         // guarded by m_mutex
  std::optional<BothSidesGesture> m_gesture;  // guarded by m_mutex; none for the shortcut
  HeldKeys m_held;                            // guarded by m_mutex
  std::unique_ptr<KeyEventReader> m_reader;   // the owner's thread only
};

}  // namespace brindlemoor
