#include "core/media/transcriber.h"

#include <pocketsphinx.h>
#include <sphinxbase/err.h>

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

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

// What `decoder` hears in `wav`, trimmed; nothing when that is empty.
std::optional<std::string> heard(ps_decoder_t* decoder, const fs::path& wav) {
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(wav.c_str(), "rb"));
  if (file == nullptr || std::fseek(file.get(), AudioTrack::kHeaderSize, SEEK_SET) != 0 ||
      ps_decode_raw(decoder, file.get(), -1) < 0) {
    return std::nullopt;
  }
  const char* hypothesis = ps_get_hyp(decoder, nullptr);
  if (hypothesis == nullptr) return std::nullopt;
  std::string text = Text::trimmed(hypothesis);
  if (text.empty()) return std::nullopt;
  return text;
}

}  // namespace

std::optional<std::string> transcribe(const fs::path& video, std::string_view locale) noexcept {
  try {
    const std::optional<AudioModels::Model> model =
        AudioModels::forLocale(locale, AudioModels::kInstalled);
    if (!model) return std::nullopt;
    const std::optional<fs::path> wav = AudioTrack::exported(video, fs::temp_directory_path());
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
    return heard(decoder.get(), *wav);
  } catch (...) {
    // No transcript is a normal outcome; the capture goes on without one.
    return std::nullopt;
  }
}

}  // namespace brindlemoor::Transcriber
