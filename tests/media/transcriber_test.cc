#include "core/media/transcriber.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
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
#include "tests/testing/child_process.h"
#include "tests/testing/media_files.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

namespace fs = std::filesystem;
using testing::Sound;
using testing::TestVideo;

constexpr std::string_view kSpoken = "please show me the library";

fs::path writeVideo(const fs::path& path, std::optional<Sound> sound) {
  TestVideo video;
  video.width = 64;
  video.height = 48;
  if (sound) video.seconds = static_cast<double>(sound->samples.size()) / sound->sampleRate;
  video.sound = std::move(sound);
  testing::writeTestVideo(path, video);
  return path;
}

// The names of the files "bm-audio-..." made in a directory since the
// watch began, whether or not they are still there.
class AudioFilesMade {
 public:
  explicit AudioFilesMade(const fs::path& directory) : m_fd(inotify_init1(IN_NONBLOCK)) {
    if (m_fd < 0 || inotify_add_watch(m_fd, directory.c_str(), IN_CREATE) < 0) {
      throw std::runtime_error("cannot watch " + directory.string());
    }
  }
  ~AudioFilesMade() { close(m_fd); }
  AudioFilesMade(const AudioFilesMade&) = delete;
  AudioFilesMade& operator=(const AudioFilesMade&) = delete;

  std::vector<std::string> names() {
    alignas(inotify_event) char buffer[4096];
    ssize_t length;
    while ((length = read(m_fd, buffer, sizeof buffer)) > 0) {
      for (char* at = buffer; at < buffer + length;) {
        const auto* event = reinterpret_cast<const inotify_event*>(at);
        const std::string name = event->len > 0 ? event->name : "";
        if (name.starts_with("bm-audio-")) m_names.push_back(name);
        at += sizeof(inotify_event) + event->len;
      }
    }
    return m_names;
  }

 private:
  int m_fd;
  std::vector<std::string> m_names;
};

// Every test runs with a temporary directory of its own as TMPDIR, where the
// transcriber puts its sound and the test its files.
class TranscriberTest : public ::testing::Test {
 protected:
  // Before any test has changed TMPDIR, where the video's directory goes.
  static void SetUpTestSuite() { spokenVideo(); }

