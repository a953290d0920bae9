#include "app/platform/x11/keys_down.h"

namespace brindlemoor {

bool KeysDown::press(std::uint8_t keycode, std::uint64_t flags) {
  return m_held.insert_or_assign(keycode, flags).second;
}

bool KeysDown::release(std::uint8_t keycode) {
  return m_held.erase(keycode) > 0;
}

bool KeysDown::match(
    const ServerKeys& down,
    const std::function<std::optional<std::uint64_t>(std::uint8_t)>& modifierFlags) {
  const auto isDown = [&](std::uint8_t keycode) {
    return (down[keycode / 8] >> (keycode % 8)) & 1;
  };
  const std::size_t before = m_held.size();
  std::erase_if(m_held, [&](const auto& held) { return !isDown(held.first); });
  bool changed = m_held.size() != before;
  for (unsigned keycode = 0; keycode < down.size() * 8; ++keycode) {
    if (!isDown(keycode) || m_held.contains(keycode)) continue;
    if (const auto flags = modifierFlags(keycode)) {
      press(static_cast<std::uint8_t>(keycode), *flags);
      changed = true;
    }
  }
  return changed;
}

std::uint64_t KeysDown::flags() const {
  std::uint64_t flags = 0;
  for (const auto& [keycode, keyFlags] : m_held) flags |= keyFlags;
  return flags;
}

}  // namespace brindlemoor
