// XConnection is one connection to the X server of the session, with what
// every part of the X11 layer asks of it: the root window, atoms by name,
// and window properties read as text or as lists of 32-bit values.
//
// Threads: xcb serialises its own use, and the atom cache has a lock, so one
// XConnection may be used from any thread.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/model/failure.h"

namespace brindlemoor {

class XConnection {
 public:
  // There is no X server to talk to; what() says why in a user's words.
  class Failure : public brindlemoor::Failure {
   public:
    using brindlemoor::Failure::Failure;
  };

  // Connects to the display that DISPLAY names. Throws Failure: on a Wayland
  // session without X11, and when the server can't be reached.
  XConnection();
  XConnection(const XConnection&) = delete;
  XConnection& operator=(const XConnection&) = delete;

  xcb_connection_t* get() const { return m_connection.get(); }
  xcb_window_t root() const { return m_root; }

  // The atom of `name`, made when the server has none yet.
  xcb_atom_t atom(std::string_view name) const;

  // Property `property` of `window` as text, whether UTF8_STRING or STRING;
  // nothing when it is missing or of another type.
  std::optional<std::string> text(xcb_window_t window, std::string_view property) const;
  // Property `property` of `window` as 32-bit values of `type` (CARDINAL,
  // WINDOW, ATOM); empty when it is missing or of another type.
  std::vector<std::uint32_t> values(xcb_window_t window, std::string_view property,
                                    xcb_atom_t type) const;

 private:
  std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
  xcb_window_t m_root = XCB_WINDOW_NONE;
  mutable std::mutex m_mutex;
  mutable std::unordered_map<std::string, xcb_atom_t> m_atoms;
};

// A reply of xcb, freed when it goes.
template <class Reply>
using XReply = std::unique_ptr<Reply, decltype(&std::free)>;

template <class Reply>
XReply<Reply> xReply(Reply* reply) {
  return XReply<Reply>(reply, &std::free);
}

}  // namespace brindlemoor
