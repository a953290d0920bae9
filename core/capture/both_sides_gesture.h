// BothSidesGesture recognises the press of a left and a right modifier key
// together, such as both Super keys, from the stream of modifier changes and
// key presses of the whole desktop. It fires on the press of the second side,
// while the hand is still on the keys, once per holding; anything else
// pressed during a holding spoils it until both sides are up again, so a
// shortcut typed with one of the pair never keeps anything. There is no time
// in it: the two sides may go down any time apart.
//
// A plain value with no allocation; it sees every key event of the desktop,
// so each call is a few bit tests. Not thread-safe: the one thread that
// delivers key events owns it.
#pragma once

#include <cstdint>

namespace brindlemoor {

class BothSidesGesture {
 public:
  // Bits of an event's modifier flags. The platform layer builds the flags in
  // these values from the keys it sees down. The side bits tell the left key
  // from the right; the Command keys are the Super keys and the Option keys
  // the Alt keys. There is no Function key on our desktops, but `function`
  // keeps its place in the masks of the choices. Caps Lock (0x10000) is in
  // no mask, so it neither spoils a gesture nor disturbs the shortcut.
  static constexpr std::uint64_t leftCommand = 0x8;
  static constexpr std::uint64_t rightCommand = 0x10;
  static constexpr std::uint64_t leftOption = 0x20;
  static constexpr std::uint64_t rightOption = 0x40;
  static constexpr std::uint64_t shift = 0x20000;
  static constexpr std::uint64_t control = 0x40000;
  static constexpr std::uint64_t option = 0x80000;
  static constexpr std::uint64_t command = 0x100000;
  static constexpr std::uint64_t function = 0x800000;

  // A cleared gesture over the masks of the left-hand key, the right-hand key
  // and every modifier that must stay out of the gesture.
  constexpr BothSidesGesture(std::uint64_t left, std::uint64_t right, std::uint64_t others)
      : m_left(left), m_right(right), m_others(others) {}

  // Takes the flags after a modifier change. True exactly once per holding,
  // at the event that completes it: both sides down, nothing else touched
  // since the first side went down. Both sides up clears the holding; a
  // modifier of `others` changed while both are up leaves nothing behind.
  bool flagsChanged(std::uint64_t flags);

  // Takes a key press, auto-repeat included: during a holding it spoils it.
  void keyDown();

  std::uint64_t left() const { return m_left; }
  std::uint64_t right() const { return m_right; }
  std::uint64_t others() const { return m_others; }
  // At least one of the two sides is down.
  bool holding() const { return m_holding; }
  // Something else was pressed during this holding; nothing fires until both
  // sides are up.
  bool spoiled() const { return m_spoiled; }
  // This holding has already fired.
  bool fired() const { return m_fired; }

  bool operator==(const BothSidesGesture&) const = default;

 private:
  std::uint64_t m_left;
  std::uint64_t m_right;
  std::uint64_t m_others;
  bool m_spoiled = false;
  bool m_fired = false;
  bool m_holding = false;
};

}  // namespace brindlemoor
