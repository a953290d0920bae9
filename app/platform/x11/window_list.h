// WindowList reads the desktop's windows as the window manager keeps them
// (EWMH): which are shown, front to back, each as a WindowEntry, and which
// one is in front. Bounds are frames on the screen, the decorations the
// manager draws included, so that a window's frame and the frame of the
// active window compare alike.
//
// Threads: the functions hold no state; they may run on any thread with the
// connection.
#pragma once

#include <xcb/xcb.h>

#include <optional>
#include <string>
#include <vector>

#include "app/platform/x11/x_connection.h"
#include "core/capture/rect.h"
#include "core/capture/window_entry.h"

namespace brindlemoor::WindowList {

// The windows on the screen, front to back: the manager's stacking list
// reversed, less those that are hidden or not mapped. Each entry's number is
// the client window's id, its owner the name of its process, its layer 0
// for normal, dialog and utility windows and 1 for docks, desktops,
// notifications and the like.
std::vector<WindowEntry> frontToBack(const XConnection& x);

// The window in front (_NET_ACTIVE_WINDOW); nothing when none is.
std::optional<xcb_window_t> active(const XConnection& x);

// The frame of `window` on the screen, decorations included; nothing when
// the window is gone.
std::optional<Rect> frame(const XConnection& x, xcb_window_t window);

// The top-level window that holds `window`, the window manager's frame
// around it when it has one: the root's children are what Composite
// redirects, so their pixmaps hold a client's pixels. XCB_WINDOW_NONE when
// the window is gone.
xcb_window_t topLevel(const XConnection& x, xcb_window_t window);

// The process that made `window`: asked of the X server (X-Resource), which
// knows any local client's; else the window's own _NET_WM_PID.
std::optional<int> pid(const XConnection& x, xcb_window_t window);

// The class of WM_CLASS ("firefox", "Chromium"), which stands for the
// program much as a bundle identifier would; nothing when unset.
std::optional<std::string> className(const XConnection& x, xcb_window_t window);

}  // namespace brindlemoor::WindowList
