#include "core/media/transcriber.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <string>
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
TEST_F(TranscriberTest, HearsTheWordsSpokenInAVideoAlikeOnTwoThreads) {
  const testing::TempDir kept;
  const fs::path video = writeVideo(kept.path() / "spoken.mp4",
                                    testing::speech("please show me the library", kept.path()));
  const std::optional<std::string> text = Transcriber::transcribe(video, "en_US.UTF-8");
  ASSERT_TRUE(text.has_value());
  // The generic model mishears much of a synthetic voice; these words it gets.
  const std::string heard = Text::lowercased(*text);
  for (const char* word : {"library", "show", "please"}) {
    EXPECT_NE(heard.find(word), std::string::npos) << heard;
  }
  EXPECT_EQ(Text::trimmed(heard), heard);
  std::optional<std::string> other;
  std::thread thread([&] { other = Transcriber::transcribe(video, "en_US"); });
  EXPECT_EQ(Transcriber::transcribe(video, "en_US"), text);
  thread.join();
  EXPECT_EQ(other, text);
  EXPECT_FALSE(audioFilesLeft());
}

TEST_F(TranscriberTest, WhatHoldsNoSpeechGivesNothingAndLeavesNoSoundFile) {
  const fs::path silent = writeVideo(dir() / "silent.mp4", std::nullopt);
  std::ofstream(dir() / "notes.mp4") << "These are notes, not a video.\n";
  const fs::path quiet =
      writeVideo(dir() / "quiet.mp4", Sound{16000, std::vector<std::int16_t>(16000 * 2, 0)});
  EXPECT_EQ(Transcriber::transcribe(silent, "en_US"), std::nullopt);
  EXPECT_EQ(Transcriber::transcribe(dir() / "notes.mp4", "en_US"), std::nullopt);
  EXPECT_EQ(Transcriber::transcribe(quiet, "en_US"), std::nullopt);
  EXPECT_FALSE(audioFilesLeft());
}

}  // namespace
}  // namespace brindlemoor
