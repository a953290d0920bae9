#include "core/media/transcriber.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "core/media/internal/audio_models.h"
#include "core/media/internal/audio_track.h"
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
    if (m_fd < 0 || inotify_add_watch(m_fd, directory.c_str(), IN_CREATE) < 0) {
      throw std::runtime_error("cannot watch " + directory.string());
    }
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
  static void SetUpTestSuite() {
    spokenVideo();
    setenv("TMPDIR", dir().c_str(), 1);
  }

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

  // One spoken video for the whole suite: speech and encoding take a while.
  static const fs::path& spokenVideo() {
    static const testing::TempDir kept;
    static const fs::path video = writeVideo(
        kept.path() / "spoken.mp4", testing::speech("please show me the library", kept.path()));
    return video;
  }
};

TEST_F(TranscriberTest, HearsTheWordsSpokenInAVideoAndRemovesItsSoundFile) {
  AudioFilesMade made(dir());
  const std::optional<std::string> text = Transcriber::transcribe(spokenVideo(), "en_US.UTF-8");

  ASSERT_TRUE(text.has_value());
  // The generic model mishears much of a synthetic voice; these words it gets.
  const std::string heard = Text::lowercased(*text);
  for (const char* word : {"library", "show", "please"}) {
    EXPECT_NE(heard.find(word), std::string::npos) << heard;
  }
  EXPECT_EQ(Text::trimmed(heard), heard);
  EXPECT_EQ(made.count(), 1);
  EXPECT_FALSE(audioFilesLeft());
}

TEST_F(TranscriberTest, HearsTheSameInAnyLocaleAndOnTwoThreadsAtOnce) {
  const std::optional<std::string> alone = Transcriber::transcribe(spokenVideo(), "en_US");
  ASSERT_TRUE(alone.has_value());
  // Locales without a model of their own fall back to US English.
  EXPECT_EQ(Transcriber::transcribe(spokenVideo(), "xx_YY.UTF-8"), alone);

  std::optional<std::string> other;
  std::thread thread([&] { other = Transcriber::transcribe(spokenVideo(), "en_US"); });
  EXPECT_EQ(Transcriber::transcribe(spokenVideo(), "en_US"), alone);
  thread.join();
  EXPECT_EQ(other, alone);
  EXPECT_FALSE(audioFilesLeft());
}

TEST_F(TranscriberTest, WhatHoldsNoSpeechGivesNothingAndLeavesNoSoundFile) {
  const fs::path silent = writeVideo(dir() / "silent.mp4", std::nullopt);
  std::ofstream(dir() / "notes.mp4") << "These are notes, not a video.\n";
  const fs::path quiet =
      writeVideo(dir() / "quiet.mp4", Sound{16000, std::vector<std::int16_t>(16000 * 2, 0)});

  AudioFilesMade made(dir());
  EXPECT_EQ(Transcriber::transcribe(silent, "en_US"), std::nullopt);
  EXPECT_EQ(Transcriber::transcribe(dir() / "notes.mp4", "en_US"), std::nullopt);
  EXPECT_EQ(made.count(), 0);
  EXPECT_EQ(Transcriber::transcribe(quiet, "en_US"), std::nullopt);
  EXPECT_FALSE(audioFilesLeft());
}

TEST_F(TranscriberTest, AudioTrackIsTheWholeSoundAsSixteenKilohertzMono) {
  // A tone at 44.1 kHz: the export must resample it, not relabel it.
  const fs::path video = writeVideo(dir() / "tone.mp4", testing::tone(3, 440, 44100));

  const std::optional<fs::path> wav = AudioTrack::exported(video, dir());
  ASSERT_TRUE(wav.has_value());
  const Sound sound = testing::readWav(*wav);
  EXPECT_EQ(sound.sampleRate, 16000);
  // AAC adds some padding at the start and the end.
  EXPECT_NEAR(static_cast<double>(sound.samples.size()) / 16000, 3, 0.1);
  int crossings = 0;
  for (std::size_t i = 1; i < sound.samples.size(); ++i) {
    crossings += (sound.samples[i - 1] < 0) != (sound.samples[i] < 0);
  }
  EXPECT_NEAR(crossings / 2.0 / 3, 440, 10);
}

// A model directory as the distribution lays it out; `complete` false leaves
// out its dictionary.
void installModel(const fs::path& root, const std::string& tag, bool complete = true) {
  fs::create_directories(root / tag / tag);
  std::ofstream(root / tag / tag / "mdef") << "0.3\n";
  std::ofstream(root / tag / (tag + ".lm.bin")) << "lm";
  if (complete) std::ofstream(root / tag / ("cmudict-" + tag + ".dict")) << "a AH\n";
}

std::optional<std::string> modelFor(std::string_view locale, const fs::path& root) {
  const std::optional<AudioModels::Model> model = AudioModels::forLocale(locale, root);
  return model ? std::optional(model->acoustic.filename().string()) : std::nullopt;
}

TEST(AudioModels, PrefersTheLocalesCountryThenItsLanguageThenUsEnglish) {
  const testing::TempDir root;
  installModel(root.path(), "de-at");
  installModel(root.path(), "de-de");
  installModel(root.path(), "es-es", false);
  EXPECT_EQ(modelFor("en_US", root.path()), std::nullopt);

  installModel(root.path(), "en-us");
  EXPECT_EQ(modelFor("de-DE.UTF-8", root.path()), "de-de");
  EXPECT_EQ(modelFor("de_CH", root.path()), "de-at");  // the first of its language
  EXPECT_EQ(modelFor("es_ES", root.path()), "en-us");  // incomplete
  EXPECT_EQ(modelFor("dev", root.path()), "en-us");    // no prefix match on "de"
}

}  // namespace
}  // namespace brindlemoor
