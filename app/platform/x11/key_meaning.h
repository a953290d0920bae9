// KeyMeaning is what one key of the desktop means to the capture keys: a
// modifier with its bits in the modifier flags of the capture rules (left and
// right Super, left and right Alt, Shift, Control), or another key with its
// key code in the rules' numbering, where K is 40. Keys are told apart by the
// keysym at their first level, never by key codes of the server, which
// differ between keyboards and layouts. Pure; safe from any thread.
#pragma once

#include <xkbcommon/xkbcommon.h>

#include <cstdint>

namespace brindlemoor {

struct KeyMeaning {
  // Any modifier key, Caps Lock, Num Lock and the level shifts included:
  // its changes are modifier changes, never key presses.
  bool modifier = false;
  // The bits the key adds to the modifier flags while it is down; none for
  // the modifiers that no choice looks at.
  std::uint64_t flags = 0;
  // For a key that is not a modifier: 40 for K, kOtherKey for the rest.
  std::uint16_t keyCode = 0;

  // The key code of every key that the capture keys don't name.
  static constexpr std::uint16_t kOtherKey = 0xFFFF;

  static KeyMeaning of(xkb_keysym_t keysym);
};

}  // namespace brindlemoor
