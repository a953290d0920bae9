// AudioTrack exports the sound of a video as the speech recogniser wants it:
// a WAV file of 16 kHz mono 16-bit PCM, decoded and resampled with the FFmpeg
// libraries. Stateless; safe from any thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>

namespace brindlemoor::AudioTrack {

// The rate of the exported sound, in samples a second.
inline constexpr int kSampleRate = 16000;

// The exported file is a canonical WAV file: this many bytes of header, then
// the samples, little-endian.
inline constexpr std::size_t kHeaderSize = 44;

// Exports the first `seconds` (a frame more at most) of the sound of the
// main audio stream of `video` (the one FFmpeg deems best) to a new file "bm-audio-<uuid>.wav" in
// `directory`, readable by the user alone, and gives its path; the caller removes it. The first
// export of a process removes the user's such files in `directory` that a
// killed process left behind (untouched for an hour). Gives nothing, and leaves no file behind,
// when `video` is no media file FFmpeg reads, has no audio stream, has one no
// decoder here reads, or the file cannot be written. No file is made before
// the stream's decoder is open. Damaged packets are passed over.
std::optional<std::filesystem::path> exported(const std::filesystem::path& video,
                                              const std::filesystem::path& directory,
                                              double seconds);

}  // namespace brindlemoor::AudioTrack
