// KeysDown is the set of modifier keys held on the desktop, kept from raw
// key events, which carry no modifier state of their own, and the modifier
// flags that the keys held make together. A release of a key not held, or a
// second release, changes nothing.
//
// Threads: the one thread that reads key events owns it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>

namespace brindlemoor {

class KeysDown {
 public:
  // The keys down as the server reports them: one bit a key code, as in a
  // QueryKeymap reply.
  using ServerKeys = std::array<std::uint8_t, 32>;

  // `keycode` went down, adding `flags`. False when it was held already,
  // which means that its release went unseen.
  bool press(std::uint8_t keycode, std::uint64_t flags);
  // `keycode` went up. False when it wasn't held.
  bool release(std::uint8_t keycode);
  // Makes the set what the server says is down: keys it reports up are let
  // go, and keys it reports down join when `modifierFlags` gives them flags
  // (nothing for a key that is no modifier). True when the set changed.
  bool match(const ServerKeys& down,
             const std::function<std::optional<std::uint64_t>(std::uint8_t)>& modifierFlags);

  std::uint64_t flags() const;

 private:
  std::map<std::uint8_t, std::uint64_t> m_held;  // key code -> its flags
};

}  // namespace brindlemoor
