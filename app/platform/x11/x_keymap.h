// XKeymap is the keyboard map of the X server's core keyboard, read through
// xkbcommon and kept current: the server tells the connection when a layout
// or a keyboard changes, and `follow` reads the map again, so a layout
// switched while the program runs keeps meaning what it shows.
//
// Threads: the one thread that reads the connection's events owns it.
#pragma once

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <memory>

#include "app/platform/x11/x_connection.h"

namespace brindlemoor {

class XKeymap {
 public:
  // Reads the map and asks the server to send `connection` its changes.
  // Throws XConnection::Failure when the server offers no XKB.
  explicit XKeymap(const XConnection& connection);

  // The keysym at the first level of the first group of `keycode`, without
  // regard to the modifiers now down; XKB_KEY_NoSymbol for an unused code.
  xkb_keysym_t keysym(xkb_keycode_t keycode) const;

  // Whether `event` is the server's word that the map changed; if so the map
  // has been read again. A map that can't be read keeps the last one.
  bool follow(const xcb_generic_event_t& event);

 private:
  void read();

  const XConnection& m_connection;
  std::uint8_t m_firstEvent = 0;
  std::int32_t m_device = -1;
  std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> m_context;
  std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> m_keymap;
};

}  // namespace brindlemoor
