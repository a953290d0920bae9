// Transcriber turns what is said in a video into text, on this machine and
// never through a network service: the sound of the video's main audio
// stream is exported to a temporary WAV file (internal/audio_track.h), and
// PocketSphinx decodes it with the installed model of the user's language
// (internal/audio_models.h). The text comes in lower case and without
// punctuation, as the recogniser gives it.
//
// Threads: any thread may call `transcribe`, also concurrently. Each call
// loads a decoder of its own (about 0.3 s and 100 MB, given back at the end).
//
// Speed: decoding takes about a fifth of the sound's length on one core; a
// clip of 55 s of speech takes 11 to 14 s.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace brindlemoor::Transcriber {

// How much of a video is heard: its first ten minutes. Hearing takes about
// a third of the sound's length, and a capture waits for it.
inline constexpr double kHeardSeconds = 600;

// The words spoken in the first `seconds` of `video`, heard with the model
// for `locale` (an ICU or POSIX locale name such as "de_DE.UTF-8") when one
// is installed, else with the US English one. The sound is heard in
// utterances of 30 s at most, cut where it is quietest, so memory stays
// bounded whatever the length. Never throws: nothing, when no model is
// installed, the file is no media file or has no sound, or nothing is heard.
//
// The sound lives in a file "bm-audio-<uuid>.wav" in the temporary directory
// ($TMPDIR, else /tmp) for the length of the call only, and is removed in
// every case; a video without sound makes none.
std::optional<std::string> transcribe(const std::filesystem::path& video, std::string_view locale,
                                      double seconds = kHeardSeconds) noexcept;

}  // namespace brindlemoor::Transcriber
