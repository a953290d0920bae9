#include "app/platform/x11/hotkey_monitor.h"

namespace brindlemoor {

HotkeyMonitor::HotkeyMonitor(CaptureKeys keys, GestureCallback onGesture, HeldCallback onHeldChange)
    : m_onGesture(std::move(onGesture)),
      m_onHeldChange(std::move(onHeldChange)),
      m_keys(keys),
      m_gesture(keys.gesture()) {}

HotkeyMonitor::~HotkeyMonitor() {
  stop();
}

void HotkeyMonitor::start() {
  stop();
  m_reader = std::make_unique<KeyEventReader>([this](const KeyEvent& event) { handle(event); });
}

void HotkeyMonitor::stop() {
  m_reader.reset();
  std::lock_guard lock(m_mutex);
  m_gesture = m_keys.gesture();
}

void HotkeyMonitor::setKeys(CaptureKeys keys) {
  std::lock_guard lock(m_mutex);
  m_keys = keys;
  m_gesture = keys.gesture();
}

CaptureKeys HotkeyMonitor::keys() const {
  std::lock_guard lock(m_mutex);
  return m_keys;
}

HeldKeys HotkeyMonitor::held() const {
  std::lock_guard lock(m_mutex);
  return m_held;
}

void HotkeyMonitor::handle(const KeyEvent& event) {
  bool fire = false;
  std::optional<HeldKeys> heldNow;
  {
    std::lock_guard lock(m_mutex);
    if (event.type == KeyEvent::keyDown) {
      fire = m_keys == CaptureKeys::shortcut && CaptureKeys::isShortcut(event.keyCode, event.flags);
      if (m_gesture) m_gesture->keyDown();
    } else if (event.type == KeyEvent::flagsChanged && m_gesture) {
      const HeldKeys held{(event.flags & m_gesture->left()) != 0,
                          (event.flags & m_gesture->right()) != 0};
      if (held != m_held) heldNow = m_held = held;
      fire = m_gesture->flagsChanged(event.flags);
    }
  }
  // Called unlocked, so that a callback may ask the monitor again.
  if (heldNow && m_onHeldChange) m_onHeldChange(*heldNow);
  if (fire && m_onGesture) m_onGesture();
}

}  // namespace brindlemoor
