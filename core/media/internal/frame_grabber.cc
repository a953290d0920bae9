#include "core/media/internal/frame_grabber.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/media/internal/pictures.h"

extern "C" {
#include <libavutil/display.h>
#include <libswscale/swscale.h>
}

namespace brindlemoor {
namespace {

using vips::VImage;

int clockwiseRotation(const AVStream* stream) {
  const std::uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
  if (matrix == nullptr) return 0;
  // The matrix turns counter-clockwise; a player turns the other way.
  const double counterClockwise =
      av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
  if (std::isnan(counterClockwise)) return 0;
  const long quarter = std::lround(-counterClockwise / 90);
  return static_cast<int>(((quarter % 4) + 4) % 4) * 90;
}

double timeOf(const AVFrame* frame, const Av::Decoder& decoder, double fallback) {
  std::int64_t timestamp = frame->best_effort_timestamp;
  if (timestamp == AV_NOPTS_VALUE) timestamp = frame->pts;
  return timestamp == AV_NOPTS_VALUE ? fallback : decoder.seconds(timestamp);
}

}  // namespace

FrameGrabber::FrameGrabber(Av::Input& input, int stream, int maxPixel, double tolerance)
    : m_decoder(input, stream),
      m_maxPixel(maxPixel),
      m_tolerance(tolerance),
      m_clockwise(clockwiseRotation(m_decoder.stream())) {
  Pictures::start();
}

FrameGrabber::~FrameGrabber() {
  sws_freeContext(m_scaler);
}

std::optional<VImage> FrameGrabber::at(double seconds) {
  try {
    if (!m_decoder.seek(seconds)) return std::nullopt;
    Av::Frame frame = Av::newFrame();
    Av::Frame shown = Av::newFrame();  // the latest frame before `seconds`
    bool haveShown = false;
    bool first = true;
    while (m_decoder.next(frame.get())) {
      const double time = timeOf(frame.get(), m_decoder, seconds);
      // The key frame the input landed on will do when it is close enough;
      // otherwise the frame on screen at the time is decoded.
      const bool close = std::abs(time - seconds) <= m_tolerance;
      if (first && close) return picture(frame.get());
      first = false;
      if (time >= seconds) {
        if (haveShown && time > seconds) return picture(shown.get());
        return close ? std::optional(picture(frame.get())) : std::nullopt;
      }
      av_frame_unref(shown.get());
      av_frame_move_ref(shown.get(), frame.get());
      haveShown = true;
    }
    // The stream ended before the time: its last frame stays on screen.
    if (haveShown) return picture(shown.get());
    return std::nullopt;
  } catch (const vips::VError&) {
    return std::nullopt;
  } catch (const Failure&) {
    return std::nullopt;
  }
}

VImage FrameGrabber::picture(const AVFrame* frame) {
  double width = frame->width;
  const AVRational aspect = frame->sample_aspect_ratio;
  if (aspect.num > 0 && aspect.den > 0) width *= av_q2d(aspect);
  const double scale = std::min(1.0, m_maxPixel / std::max<double>(width, frame->height));
  const int outWidth = std::max(1, static_cast<int>(std::lround(width * scale)));
  const int outHeight = std::max(1, static_cast<int>(std::lround(frame->height * scale)));

  m_scaler = sws_getCachedContext(m_scaler, frame->width, frame->height,
                                  static_cast<AVPixelFormat>(frame->format), outWidth, outHeight,
                                  AV_PIX_FMT_RGB24, SWS_AREA, nullptr, nullptr, nullptr);
  if (m_scaler == nullptr) throw Failure("the frame's format can't be converted");
  // Streams that don't say which colours they mean follow the usual rule:
  // BT.709 from 720 lines up, BT.601 below.
  const int space = frame->colorspace != AVCOL_SPC_UNSPECIFIED ? frame->colorspace
                    : frame->height >= 720                     ? SWS_CS_ITU709
                                                               : SWS_CS_DEFAULT;
  sws_setColorspaceDetails(m_scaler, sws_getCoefficients(space),
                           frame->color_range == AVCOL_RANGE_JPEG ? 1 : 0,
                           sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);

  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(outWidth) * outHeight * 3);
  std::uint8_t* planes[4] = {rgb.data(), nullptr, nullptr, nullptr};
  int strides[4] = {outWidth * 3, 0, 0, 0};
  if (sws_scale(m_scaler, frame->data, frame->linesize, 0, frame->height, planes, strides) !=
      outHeight) {
    throw Failure("the frame can't be converted");
  }
  VipsImage* copied = vips_image_new_from_memory_copy(rgb.data(), rgb.size(), outWidth, outHeight,
                                                      3, VIPS_FORMAT_UCHAR);
  if (copied == nullptr) throw vips::VError();
  VImage image(copied);
  switch (m_clockwise) {
    case 90:
      return image.rot(VIPS_ANGLE_D90).copy_memory();
    case 180:
      return image.rot(VIPS_ANGLE_D180).copy_memory();
    case 270:
      return image.rot(VIPS_ANGLE_D270).copy_memory();
    default:
      return image;
  }
}

}  // namespace brindlemoor
