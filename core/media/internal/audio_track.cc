#include "core/media/internal/audio_track.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include "core/media/internal/av.h"
#include "core/model/identifier.h"

namespace brindlemoor::AudioTrack {
namespace {

struct FreeResampler {
  void operator()(SwrContext* context) const { swr_free(&context); }
};
using Resampler = std::unique_ptr<SwrContext, FreeResampler>;

constexpr int kBytesPerSample = 2;

std::FILE* openPrivate(const std::filesystem::path& path) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) return nullptr;
  std::FILE* file = ::fdopen(fd, "wb");
  if (!file) ::close(fd);
  return file;
}

// Sound files of ours that a killed process left behind: any older than
// this is no longer being written or read by anyone.
constexpr auto kStaleAfter = std::chrono::hours(1);

void removeStale(const std::filesystem::path& directory) {
  std::error_code error;
  const auto now = std::filesystem::file_time_type::clock::now();
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with("bm-audio-") || !name.ends_with(".wav")) continue;
    struct stat status {};
    if (::lstat(entry.path().c_str(), &status) != 0 || status.st_uid != ::getuid() ||
        !S_ISREG(status.st_mode)) {
      continue;
    }
    std::error_code ignored;  // another process may have removed it first
    const auto written = entry.last_write_time(ignored);
    if (!ignored && now - written > kStaleAfter) std::filesystem::remove(entry.path(), ignored);
  }
}

// A WAV file being written: the header's sizes are filled in by `finish`,
// once the number of samples is known.
class WavFile {
 public:
  // Creates the file, failing if it exists; only the user may read it, for
  // it holds what was said in the user's video.
  explicit WavFile(const std::filesystem::path& path) : m_file(openPrivate(path)) {
    std::array<std::uint8_t, kHeaderSize> header{};
    m_ok = m_file != nullptr &&
           std::fwrite(header.data(), 1, header.size(), m_file.get()) == header.size();
  }

  bool ok() const { return m_ok; }
  std::size_t dataBytes() const { return m_dataBytes; }

  void append(const std::uint8_t* samples, std::size_t bytes) {
    m_ok = m_ok && std::fwrite(samples, 1, bytes, m_file.get()) == bytes;
    m_dataBytes += bytes;
  }

  // Writes the header and closes the file; whether everything was written.
  bool finish() {
    if (!m_ok) return false;
    std::array<std::uint8_t, kHeaderSize> header{};
    std::size_t at = 0;
    const auto text = [&](const char* four) {
      for (int i = 0; i < 4; ++i) header[at++] = static_cast<std::uint8_t>(four[i]);
    };
    const auto number = [&](std::uint32_t value, int bytes) {
      for (int i = 0; i < bytes; ++i) header[at++] = static_cast<std::uint8_t>(value >> (8 * i));
    };
    const auto data = static_cast<std::uint32_t>(m_dataBytes);
    text("RIFF");
    number(data + kHeaderSize - 8, 4);
    text("WAVE");
    text("fmt ");
    number(16, 4);  // size of the format chunk
    number(1, 2);   // PCM
    number(1, 2);   // channels
    number(kSampleRate, 4);
    number(kSampleRate * kBytesPerSample, 4);  // bytes a second
    number(kBytesPerSample, 2);                // bytes a frame
    number(8 * kBytesPerSample, 2);            // bits a sample
    text("data");
    number(data, 4);
    m_ok = std::fseek(m_file.get(), 0, SEEK_SET) == 0 &&
           std::fwrite(header.data(), 1, header.size(), m_file.get()) == header.size();
    return std::fclose(m_file.release()) == 0 && m_ok;
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> m_file;
  bool m_ok = false;
  std::size_t m_dataBytes = 0;
};

// Turns decoded frames into the exported format. It is set up by the first
// frame and takes only frames like it: a stream whose layout changes midway
// is rare, and dropping such frames beats reading planes that are not there.
class Downmix {
 public:
  // Appends the samples of `in` to `wav`; a null `in` flushes what the
  // resampler holds back. False when it cannot be set up or `wav` fails.
  bool convert(AVFrame* in, WavFile& wav) {
    if (in != nullptr && m_resampler == nullptr && !setUp(*in)) return false;
    if (m_resampler == nullptr) return true;  // flushing before any frame
    if (in != nullptr && (in->format != m_format || in->sample_rate != m_rate ||
                          in->ch_layout.nb_channels != m_channels)) {
      return true;
    }
    const int inSamples = in == nullptr ? 0 : in->nb_samples;
    const int capacity = swr_get_out_samples(m_resampler.get(), inSamples);
    if (capacity < 0) return false;
    m_buffer.resize(static_cast<std::size_t>(capacity) * kBytesPerSample);
    std::uint8_t* out = m_buffer.data();
    const int made = swr_convert(
        m_resampler.get(), &out, capacity,
        in == nullptr ? nullptr : const_cast<const std::uint8_t**>(in->extended_data), inSamples);
    if (made < 0) return false;
    wav.append(out, static_cast<std::size_t>(made) * kBytesPerSample);
    return wav.ok();
  }

