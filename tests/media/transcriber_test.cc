#include "core/media/transcriber.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/model/text.h"
#include "tests/testing/media_files.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

namespace fs = std::filesystem;
using testing::Sound;

fs::path writeVideo(const fs::path& path, std::optional<Sound> sound) {
  testing::TestVideo video{.width = 64, .height = 48};
  if (sound) video.seconds = static_cast<double>(sound->samples.size()) / sound->sampleRate;
  video.sound = std::move(sound);
  testing::writeTestVideo(path, video);
  return path;
}

// Counts the files "bm-audio-..." made in a directory since the watch began,
// whether or not they are still there.
class AudioFilesMade {
 public:
  explicit AudioFilesMade(const fs::path& directory) : m_fd(inotify_init1(IN_NONBLOCK)) {
    EXPECT_GE(inotify_add_watch(m_fd, directory.c_str(), IN_CREATE), 0) << directory;
  }
  ~AudioFilesMade() { close(m_fd); }

  int count() {
    alignas(inotify_event) char buffer[4096];
    for (ssize_t length; (length = read(m_fd, buffer, sizeof buffer)) > 0;) {
      for (char* at = buffer; at < buffer + length;) {
        const auto* event = reinterpret_cast<const inotify_event*>(at);
        m_count += event->len > 0 && std::string_view(event->name).starts_with("bm-audio-");
        at += sizeof(inotify_event) + event->len;
      }
    }
    return m_count;
  }

 private:
  int m_fd;
  int m_count = 0;
};

// The suite's temporary directory is TMPDIR, where the transcriber puts its
// sound and the tests their files.
class TranscriberTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { setenv("TMPDIR", dir().c_str(), 1); }

  static const fs::path& dir() {
    static const testing::TempDir temp;
    return temp.path();
  }

  static bool audioFilesLeft() {
    for (const fs::directory_entry& entry : fs::directory_iterator(dir())) {
      if (entry.path().filename().string().starts_with("bm-audio-")) return true;
    }
    return false;
  }
};

// espeak-ng speaks at 22.05 kHz, so hearing it also proves that the sound was
// resampled for the recogniser rather than relabelled.
TEST_F(TranscriberTest, HearsTheWordsSpokenInAVideoAlikeInAnyLocaleAndOnTwoThreads) {
  const testing::TempDir kept;
  const fs::path video = writeVideo(kept.path() / "spoken.mp4",
                                    testing::speech("please show me the library", kept.path()));
  AudioFilesMade made(dir());
  const std::optional<std::string> text = Transcriber::transcribe(video, "en_US.UTF-8");
  ASSERT_TRUE(text.has_value());
  EXPECT_EQ(made.count(), 1);
  // The generic model mishears much of a synthetic voice; these words it gets.
  const std::string heard = Text::lowercased(*text);
  for (const char* word : {"library", "show", "please"}) {
    EXPECT_NE(heard.find(word), std::string::npos) << heard;
  }
  EXPECT_EQ(Text::trimmed(heard), heard);

  // Locales without a model of their own fall back to US English.
  EXPECT_EQ(Transcriber::transcribe(video, "xx_YY.UTF-8"), text);
  std::optional<std::string> other;
  std::thread thread([&] { other = Transcriber::transcribe(video, "en_US"); });
  EXPECT_EQ(Transcriber::transcribe(video, "en_US"), text);
  thread.join();
  EXPECT_EQ(other, text);
  EXPECT_FALSE(audioFilesLeft());
}

TEST_F(TranscriberTest, HearsEachUtteranceAndNothingPastItsLimit) {
  const testing::TempDir kept;
  Sound said = testing::speech("please show me the library", kept.path());
  const double once = static_cast<double>(said.samples.size()) / said.sampleRate;
  // Said twice, 28 s apart: two utterances, cut in the quiet between.
  std::vector<std::int16_t> twice = said.samples;
  twice.insert(twice.end(), static_cast<std::size_t>(said.sampleRate * 28), 0);
  twice.insert(twice.end(), said.samples.begin(), said.samples.end());
  const fs::path video =
      writeVideo(kept.path() / "twice.mp4", Sound{said.sampleRate, std::move(twice)});
  const auto count = [](const std::optional<std::string>& text) {
    std::size_t n = 0;
    for (std::size_t at = 0; text && (at = text->find("library", at)) != std::string::npos; ++at) {
      ++n;
    }
    return n;
  };
  EXPECT_EQ(count(Transcriber::transcribe(video, "en_US")), 2u);
  EXPECT_EQ(count(Transcriber::transcribe(video, "en_US", once + 0.5)), 1u);
}

TEST_F(TranscriberTest, WhatHoldsNoSpeechGivesNothingAndLeavesNoSoundFile) {
  const fs::path silent = writeVideo(dir() / "silent.mp4", std::nullopt);
  std::ofstream(dir() / "notes.mp4") << "These are notes, not a video.\n";
  const fs::path quiet =
      writeVideo(dir() / "quiet.mp4", Sound{16000, std::vector<std::int16_t>(16000 * 2, 0)});

  AudioFilesMade made(dir());
  EXPECT_EQ(Transcriber::transcribe(silent, "en_US"), std::nullopt);
  EXPECT_EQ(Transcriber::transcribe(dir() / "notes.mp4", "en_US"), std::nullopt);
  EXPECT_EQ(made.count(), 0) << "a file without sound makes no sound file";
  EXPECT_EQ(Transcriber::transcribe(quiet, "en_US"), std::nullopt);
  EXPECT_FALSE(audioFilesLeft());
}

}  // namespace
}  // namespace brindlemoor
