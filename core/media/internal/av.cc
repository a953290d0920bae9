#include "core/media/internal/av.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <new>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

namespace brindlemoor::Av {
namespace {

std::string words(int error) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(error, text, sizeof text);
  return text;
}

// A library writes nothing to the terminal; what goes wrong reaches the
// caller as a Failure.
void silenceLogging() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

bool isVideoPicture(const AVStream* stream) {
  return (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

std::int64_t startOf(const AVStream* stream) {
  return stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
}

}  // namespace

Frame newFrame() {
  Frame frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  return frame;
}

Input::Input(const std::filesystem::path& path) {
  silenceLogging();
  // Named as a file, a path can't be taken for another of FFmpeg's
  // protocols ("concat:", "http:", ...).
  const std::string url = "file:" + path.string();
  if (const int error = avformat_open_input(&m_context, url.c_str(), nullptr, nullptr); error < 0) {
    throw Failure("it can't be opened as media (" + words(error) + ")");
  }
  if (const int error = avformat_find_stream_info(m_context, nullptr); error < 0) {
    avformat_close_input(&m_context);
    throw Failure("its streams can't be read (" + words(error) + ")");
  }
}

Input::~Input() {
  avformat_close_input(&m_context);
}

std::optional<int> Input::bestStream(AVMediaType type) const {
  const int best = av_find_best_stream(m_context, type, -1, -1, nullptr, 0);
  const auto fits = [&](unsigned index) {
    const AVStream* stream = m_context->streams[index];
    return stream->codecpar->codec_type == type &&
           !(type == AVMEDIA_TYPE_VIDEO && isVideoPicture(stream));
  };
  if (best >= 0 && fits(static_cast<unsigned>(best))) return best;
  for (unsigned i = 0; i < m_context->nb_streams; ++i) {
    if (fits(i)) return static_cast<int>(i);
  }
  return std::nullopt;
}

double Input::duration() const {
  if (m_context->duration != AV_NOPTS_VALUE && m_context->duration > 0) {
    return static_cast<double>(m_context->duration) / AV_TIME_BASE;
  }
  double longest = 0;
  for (unsigned i = 0; i < m_context->nb_streams; ++i) {
    const AVStream* stream = m_context->streams[i];
    if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0) {
      longest =
          std::max(longest, static_cast<double>(stream->duration) * av_q2d(stream->time_base));
    }
  }
  return longest;
}

std::optional<std::string> Input::metadata(const char* key) const {
  const AVDictionaryEntry* entry = av_dict_get(m_context->metadata, key, nullptr, 0);
  if (entry == nullptr || entry->value == nullptr) return std::nullopt;
  return std::string(entry->value);
}

std::optional<Date> parseUtc(const std::string& text) {
  std::tm parts{};
  int consumed = 0;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &parts.tm_year, &parts.tm_mon,
                  &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &consumed) != 6 ||
      consumed != 19) {
    return std::nullopt;
  }
  double fraction = 0;
  std::size_t at = 19;
  if (at < text.size() && text[at] == '.') {
    double scale = 0.1;
    for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at, scale /= 10) {
      fraction += (text[at] - '0') * scale;
    }
  }
  if (at + 1 != text.size() || text[at] != 'Z') return std::nullopt;
  const std::tm given = parts;
  parts.tm_year -= 1900;
  parts.tm_mon -= 1;
  const std::time_t seconds = timegm(&parts);
  // timegm moves days that don't exist ("02-30") into the next month.
  if (parts.tm_year + 1900 != given.tm_year || parts.tm_mon + 1 != given.tm_mon ||
      parts.tm_mday != given.tm_mday || parts.tm_hour != given.tm_hour ||
      parts.tm_min != given.tm_min || parts.tm_sec != given.tm_sec) {
    return std::nullopt;
  }
  return dateFromSeconds(static_cast<double>(seconds) + fraction);
}

Decoder::Decoder(Input& input, int stream)
    : m_input(input), m_stream(input.context()->streams[stream]), m_packet(av_packet_alloc()) {
  if (!m_packet) throw std::bad_alloc();
  const AVCodec* codec = avcodec_find_decoder(m_stream->codecpar->codec_id);
  if (codec == nullptr) throw Failure("its stream has no decoder here");
  m_codec = avcodec_alloc_context3(codec);
  if (m_codec == nullptr) throw std::bad_alloc();
  int error = avcodec_parameters_to_context(m_codec, m_stream->codecpar);
  if (error >= 0) {
    m_codec->pkt_timebase = m_stream->time_base;
    m_codec->thread_count = 0;  // one thread per core
    // A frame the decoder could only guess at is no frame of the video.
    m_codec->flags &= ~AV_CODEC_FLAG_OUTPUT_CORRUPT;
    error = avcodec_open2(m_codec, codec, nullptr);
  }
  if (error < 0) {
    avcodec_free_context(&m_codec);
    throw Failure("its stream can't be decoded (" + words(error) + ")");
  }
}

Decoder::~Decoder() {
  avcodec_free_context(&m_codec);
}

bool Decoder::next(AVFrame* frame) {
  while (true) {
    const int received = avcodec_receive_frame(m_codec, frame);
    if (received == 0) {
      if ((frame->flags & AV_FRAME_FLAG_CORRUPT) == 0 && frame->decode_error_flags == 0) {
        return true;
      }
      av_frame_unref(frame);
      continue;
    }
    if (received == AVERROR_EOF || m_ended) return false;
    if (av_read_frame(m_input.context(), m_packet.get()) < 0) {
      m_ended = true;
      avcodec_send_packet(m_codec, nullptr);
      continue;
    }
    if (m_packet->stream_index == m_stream->index) {
      // A packet the decoder refuses is damaged; the frames after it may
      // still come.
      avcodec_send_packet(m_codec, m_packet.get());
    }
    av_packet_unref(m_packet.get());
  }
}

bool Decoder::seek(double seconds) {
  const auto target = startOf(m_stream) + static_cast<std::int64_t>(
                                              std::llround(seconds / av_q2d(m_stream->time_base)));
  if (av_seek_frame(m_input.context(), m_stream->index, target, AVSEEK_FLAG_BACKWARD) < 0 &&
      av_seek_frame(m_input.context(), m_stream->index, startOf(m_stream), AVSEEK_FLAG_BACKWARD) <
          0) {
    return false;
  }
  avcodec_flush_buffers(m_codec);
  m_ended = false;
  return true;
}

double Decoder::seconds(std::int64_t timestamp) const {
  return static_cast<double>(timestamp - startOf(m_stream)) * av_q2d(m_stream->time_base);
}

}  // namespace brindlemoor::Av
