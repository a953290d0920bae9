// FramePacing turns grabs of the screen, each stamped with the time it was
// taken, into the frames of a video at a constant rate. A grab takes the
// frame nearest its time; a grab whose frame is already written is dropped,
// and frames that no grab reached are the previous grab again. So a video of
// N seconds has N times the rate frames however unevenly the grabs came.
//
// A plain value; the one thread that writes the video owns it.
#pragma once

#include <cstdint>
#include <optional>

namespace brindlemoor {

class FramePacing {
 public:
  explicit FramePacing(int framesPerSecond) : m_framesPerSecond(framesPerSecond) {}

  struct Placement {
    std::int64_t frame;    // the grab's own frame, counted from 0
    std::int64_t repeats;  // frames just before it that no grab reached
  };

  // Where the grab taken at `micros` (microseconds on a clock that doesn't go
  // back) goes; nothing when its frame is already written. The first grab
  // is frame 0.
  std::optional<Placement> place(std::int64_t micros);

  // Frames placed so far, repeats included.
  std::int64_t frames() const { return m_frames; }

 private:
  int m_framesPerSecond;
  std::optional<std::int64_t> m_first;
  std::int64_t m_frames = 0;
};

}  // namespace brindlemoor
