// Media files made by tests and benchmarks: videos of known pictures and
// length made with the FFmpeg libraries, with sound or without, rotated or
// damaged as a test needs, and pictures too large to decode, so that no
// sample file has to be kept in the repository.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemoor::testing {

// Mono 16-bit sound.
struct Sound {
  int sampleRate = 16000;
  std::vector<std::int16_t> samples;
};

// A sine tone at half of full scale.
Sound tone(double seconds, double hertz, int sampleRate = 16000);

// `words` as espeak-ng says them, in the voice and pace that the recogniser
// followed best of those we tried; the WAV is written in `directory`.
// Throws std::runtime_error when espeak-ng fails.
Sound speech(std::string_view words, const std::filesystem::path& directory);

struct TestVideo {
  double seconds = 2;
  // 0 by 0 makes a file of sound alone. Both must be even.
  int width = 320;
  int height = 240;
  int framesPerSecond = 10;
  // Frames from one key frame to the next; 0 leaves it to the encoder.
  int keyframeInterval = 0;
  // Degrees clockwise that a player turns the stored picture: 0, 90, 180 or
  // 270, stored as the stream's display matrix.
  int rotation = 0;
  std::optional<Sound> sound = std::nullopt;  // encoded as AAC
  // The container's "creation_time", ISO 8601 in UTC.
  std::optional<std::string> creationTime = std::nullopt;
  // The video packets of this many first seconds are overwritten with noise,
  // as in a damaged file.
  double damagedSeconds = 0;
  // Fine detail that moves, as a camera gives, instead of flat colour; it
  // makes decoding cost what it costs for real footage.
  bool textured = false;
  std::string preset = "ultrafast";  // libx264's
};

// Each stored frame has a red band across its top quarter and, below it, a
// gray whose level says when the frame is shown: timeLevel(time, seconds).
int timeLevel(double time, double seconds);

// A valid black PNG of 1 bit a pixel, as small as such a picture gets: what
// a file that would take gigabytes to decode can look like.
std::vector<std::uint8_t> blackPng(int width, int height);

// Writes the video, H.264 in the container that the extension names (MP4,
// MOV, MKV, ...). Throws std::runtime_error when FFmpeg refuses.
void writeTestVideo(const std::filesystem::path& path, const TestVideo& video);

}  // namespace brindlemoor::testing
