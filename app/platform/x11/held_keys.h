// HeldKeys says which side of the chosen pair of keys is down at this
// moment, so that the key caps drawn for the choice can be pressed in step
// with the user's fingers. A plain value; HotkeyMonitor hands a new one to
// its change callback whenever a side goes down or up.
#pragma once

namespace brindlemoor {

struct HeldKeys {
  bool left = false;
  bool right = false;

  bool operator==(const HeldKeys&) const = default;
};

}  // namespace brindlemoor
