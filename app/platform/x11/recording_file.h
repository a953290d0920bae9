// RecordingFile writes a recording into an MPEG-4 file: the screen's frames
// as H.264 at 6 Mbit/s and a constant 30 frames a second, the sound as AAC at
// 48 kHz in stereo and 128 kbit/s. Frames come numbered, so a frame may be
// written again in the place of one that was missed; sound comes as one
// stream of samples from the first frame on, and whatever is missing at the
// end is silence. The file is the user's alone (0600).
//
// Threads: one thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

#include "core/model/failure.h"

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct AVAudioFifo;
struct AVStream;
struct SwsContext;

namespace brindlemoor {

class RecordingFile {
 public:
  // What FFmpeg refused or the file system denied, in a user's words.
  class Failure : public brindlemoor::Failure {
   public:
    using brindlemoor::Failure::Failure;
  };

  static constexpr int kFramesPerSecond = 30;
  static constexpr int kSampleRate = 48000;
  static constexpr int kChannels = 2;

  // Creates `path`, which must not exist yet, for frames of `width` by
  // `height` (both even) in FFmpeg's pixel format `pixelFormat`. Throws
  // Failure.
  RecordingFile(const std::filesystem::path& path, int width, int height, int pixelFormat);
  // A file that wasn't finished is removed.
  ~RecordingFile();
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  // Writes frame number `index` from the picture at `pixels` with rows of
  // `stride` bytes; `index` only grows. Throws Failure.
  void addFrame(const std::uint8_t* pixels, int stride, std::int64_t index);
  // Writes the last frame again as number `index`. Throws Failure.
  void repeatFrame(std::int64_t index);
  // Adds interleaved stereo samples after those already added. Throws Failure.
  void addSound(std::span<const float> samples);
  // Samples added so far, per channel.
  std::int64_t soundAdded() const { return m_soundAdded; }

  // Fills the sound up to the last frame with silence and completes the
  // file. Throws Failure, and the file is then removed.
  void finish();

 private:
  void release();
  void encode(AVCodecContext* codec, AVStream* stream, const AVFrame* frame);
  void encodeSound();

  std::filesystem::path m_path;
  bool m_finished = false;
  AVFormatContext* m_format = nullptr;
  AVCodecContext* m_video = nullptr;
  AVCodecContext* m_audio = nullptr;
  AVStream* m_videoStream = nullptr;
  AVStream* m_audioStream = nullptr;
  AVFrame* m_picture = nullptr;
  AVFrame* m_sound = nullptr;
  AVPacket* m_packet = nullptr;
  AVAudioFifo* m_fifo = nullptr;
  SwsContext* m_scaler = nullptr;
  std::int64_t m_frames = 0;
  std::int64_t m_soundAdded = 0;
  std::int64_t m_soundEncoded = 0;
};

}  // namespace brindlemoor
