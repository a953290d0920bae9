// KeyEventReader is what stands in on X11 for the desktop's key event
// monitors. It hears every key press and release of the X server, whatever
// window has the focus and whichever client grabs the keyboard, and turns
// them into the two events that the capture rules take: a key down with its
// key code, or a change of the modifiers, each with the modifier flags of the
// keys then held. A key is known by its keysym at the first level, so any
// keyboard and layout work, and a layout changed meanwhile is followed.
//
// Raw XInput events carry no modifier state, so the reader keeps the set of
// modifier keys held itself. A release it misses would leave a key held for
// ever: a Super key that spoils every gesture, or a side that completes one
// too early. XInput 2.2 is asked for because from 2.1 on raw events still
// come while another client grabs the keyboard, and nothing else hides them
// from a reader that listens; what remains are keys changed while no reader
// listened, and any loss we can't foresee. So the reader takes the keys
// down from the server when it starts, and when a press comes for a key it
// holds already, which proves that a release went missing, it matches its
// set with the server's at the next moment when no event waits to be read:
// only then does the server's answer follow exactly the events already
// taken. Each match is one round trip, and it happens almost never.
//
// Threads: the reader has its own connection and its own thread, and calls
// the handler on that thread, one event at a time, in the order of the keys.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

#include "app/platform/x11/keys_down.h"
#include "app/platform/x11/x_connection.h"
#include "app/platform/x11/x_keymap.h"

namespace brindlemoor {

struct KeyEvent {
  enum Type : std::uint8_t { keyDown = 10, flagsChanged = 12 };

  Type type = flagsChanged;
  // For keyDown: 40 for K, KeyMeaning::kOtherKey for any other key.
  std::uint16_t keyCode = 0;
  // The modifier flags of the capture rules, from the modifier keys held.
  std::uint64_t flags = 0;
};

class KeyEventReader {
 public:
  using Handler = std::function<void(const KeyEvent&)>;

  // Connects to the X server, starts listening, takes the keys now down
  // (they tell nobody: the next event carries them) and starts the thread.
  // Throws XConnection::Failure without a display, or when the server lacks
  // XInput 2.1 or XKB.
  explicit KeyEventReader(Handler handler);
  // Returns once the thread has ended; no handler runs after that. Must not
  // be called from the handler.
  ~KeyEventReader();
  KeyEventReader(const KeyEventReader&) = delete;
  KeyEventReader& operator=(const KeyEventReader&) = delete;

 private:
  void run();
  void take(const xcb_generic_event_t& event);
  // Matches the keys held with the server's, unless an event came in the
  // meantime; then it is taken and the match stays due.
  void matchServer();
  XReply<xcb_query_keymap_reply_t> askKeysDown() const;
  // Makes the keys held those that the server reports down; true when that
  // changed them.
  bool matchWith(const xcb_query_keymap_reply_t& down);

  const Handler m_handler;
  XConnection m_connection;
  XKeymap m_keymap;
  std::uint8_t m_xinput = 0;  // the XInput extension's major opcode
  KeysDown m_keys;
  bool m_matchDue = false;
  int m_wake = -1;  // an eventfd that ends the thread
  std::thread m_thread;
};

}  // namespace brindlemoor
