#include "app/platform/x11/key_event_reader.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <optional>

#include "app/platform/x11/key_meaning.h"

namespace brindlemoor {
namespace {

// Asks for XInput 2.2 and gives the extension's opcode. A client that says
// 2.0 gets no raw events while another client grabs the keyboard.
std::uint8_t listenToRawKeys(const XConnection& connection) {
  xcb_connection_t* c = connection.get();
  const auto* extension = xcb_get_extension_data(c, &xcb_input_id);
  const auto version = extension && extension->present
                           ? xReply(xcb_input_xi_query_version_reply(
                                 c, xcb_input_xi_query_version(c, 2, 2), nullptr))
                           : xReply<xcb_input_xi_query_version_reply_t>(nullptr);
  if (!version || version->major_version < 2 ||
      (version->major_version == 2 && version->minor_version < 1)) {
    throw XConnection::Failure("The X server lacks XInput 2.1, which tells every key press.");
  }
  struct {
    xcb_input_event_mask_t head;
    std::uint32_t mask;
  } select{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
           XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
  const auto error = xReply(xcb_request_check(
      c, xcb_input_xi_select_events_checked(c, connection.root(), 1, &select.head)));
  if (error) throw XConnection::Failure("The X server refused to tell key presses.");
  return extension->major_opcode;
}

}  // namespace

KeyEventReader::KeyEventReader(Handler handler)
    : m_handler(std::move(handler)),
      m_keymap(m_connection),
      m_xinput(listenToRawKeys(m_connection)),
      m_wake(::eventfd(0, EFD_CLOEXEC)) {
  if (m_wake < 0) throw XConnection::Failure("Key events can't be read: no event descriptor.");
  // Asked after the selection, so every change since comes as an event.
  if (const auto down = askKeysDown()) matchWith(*down);
  m_thread = std::thread([this] { run(); });
}

KeyEventReader::~KeyEventReader() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(m_wake, &one, sizeof one);
  m_thread.join();
  ::close(m_wake);
}

XReply<xcb_query_keymap_reply_t> KeyEventReader::askKeysDown() const {
  return xReply(
      xcb_query_keymap_reply(m_connection.get(), xcb_query_keymap(m_connection.get()), nullptr));
}

bool KeyEventReader::matchWith(const xcb_query_keymap_reply_t& down) {
  KeysDown::ServerKeys keys;
  std::copy(std::begin(down.keys), std::end(down.keys), keys.begin());
  return m_keys.match(keys, [this](std::uint8_t keycode) {
    const KeyMeaning meaning = KeyMeaning::of(m_keymap.keysym(keycode));
    return meaning.modifier ? std::optional(meaning.flags) : std::nullopt;
  });
}

void KeyEventReader::run() {
  xcb_connection_t* c = m_connection.get();
  pollfd watched[] = {{xcb_get_file_descriptor(c), POLLIN, 0}, {m_wake, POLLIN, 0}};
  while (!xcb_connection_has_error(c)) {
    if (const auto event = xReply(xcb_poll_for_event(c))) {
      take(*event);
    } else if (m_matchDue) {
      matchServer();
    } else if (::poll(watched, 2, -1) >= 0 && watched[1].revents) {
      return;
    }
  }
}

void KeyEventReader::take(const xcb_generic_event_t& event) {
  if (m_keymap.follow(event)) return;
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  if ((event.response_type & 0x7f) != XCB_GE_GENERIC || generic.extension != m_xinput) return;
  const auto keycode = static_cast<std::uint8_t>(
      reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event).detail);
  if (generic.event_type == XCB_INPUT_RAW_KEY_RELEASE) {
    if (m_keys.release(keycode)) m_handler({KeyEvent::flagsChanged, 0, m_keys.flags()});
  } else if (generic.event_type == XCB_INPUT_RAW_KEY_PRESS) {
    const KeyMeaning meaning = KeyMeaning::of(m_keymap.keysym(keycode));
    if (!meaning.modifier) {
      m_handler({KeyEvent::keyDown, meaning.keyCode, m_keys.flags()});
      return;
    }
    if (!m_keys.press(keycode, meaning.flags)) m_matchDue = true;
    m_handler({KeyEvent::flagsChanged, 0, m_keys.flags()});
  }
}

void KeyEventReader::matchServer() {
  const auto down = askKeysDown();
  // An event read while waiting may have come before the answer, which then
  // counts it already: take the event and ask again later.
  if (const auto event = xReply(xcb_poll_for_queued_event(m_connection.get()))) {
    take(*event);
    return;
  }
  m_matchDue = false;
  if (down && matchWith(*down)) m_handler({KeyEvent::flagsChanged, 0, m_keys.flags()});
}

}  // namespace brindlemoor
