// Av holds FFmpeg's objects in owners of our own, so that every path out of
// a reader of media, thrown or returned, frees them. An Input is an opened
// file with its streams probed; a Decoder turns one of its streams into
// frames. They serve the importer's key frames and the transcriber's sound
// alike.
//
// Thread rules: FFmpeg's own logging is silenced once per process. Each
// Input, and the Decoders on it, belong to one thread at a time; separate
// Inputs may be used on separate threads at once.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "core/model/date.h"
#include "core/model/failure.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace brindlemoor::Av {

// What FFmpeg refused; what() is a short clause for the caller's sentence,
// with FFmpeg's own words in parentheses.
class Failure : public brindlemoor::Failure {
 public:
  using brindlemoor::Failure::Failure;
};

struct FrameFree {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFree {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Frame = std::unique_ptr<AVFrame, FrameFree>;
using Packet = std::unique_ptr<AVPacket, PacketFree>;

// Allocates an empty frame; throws std::bad_alloc when there is no memory.
Frame newFrame();

class Input {
 public:
  // Opens the file and reads its stream information. Throws Failure when
  // the file can't be opened or isn't a container FFmpeg reads.
  explicit Input(const std::filesystem::path& path);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  AVFormatContext* context() const { return m_context; }

  // The stream of `type` that FFmpeg deems best, or nothing. A picture
  // attached to a file of sound (cover art) is no video stream.
  std::optional<int> bestStream(AVMediaType type) const;

  // The length of the whole file in seconds, from the container or else
  // from its longest stream; 0 when neither knows.
  double duration() const;

  // A metadata entry of the container, such as "creation_time".
  std::optional<std::string> metadata(const char* key) const;

 private:
  AVFormatContext* m_context = nullptr;
};

// The moment that an ISO 8601 time in UTC names, as containers store their
// "creation_time" ("2024-02-29T12:00:00.000000Z"); nothing for any other form.
std::optional<Date> parseUtc(const std::string& text);

class Decoder {
 public:
  // Opens a decoder of the stream `stream` of `input`, which must outlive
  // it, using every core. Throws Failure when no decoder opens.
  Decoder(Input& input, int stream);
  ~Decoder();
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  AVStream* stream() const { return m_stream; }
  AVCodecContext* context() const { return m_codec; }

  // The next frame of the stream into `frame`, reading packets of the input
  // as needed and passing over those of other streams. False at the end of
  // the stream. A packet the decoder refuses is passed over; a frame FFmpeg
  // marks as damaged is never given.
  bool next(AVFrame* frame);

  // Moves the input to the key frame at or before `seconds` on the stream's
  // clock and empties the decoder. False if the input can't seek there.
  bool seek(double seconds);

  // A timestamp of this stream in seconds from the stream's start.
  double seconds(std::int64_t timestamp) const;

 private:
  Input& m_input;
  AVStream* m_stream;
  AVCodecContext* m_codec = nullptr;
  Packet m_packet;
  bool m_ended = false;  // the input has no more packets; the decoder is draining
};

}  // namespace brindlemoor::Av
