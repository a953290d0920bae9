// FrameGrabber takes the pictures of a video stream at chosen times as a
// player shows them: turned by the stream's display rotation, with square
// pixels, and scaled down to fit a square box.
//
// Thread rules: one thread at a time, like the Input it reads.
#pragma once

#include <optional>
#include <vips/vips8>

#include "core/media/internal/av.h"

struct SwsContext;

namespace brindlemoor {

class FrameGrabber {
 public:
  // Opens a decoder of `stream`, a video stream of `input`, which must
  // outlive the grabber. Pictures fit within `maxPixel` by `maxPixel`, never
  // enlarged; a frame is taken for a time when it lies within `tolerance`
  // seconds of it. Throws Av::Failure when the stream can't be decoded.
  FrameGrabber(Av::Input& input, int stream, int maxPixel, double tolerance);
  ~FrameGrabber();
  FrameGrabber(const FrameGrabber&) = delete;
  FrameGrabber& operator=(const FrameGrabber&) = delete;

  // The picture at `seconds` from the stream's start: the key frame before
  // it when that lies within the tolerance, else the frame on screen at that
  // time, decoded forward from the key frame. Nothing when no frame decodes
  // before the time and none within the tolerance after it; never throws.
  std::optional<vips::VImage> at(double seconds);

 private:
  vips::VImage picture(const AVFrame* frame);

  Av::Decoder m_decoder;
  const int m_maxPixel;
  const double m_tolerance;
  const int m_clockwise;  // degrees a player turns the stored picture: 0, 90, 180 or 270
  SwsContext* m_scaler = nullptr;
};

}  // namespace brindlemoor
