// ScreenGrab takes one region of one top-level window from the X server
// through FFmpeg's x11grab, about 30 times a second and without the cursor.
// The window is redirected off screen by Composite while it is grabbed, so
// what a grab holds is the window's own pixels even where another window
// covers it.
//
// Threads: one thread at a time.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>

#include "app/platform/x11/x_connection.h"
#include "core/model/failure.h"

struct AVFormatContext;
struct AVPacket;

namespace brindlemoor {

class ScreenGrab {
 public:
  // What x11grab refused, in its own words.
  class Failure : public brindlemoor::Failure {
   public:
    using brindlemoor::Failure::Failure;
  };

  // Pixels of a window, counted from its top left corner.
  struct Region {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
  };

  struct PacketFree {
    void operator()(AVPacket* packet) const;
  };
  // One grab: its pixels (data) in pixelFormat(), rows of stride() bytes,
  // and the moment it was taken (pts) in microseconds of the wall clock.
  using Grab = std::unique_ptr<AVPacket, PacketFree>;

  // Starts grabbing `region` of the top-level window `window`, which must
  // lie inside it. Throws Failure.
  ScreenGrab(const XConnection& x, xcb_window_t window, Region region);
  ~ScreenGrab();
  ScreenGrab(const ScreenGrab&) = delete;
  ScreenGrab& operator=(const ScreenGrab&) = delete;

  int width() const { return m_region.width; }
  int height() const { return m_region.height; }
  int pixelFormat() const { return m_pixelFormat; }
  int stride() const { return m_stride; }

  // Waits for the next grab's time and takes it. Throws Failure when the
  // window has gone or can't be read any more.
  Grab next();

 private:
  const XConnection& m_x;
  xcb_window_t m_window;
  Region m_region;
  AVFormatContext* m_input = nullptr;
  int m_pixelFormat = -1;
  int m_stride = 0;
};

}  // namespace brindlemoor