 private:
  bool setUp(AVFrame& first) {
    m_format = first.format;
    m_rate = first.sample_rate;
    m_channels = first.ch_layout.nb_channels;
    AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    SwrContext* made = nullptr;
    const bool configured =
        swr_alloc_set_opts2(&made, &mono, AV_SAMPLE_FMT_S16, kSampleRate, &first.ch_layout,
                            static_cast<AVSampleFormat>(first.format), first.sample_rate, 0,
                            nullptr) >= 0;
    m_resampler.reset(made);
    return configured && swr_init(made) >= 0;
  }

  Resampler m_resampler;
  int m_format = 0;
  int m_rate = 0;
  int m_channels = 0;
  std::vector<std::uint8_t> m_buffer;
};

// The stream of `decoder` written to `wav` until it holds `bytes` of sound
// or the stream ends; false when it fails.
bool decodeInto(Av::Decoder& decoder, WavFile& wav, std::size_t bytes) {
  const Av::Frame frame = Av::newFrame();
  Downmix downmix;
  while (wav.dataBytes() < bytes && decoder.next(frame.get())) {
    const bool written = downmix.convert(frame.get(), wav);
    av_frame_unref(frame.get());
    if (!written) return false;
  }
  return downmix.convert(nullptr, wav) && wav.finish();
}

}  // namespace

std::optional<std::filesystem::path> exported(const std::filesystem::path& video,
                                              const std::filesystem::path& directory,
                                              double seconds) {
  std::unique_ptr<Av::Input> input;
  std::unique_ptr<Av::Decoder> decoder;
  try {
    input = std::make_unique<Av::Input>(video);
    const std::optional<int> stream = input->bestStream(AVMEDIA_TYPE_AUDIO);
    if (!stream) return std::nullopt;
    decoder = std::make_unique<Av::Decoder>(*input, *stream);
  } catch (const Av::Failure&) {
    return std::nullopt;
  }

  static std::once_flag swept;
  std::call_once(swept, [&] { removeStale(directory); });
  const std::filesystem::path path = directory / ("bm-audio-" + newIdentifier() + ".wav");
  // Removes the file unless it was written whole, also when a throw ends the
  // writing.
  struct Keep {
    const std::filesystem::path& path;
    bool whole = false;
    ~Keep() {
      std::error_code ignored;  // also when it was never made
      if (!whole) std::filesystem::remove(path, ignored);
    }
  } keep{path};
  WavFile wav(path);
  const auto bytes = static_cast<std::size_t>(seconds * kSampleRate) * kBytesPerSample;
  keep.whole = wav.ok() && decodeInto(*decoder, wav, bytes);
  if (!keep.whole) return std::nullopt;
  return path;
}

}  // namespace brindlemoor::AudioTrack
