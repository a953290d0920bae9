#include "core/media/internal/audio_track.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "tests/testing/media_files.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

TEST(AudioTrack, ExportsTheWholeSoundAsSixteenKilohertzMonoPrivatelyAndSweepsOldFiles) {
  const testing::TempDir dir;
  // Left by a process killed two hours ago, and by one at work now.
  const auto stale = dir.path() / "bm-audio-stale.wav";
  const auto fresh = dir.path() / "bm-audio-fresh.wav";
  std::ofstream(stale) << "x";
  std::ofstream(fresh) << "x";
  std::filesystem::last_write_time(
      stale, std::filesystem::file_time_type::clock::now() - std::chrono::hours(2));
  // A tone at 44.1 kHz: the export must resample it, not relabel it.
  const testing::Sound tone = testing::tone(3, 440, 44100);
  testing::writeTestVideo(dir.path() / "tone.mp4",
                          {.seconds = 3, .width = 64, .height = 48, .sound = tone});
  const auto wav = AudioTrack::exported(dir.path() / "tone.mp4", dir.path(), 60);
  ASSERT_TRUE(wav.has_value());
  EXPECT_EQ(std::filesystem::status(*wav).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_FALSE(std::filesystem::exists(stale));
  EXPECT_TRUE(std::filesystem::exists(fresh));
  const testing::Sound sound = testing::readWav(*wav);
  EXPECT_EQ(sound.sampleRate, 16000);
  // AAC adds some padding at the start and the end.
  EXPECT_NEAR(static_cast<double>(sound.samples.size()) / 16000, 3, 0.1);
  int crossings = 0;
  for (std::size_t i = 1; i < sound.samples.size(); ++i) {
    crossings += (sound.samples[i - 1] < 0) != (sound.samples[i] < 0);
  }
  EXPECT_NEAR(crossings / 2.0 / 3, 440, 10);
}

}  // namespace
}  // namespace brindlemoor
