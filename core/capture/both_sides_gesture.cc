#include "core/capture/both_sides_gesture.h"

namespace brindlemoor {

bool BothSidesGesture::flagsChanged(std::uint64_t flags) {
  const bool leftDown = (flags & m_left) != 0;
  const bool rightDown = (flags & m_right) != 0;
  m_holding = leftDown || rightDown;
  // The one place a holding ends. `others` is not looked at, so a Shift
  // pressed and let go while both sides are up spoils nothing to come.
  if (!m_holding) {
    m_spoiled = false;
    m_fired = false;
    return false;
  }
  // The mark stays after the other key is let go: Shift down, Shift up, then
  // the second side is still not a clean press of the pair.
  if ((flags & m_others) != 0) m_spoiled = true;
  if (!(leftDown && rightDown) || m_spoiled || m_fired) return false;
  m_fired = true;
  return true;
}

void BothSidesGesture::keyDown() {
  if (m_holding) m_spoiled = true;
}

}  // namespace brindlemoor
