// Media files made on the spot with the FFmpeg libraries, so that no sample
// file has to be kept in the repository.
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

// `words` as espeak-ng says them, in the voice and pace the recogniser
// follows best; the WAV is written in `directory`. Throws when espeak-ng fails.
Sound speech(std::string_view words, const std::filesystem::path& directory);

struct TestVideo {
  double seconds = 2;
  int width = 320;  // 0 by 0 makes a file of sound alone; both even
  int height = 240;
  int framesPerSecond = 10;
  int keyframeInterval = 0;                   // 0 leaves it to the encoder
  int rotation = 0;                           // degrees clockwise, as the stream's display matrix
  std::optional<Sound> sound = std::nullopt;  // encoded as AAC
  std::optional<std::string> creationTime = std::nullopt;  // ISO 8601 in UTC
  double damagedSeconds = 0;         // the video packets of these first seconds become noise
  bool textured = false;             // moving fine detail, which costs what real footage costs
  std::string preset = "ultrafast";  // libx264's
};

// Each frame has a red band across its top quarter and, below it, a gray of
// timeLevel(time shown, seconds).
int timeLevel(double time, double seconds);

// A valid black PNG of 1 bit a pixel: tiny, yet gigabytes to decode.
std::vector<std::uint8_t> blackPng(int width, int height);

// H.264 in the container the extension names. Throws when FFmpeg refuses.
void writeTestVideo(const std::filesystem::path& path, const TestVideo& video);

}  // namespace brindlemoor::testing
