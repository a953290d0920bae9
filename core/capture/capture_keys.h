// CaptureKeys is the user's choice of the keys that keep what is on the
// screen: both Super keys, both Alt keys, or Ctrl+Alt+Super+K. The raw string
// is what the settings file holds under "captureKeys"; `title` names the
// choice in Settings and `caps` are the key caps drawn for it, one string a
// cap. Immutable; safe from any thread.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "core/capture/both_sides_gesture.h"

namespace brindlemoor {

class CaptureKeys {
 public:
  enum Value : std::uint8_t { bothCommands, bothOptions, shortcut };

  // The virtual key code of K, as the platform layer translates it.
  static constexpr std::uint16_t shortcutKeyCode = 40;
  static constexpr std::uint64_t shortcutModifiers =
      BothSidesGesture::control | BothSidesGesture::option | BothSidesGesture::command;

  constexpr CaptureKeys(Value value) : m_value(value) {}
  constexpr operator Value() const { return m_value; }

  // bothCommands, bothOptions, shortcut: the order of the Settings menu.
  static const std::array<CaptureKeys, 3>& all();

  // The choice a stored value names. A missing value (pass "") or one that
  // names no choice reads as bothCommands, the default; the caller does not
  // write that back.
  static CaptureKeys fromStored(std::string_view stored);

  // Whether a key press is the shortcut: K with exactly Ctrl, Alt and Super
  // of the modifiers that count. Shift or Function held as well disqualify
  // it; Caps Lock and the side bits don't matter. Auto-repeat fires again.
  static bool isShortcut(std::uint16_t keyCode, std::uint64_t flags);

  std::string_view raw() const;
  std::string_view title() const;
  std::span<const std::string_view> caps() const;

  // A cleared state machine for the pair, or nothing for `shortcut`, which
  // is a key press and needs none. Every other modifier, the other pair's
  // included, is among its `others`.
  std::optional<BothSidesGesture> gesture() const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
