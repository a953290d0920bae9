// WindowCapturer keeps the window in front: it says which window the user
// means (WindowChoice over the window manager's list, the active window's
// frame as the focused one) with the Capture that goes with it, and takes
// that window's own pixels through XComposite, so that a window partly
// covered by another is kept as it is drawn, without the cursor and without
// the shadow a client draws around itself.
//
// Threads: one capturer may be used from any one thread at a time; it holds
// its own connection to the X server.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

#include "app/platform/x11/x_connection.h"
#include "core/capture/window_entry.h"
#include "core/model/capture.h"
#include "core/model/failure.h"

namespace brindlemoor {

class WindowCapturer {
 public:
  class Failure : public brindlemoor::Failure {
   public:
    enum class Kind { noPermission, noWindow, captureFailed };
    Failure(Kind kind, const std::string& words) : brindlemoor::Failure(words), m_kind(kind) {}
    Kind kind() const { return m_kind; }

   private:
    Kind m_kind;
  };

  // What is about to be kept.
  struct Target {
    xcb_window_t window = XCB_WINDOW_NONE;
    WindowEntry entry;
    Capture capture;   // width and height 0 until the picture is taken
    double scale = 1;  // device pixels per point: 1 on X11
  };

  // A window's picture, 8-bit RGB, rows top to bottom.
  struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;
  };

  // Connects, and has the server keep every top-level window's pixels from
  // now on: redirecting only when a picture is wanted would give black where
  // a window was covered until its client draws again. Throws Failure
  // noPermission without an X11 display or without Composite.
  WindowCapturer();

  // The window the user means, never one of `ownPID`'s, with a new Capture
  // of it: its app, class and title. Throws Failure noWindow when there is
  // none to keep.
  Target focusedTarget(int ownPID) const;

  // The picture of `target`'s window as it is now, without the shadow its
  // client draws. Throws Failure noWindow when it has gone and captureFailed
  // when the server gives no picture.
  Picture shoot(const Target& target) const;

 private:
  XConnection m_x;
};

}  // namespace brindlemoor
