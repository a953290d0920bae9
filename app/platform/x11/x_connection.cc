#include "app/platform/x11/x_connection.h"

#include <cstdlib>

namespace brindlemoor {
namespace {

xcb_connection_t* connect() {
  const char* display = std::getenv("DISPLAY");
  if (!display || !*display) {
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    throw XConnection::Failure(
        wayland && *wayland
            ? "Brindlemoor keeps from the screen through X11, and this Wayland session offers "
              "no X11 display."
            : "Brindlemoor keeps from the screen through X11, and no X11 display is set.");
  }
  xcb_connection_t* connection = xcb_connect(display, nullptr);
  if (xcb_connection_has_error(connection)) {
    xcb_disconnect(connection);
    throw XConnection::Failure(std::string("The X11 display ") + display + " can't be reached.");
  }
  return connection;
}

}  // namespace

XConnection::XConnection() : m_connection(connect(), xcb_disconnect) {
  m_root = xcb_setup_roots_iterator(xcb_get_setup(get())).data->root;
}

xcb_atom_t XConnection::atom(std::string_view name) const {
  std::lock_guard lock(m_mutex);
  const std::string key(name);
  if (const auto found = m_atoms.find(key); found != m_atoms.end()) return found->second;
  const auto reply = xReply(xcb_intern_atom_reply(
      get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
      nullptr));
  const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  if (atom != XCB_ATOM_NONE) m_atoms.emplace(key, atom);
  return atom;
}

std::optional<std::string> XConnection::text(xcb_window_t window, std::string_view property) const {
  // Titles are short; a megabyte bounds what a hostile client can make us hold.
  constexpr std::uint32_t kLongest = 1 << 18;  // in 32-bit units
  const auto reply = xReply(xcb_get_property_reply(
      get(),
      xcb_get_property(get(), 0, window, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, kLongest),
      nullptr));
  if (!reply || reply->format != 8) return std::nullopt;
  if (reply->type != atom("UTF8_STRING") && reply->type != XCB_ATOM_STRING) return std::nullopt;
  return std::string(static_cast<const char*>(xcb_get_property_value(reply.get())),
                     static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
}

std::vector<std::uint32_t> XConnection::values(xcb_window_t window, std::string_view property,
                                               xcb_atom_t type) const {
  constexpr std::uint32_t kMost = 1 << 16;
  const auto reply = xReply(xcb_get_property_reply(
      get(), xcb_get_property(get(), 0, window, atom(property), type, 0, kMost), nullptr));
  if (!reply || reply->format != 32 || reply->type != type) return {};
  const auto* data = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return {data, data + xcb_get_property_value_length(reply.get()) / 4};
}

}  // namespace brindlemoor
