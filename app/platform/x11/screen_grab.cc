#include "app/platform/x11/screen_grab.h"

#include <xcb/composite.h>

#include <cstdlib>
#include <mutex>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
}

namespace brindlemoor {
namespace {

std::string ffmpegWords(int error) {
  char words[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(error, words, sizeof words);
  return words;
}

}  // namespace

void ScreenGrab::PacketFree::operator()(AVPacket* packet) const {
  av_packet_free(&packet);
}

ScreenGrab::ScreenGrab(const XConnection& x, xcb_window_t window, Region region)
    : m_x(x), m_window(window), m_region(region) {
  static std::once_flag registered;
  // FFmpeg's own words reach the user through our failures, not its log.
  std::call_once(registered, [] {
    avdevice_register_all();
    av_log_set_level(AV_LOG_QUIET);
  });
  xcb_composite_redirect_window(x.get(), window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
  xcb_flush(x.get());

  AVDictionary* options = nullptr;
  av_dict_set(&options, "window_id", std::to_string(window).c_str(), 0);
  av_dict_set_int(&options, "grab_x", region.x, 0);
  av_dict_set_int(&options, "grab_y", region.y, 0);
  av_dict_set(&options, "video_size",
              (std::to_string(region.width) + "x" + std::to_string(region.height)).c_str(), 0);
  // Its own default is 29.97.
  av_dict_set(&options, "framerate", "30", 0);
  av_dict_set(&options, "draw_mouse", "0", 0);
  const char* display = std::getenv("DISPLAY");
  const int opened = avformat_open_input(&m_input, display ? display : ":0",
                                         av_find_input_format("x11grab"), &options);
  av_dict_free(&options);
  if (opened < 0) {
    xcb_composite_unredirect_window(x.get(), window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    throw Failure("The window can't be recorded (" + ffmpegWords(opened) + ").");
  }
  const AVCodecParameters* frames = m_input->streams[0]->codecpar;
  m_pixelFormat = frames->format;
  m_stride = av_image_get_linesize(static_cast<AVPixelFormat>(frames->format), frames->width, 0);
}

ScreenGrab::~ScreenGrab() {
  avformat_close_input(&m_input);
  xcb_composite_unredirect_window(m_x.get(), m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
  xcb_flush(m_x.get());
}

ScreenGrab::Grab ScreenGrab::next() {
  Grab grab(av_packet_alloc());
  if (!grab) throw Failure("There is no memory for the recording.");
  if (const int result = av_read_frame(m_input, grab.get()); result < 0)
    throw Failure("The window can't be read any more (" + ffmpegWords(result) + ").");
  grab->pts = av_rescale_q(grab->pts, m_input->streams[0]->time_base, {1, 1'000'000});
  return grab;
}

}  // namespace brindlemoor
