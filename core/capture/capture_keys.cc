#include "core/capture/capture_keys.h"

#include "core/model/raw_values.h"

namespace brindlemoor {
namespace {

using G = BothSidesGesture;

constexpr std::string_view kCommandCaps[] = {"Super", "Super"};
constexpr std::string_view kOptionCaps[] = {"Alt", "Alt"};
constexpr std::string_view kShortcutCaps[] = {"Ctrl", "Alt", "Super", "K"};

struct Keys {
  std::string_view raw, title;
  std::span<const std::string_view> caps;
};

constexpr Keys kKeys[] = {
    {"bothCommands", "Both Super keys", kCommandCaps},
    {"bothOptions", "Both Alt keys", kOptionCaps},
    {"shortcut", "Ctrl+Alt+Super+K", kShortcutCaps},
};

// The modifiers that count for the shortcut; Caps Lock and the side bits
// are left out.
constexpr std::uint64_t kShortcutMask =
    G::shift | G::control | G::option | G::command | G::function;

}  // namespace

const std::array<CaptureKeys, 3>& CaptureKeys::all() {
  static const std::array<CaptureKeys, 3> values{bothCommands, bothOptions, shortcut};
  return values;
}

CaptureKeys CaptureKeys::fromStored(std::string_view stored) {
  return internal::fromRawValue<CaptureKeys>(stored).value_or(bothCommands);
}

bool CaptureKeys::isShortcut(std::uint16_t keyCode, std::uint64_t flags) {
  return keyCode == shortcutKeyCode && (flags & kShortcutMask) == shortcutModifiers;
}

std::string_view CaptureKeys::raw() const {
  return kKeys[m_value].raw;
}
std::string_view CaptureKeys::title() const {
  return kKeys[m_value].title;
}
std::span<const std::string_view> CaptureKeys::caps() const {
  return kKeys[m_value].caps;
}

std::optional<BothSidesGesture> CaptureKeys::gesture() const {
  switch (m_value) {
    case bothCommands:
      return G(G::leftCommand, G::rightCommand, G::shift | G::control | G::option | G::function);
    case bothOptions:
      return G(G::leftOption, G::rightOption, G::shift | G::control | G::command | G::function);
    case shortcut:
      break;
  }
  return std::nullopt;
}

}  // namespace brindlemoor
