#include "core/media/transcriber.h"

#include <pocketsphinx.h>
#include <sphinxbase/err.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include "core/media/internal/audio_models.h"
#include "core/media/internal/audio_track.h"
#include "core/model/text.h"

namespace brindlemoor::Transcriber {
namespace {

namespace fs = std::filesystem;

struct FreeDecoder {
  void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
};
using Decoder = std::unique_ptr<ps_decoder_t, FreeDecoder>;

// A decoder of `model`; null when it cannot load. Loading takes about a
// third of a second, a small part of decoding all but the shortest clips,
// while a decoder kept for later would hold some 100 MB for the process's
// life; so each call loads its own.
Decoder loaded(const AudioModels::Model& model) {
  static std::once_flag quiet;
  // PocketSphinx logs every step of its work to stderr by default.
  std::call_once(quiet, [] { err_set_logfp(nullptr); });
  const std::string acoustic = model.acoustic.string();
  const std::string language = model.language.string();
  const std::string dictionary = model.dictionary.string();
  const std::string rate = std::to_string(AudioTrack::kSampleRate);
  // "-maxhmmpf" bounds the states searched a frame at a tenth of the
  // default: about a quarter faster, and as accurate on the speech we tried.
  cmd_ln_t* config =
      cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acoustic.c_str(), "-lm", language.c_str(),
                  "-dict", dictionary.c_str(), "-samprate", rate.c_str(), "-maxhmmpf", "3000",
                  static_cast<const char*>(nullptr));
  if (config == nullptr) return nullptr;
  Decoder decoder(ps_init(config));
  cmd_ln_free_r(config);  // the decoder holds a reference of its own
  return decoder;
}

// The sound is heard in utterances of at most this length: the
// recogniser's search grows with the utterance, so this is what bounds its
// memory. Each is cut at the quietest tenth of a second of its last few
// seconds, so that a cut seldom falls inside a word.
constexpr std::size_t kUtteranceSamples = 30 * AudioTrack::kSampleRate;
constexpr std::size_t kCutWithinSamples = 5 * AudioTrack::kSampleRate;
constexpr std::size_t kQuietSamples = AudioTrack::kSampleRate / 10;

// Where to end an utterance of `samples`: after its quietest stretch near
// the end.
std::size_t quietCut(const std::vector<std::int16_t>& samples) {
  std::size_t best = samples.size();
  std::int64_t quietest = INT64_MAX;
  for (std::size_t at = samples.size() - kCutWithinSamples; at + kQuietSamples <= samples.size();
       at += kQuietSamples) {
    std::int64_t energy = 0;
    for (std::size_t i = at; i < at + kQuietSamples; ++i) energy += std::abs(samples[i]);
    if (energy < quietest) {
      quietest = energy;
      best = at + kQuietSamples / 2;
    }
  }
  return best;
}

// What `decoder` hears in the first `seconds` of `wav`, utterance by
// utterance, trimmed; nothing when that is empty. Each utterance is heard
// whole, which lets the recogniser normalise it by its own average.
std::optional<std::string> heard(ps_decoder_t* decoder, const fs::path& wav, double seconds) {
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(wav.c_str(), "rb"));
  if (file == nullptr || std::fseek(file.get(), AudioTrack::kHeaderSize, SEEK_SET) != 0) {
    return std::nullopt;
  }
  std::string text;
  std::size_t left = static_cast<std::size_t>(seconds * AudioTrack::kSampleRate);
  std::vector<std::int16_t> utterance;
  utterance.reserve(kUtteranceSamples);
  for (bool ended = false; !ended || !utterance.empty();) {
    const std::size_t start = utterance.size();
    const std::size_t wanted = std::min(kUtteranceSamples - start, left);
    utterance.resize(start + wanted);
    const std::size_t got =
        std::fread(utterance.data() + start, sizeof(std::int16_t), wanted, file.get());
    utterance.resize(start + got);
    left -= got;
    ended = ended || got < wanted || left == 0;
    const std::size_t cut = ended ? utterance.size() : quietCut(utterance);
    if (ps_start_utt(decoder) < 0 ||
        ps_process_raw(decoder, utterance.data(), cut, FALSE, TRUE) < 0 ||
        ps_end_utt(decoder) < 0) {
      return std::nullopt;
    }
    const char* hypothesis = ps_get_hyp(decoder, nullptr);
    const std::string words = hypothesis ? Text::trimmed(hypothesis) : "";
    if (!words.empty()) text += (text.empty() ? "" : " ") + words;
    utterance.erase(utterance.begin(), utterance.begin() + static_cast<std::ptrdiff_t>(cut));
  }
  if (text.empty()) return std::nullopt;
  return text;
}

}  // namespace

std::optional<std::string> transcribe(const fs::path& video, std::string_view locale,
                                      double seconds) noexcept {
  try {
    const std::optional<AudioModels::Model> model =
        AudioModels::forLocale(locale, AudioModels::kInstalled);
    if (!model) return std::nullopt;
    const std::optional<fs::path> wav =
        AudioTrack::exported(video, fs::temp_directory_path(), seconds);
    if (!wav) return std::nullopt;
    const struct Removal {
      const fs::path& path;
      ~Removal() {
        std::error_code ignored;  // a file left in the temporary directory harms nothing
        fs::remove(path, ignored);
      }
    } removal{*wav};

    const Decoder decoder = loaded(*model);
    if (decoder == nullptr) return std::nullopt;
    return heard(decoder.get(), *wav, seconds);
  } catch (...) {
    // No transcript is a normal outcome; the capture goes on without one.
    return std::nullopt;
  }
}

}  // namespace brindlemoor::Transcriber
