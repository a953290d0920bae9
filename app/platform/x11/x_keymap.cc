#include "app/platform/x11/x_keymap.h"

#include <xkbcommon/xkbcommon-x11.h>

// xcb's XKB header names a member `explicit`, a keyword of C++.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

namespace brindlemoor {

XKeymap::XKeymap(const XConnection& connection)
    : m_connection(connection),
      m_context(xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref),
      m_keymap(nullptr, xkb_keymap_unref) {
  xcb_connection_t* c = connection.get();
  if (!m_context ||
      !xkb_x11_setup_xkb_extension(c, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                   XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr,
                                   &m_firstEvent, nullptr)) {
    throw XConnection::Failure("The X server offers no keyboard extension (XKB).");
  }
  m_device = xkb_x11_get_core_keyboard_device_id(c);
  // A new keyboard or a changed layout comes as one of these two; the parts
  // named are those a keysym lookup reads.
  constexpr std::uint16_t kEvents =
      XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr std::uint16_t kMapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS;
  xcb_xkb_select_events_details_t details{};
  details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
  details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
  xcb_xkb_select_events_aux(c, static_cast<xcb_xkb_device_spec_t>(m_device), kEvents, 0, 0,
                            kMapParts, kMapParts, &details);
  read();
  if (!m_keymap) throw XConnection::Failure("The X server's keyboard map can't be read.");
}

void XKeymap::read() {
  xkb_keymap* keymap = xkb_x11_keymap_new_from_device(m_context.get(), m_connection.get(), m_device,
                                                      XKB_KEYMAP_COMPILE_NO_FLAGS);
  if (keymap) m_keymap.reset(keymap);
}

xkb_keysym_t XKeymap::keysym(xkb_keycode_t keycode) const {
  const xkb_keysym_t* syms = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(m_keymap.get(), keycode, 0, 0, &syms);
  return count > 0 ? syms[0] : XKB_KEY_NoSymbol;
}

bool XKeymap::follow(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != m_firstEvent) return false;
  // Every XKB event shares one event code and says its kind in xkbType.
  const std::uint8_t kind = reinterpret_cast<const xcb_xkb_map_notify_event_t&>(event).xkbType;
  if (kind != XCB_XKB_NEW_KEYBOARD_NOTIFY && kind != XCB_XKB_MAP_NOTIFY) return false;
  read();
  return true;
}

}  // namespace brindlemoor
