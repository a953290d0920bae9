#include "app/platform/x11/sound_player.h"

#include <pulse/error.h>
#include <pulse/simple.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace brindlemoor {

namespace {

struct Pcm {
  std::uint32_t rate = 0;
  std::uint8_t channels = 0;
  std::vector<std::int16_t> samples;
};

std::uint32_t little(const std::string& bytes, std::size_t at, int width) {
  std::uint32_t value = 0;
  for (int i = width - 1; i >= 0; --i) {
    value = value << 8 | static_cast<std::uint8_t>(bytes[at + static_cast<std::size_t>(i)]);
  }
  return value;
}

// The samples of a RIFF WAVE file of 16-bit PCM; nothing for anything else.
std::optional<Pcm> decode(const std::string& wav) {
  if (wav.size() < 12 || wav.compare(0, 4, "RIFF") != 0 || wav.compare(8, 4, "WAVE") != 0) {
    return std::nullopt;
  }
  Pcm pcm;
  bool formatSeen = false;
  for (std::size_t at = 12; at + 8 <= wav.size();) {
    const std::string id = wav.substr(at, 4);
    const std::size_t size = little(wav, at + 4, 4);
    const std::size_t body = at + 8;
    if (size > wav.size() - body) return std::nullopt;
    if (id == "fmt " && size >= 16) {
      if (little(wav, body, 2) != 1 || little(wav, body + 14, 2) != 16) return std::nullopt;
      pcm.channels = static_cast<std::uint8_t>(little(wav, body + 2, 2));
      pcm.rate = little(wav, body + 4, 4);
      formatSeen = true;
    } else if (id == "data" && formatSeen) {
      pcm.samples.resize(size / 2);
      std::memcpy(pcm.samples.data(), wav.data() + body, pcm.samples.size() * 2);
      if (pcm.channels == 0 || pcm.rate == 0) return std::nullopt;
      return pcm;
    }
    at = body + size + (size & 1);
  }
  return std::nullopt;
}

}  // namespace

void SoundPlayer::play(std::string wav, float volume) {
  m_queue.post([wav = std::move(wav), volume] {
    std::optional<Pcm> pcm = decode(wav);
    if (!pcm) return;
    for (std::int16_t& sample : pcm->samples) sample = static_cast<std::int16_t>(sample * volume);
    const pa_sample_spec format{PA_SAMPLE_S16LE, pcm->rate, pcm->channels};
    int error = 0;
    pa_simple* stream = pa_simple_new(nullptr, "Brindlemoor", PA_STREAM_PLAYBACK, nullptr,
                                      "feedback", &format, nullptr, nullptr, &error);
    if (!stream) return;
    if (pa_simple_write(stream, pcm->samples.data(), pcm->samples.size() * 2, &error) == 0) {
      pa_simple_drain(stream, &error);
    }
    pa_simple_free(stream);
  });
}

}  // namespace brindlemoor