  void SetUp() override {
    if (const char* old = std::getenv("TMPDIR")) m_oldTmpdir = old;
    setenv("TMPDIR", m_temp.path().c_str(), 1);
  }
  void TearDown() override {
    if (m_oldTmpdir) {
      setenv("TMPDIR", m_oldTmpdir->c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
  }

  const fs::path& dir() const { return m_temp.path(); }

  std::vector<fs::path> audioFilesLeft() const {
    std::vector<fs::path> left;
    for (const fs::directory_entry& entry : fs::directory_iterator(dir())) {
      if (entry.path().filename().string().starts_with("bm-audio-")) left.push_back(entry.path());
    }
    return left;
  }

  // One spoken video for the whole suite: speech and encoding take a while.
  static const fs::path& spokenVideo() {
    static const testing::TempDir kept;
    static const fs::path video =
        writeVideo(kept.path() / "spoken.mp4", testing::speech(kSpoken, kept.path()));
    return video;
  }

 private:
  testing::TempDir m_temp;
  std::optional<std::string> m_oldTmpdir;
};

TEST_F(TranscriberTest, HearsTheWordsSpokenInAVideoAndRemovesItsSoundFile) {
  AudioFilesMade made(dir());
  const std::optional<std::string> text = Transcriber::transcribe(spokenVideo(), "en_US.UTF-8");

  ASSERT_TRUE(text.has_value());
  // The generic model mishears much of a synthetic voice; these words it gets.
  const std::string heard = Text::lowercased(*text);
  EXPECT_NE(heard.find("library"), std::string::npos) << heard;
  EXPECT_NE(heard.find("show"), std::string::npos) << heard;
  EXPECT_NE(heard.find("please"), std::string::npos) << heard;
  EXPECT_EQ(Text::trimmed(heard), heard);

  const std::vector<std::string> names = made.names();
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names[0].size(), std::string("bm-audio-").size() + 36 + std::string(".wav").size());
  EXPECT_TRUE(names[0].ends_with(".wav"));
  EXPECT_TRUE(audioFilesLeft().empty());
}

TEST_F(TranscriberTest, HearsALocaleWithoutAModelWithTheUsEnglishOne) {
  const std::optional<std::string> english = Transcriber::transcribe(spokenVideo(), "en_US");
  ASSERT_TRUE(english.has_value());
  EXPECT_EQ(Transcriber::transcribe(spokenVideo(), "xx_YY.UTF-8"), english);
  EXPECT_EQ(Transcriber::transcribe(spokenVideo(), ""), english);
}

TEST_F(TranscriberTest, CallsAtOnceOnTwoThreadsHearTheSame) {
  const std::optional<std::string> alone = Transcriber::transcribe(spokenVideo(), "en_US");
  std::optional<std::string> first;
  std::optional<std::string> second;
  std::thread other([&] { first = Transcriber::transcribe(spokenVideo(), "en_US"); });
  second = Transcriber::transcribe(spokenVideo(), "en_US");
  other.join();
  ASSERT_TRUE(alone.has_value());
  EXPECT_EQ(first, alone);
  EXPECT_EQ(second, alone);
  EXPECT_TRUE(audioFilesLeft().empty());
}

TEST_F(TranscriberTest, WhatHasNoSoundGivesNothingAndMakesNoSoundFile) {
  const fs::path silent = writeVideo(dir() / "silent.mp4", std::nullopt);
  const fs::path text = dir() / "notes.mp4";
  std::ofstream(text) << "These are notes, not a video.\n";
  const fs::path empty = dir() / "empty.mov";
  std::ofstream{empty};

  AudioFilesMade made(dir());
  for (const fs::path& path : {silent, text, empty, dir() / "missing.mp4"}) {
    EXPECT_EQ(Transcriber::transcribe(path, "en_US"), std::nullopt) << path;
  }
  EXPECT_TRUE(made.names().empty());
}

TEST_F(TranscriberTest, SoundWithoutSpeechGivesNothing) {
  Sound quiet{16000, std::vector<std::int16_t>(16000 * 2, 0)};
  const fs::path video = writeVideo(dir() / "quiet.mp4", quiet);

  EXPECT_EQ(Transcriber::transcribe(video, "en_US"), std::nullopt);
  EXPECT_TRUE(audioFilesLeft().empty());
}

TEST_F(TranscriberTest, AudioTrackIsTheWholeSoundAsSixteenKilohertzMono) {
  // A tone at 44.1 kHz: the export must resample it, not relabel it.
  const fs::path video = writeVideo(dir() / "tone.mp4", testing::tone(3, 440, 44100));

  const std::optional<fs::path> wav = AudioTrack::exported(video, dir());
  ASSERT_TRUE(wav.has_value());
  EXPECT_EQ(wav->parent_path(), dir());
  EXPECT_TRUE(wav->filename().string().starts_with("bm-audio-"));
  const Sound sound = testing::readWav(*wav);
  EXPECT_EQ(fs::file_size(*wav), AudioTrack::kHeaderSize + 2 * sound.samples.size());
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
  if (!model) return std::nullopt;
  EXPECT_EQ(model->acoustic.parent_path().parent_path(), root);
  return model->acoustic.filename().string();
}

TEST(AudioModels, PrefersTheLocalesCountryThenItsLanguageThenUsEnglish) {
  const testing::TempDir root;
  installModel(root.path(), "en-us");
  installModel(root.path(), "de-at");
  installModel(root.path(), "de-de");
  installModel(root.path(), "fr");
  installModel(root.path(), "es-es", false);

  EXPECT_EQ(modelFor("de_AT.UTF-8", root.path()), "de-at");
  EXPECT_EQ(modelFor("de-DE", root.path()), "de-de");
  EXPECT_EQ(modelFor("de_CH", root.path()), "de-at");  // the first of its language
  EXPECT_EQ(modelFor("de", root.path()), "de-at");
  EXPECT_EQ(modelFor("fr_CA", root.path()), "fr");
  EXPECT_EQ(modelFor("es_ES", root.path()), "en-us");  // incomplete
  EXPECT_EQ(modelFor("ja_JP", root.path()), "en-us");
  EXPECT_EQ(modelFor("", root.path()), "en-us");
  EXPECT_EQ(modelFor("dev", root.path()), "en-us");  // no prefix match on "de"
}

TEST(AudioModels, NothingWithoutUsEnglish) {
  const testing::TempDir root;
  installModel(root.path(), "de-de");
  installModel(root.path(), "en-us", false);

  EXPECT_EQ(modelFor("de_DE", root.path()), "de-de");
  EXPECT_EQ(modelFor("en_US", root.path()), std::nullopt);
  EXPECT_EQ(modelFor("it_IT", root.path() / "absent"), std::nullopt);
}

TEST(AudioModels, TheInstalledUsEnglishModelIsComplete) {
  const std::optional<AudioModels::Model> model =
      AudioModels::forLocale("en_US", AudioModels::kInstalled);
  ASSERT_TRUE(model.has_value()) << "install pocketsphinx-en-us";
  EXPECT_EQ(model->acoustic, AudioModels::kInstalled / "en-us" / "en-us");
}

}  // namespace
}  // namespace brindlemoor
