#include "core/media/internal/audio_track.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "tests/testing/media_files.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

namespace fs = std::filesystem;

TEST(AudioTrack, ExportsPrivatelyAndSweepsAwayWhatAKilledProcessLeft) {
  const testing::TempDir dir;
  // Left by a process killed two hours ago, and by one at work now.
  const auto stale = dir.path() / "bm-audio-stale.wav";
  const auto fresh = dir.path() / "bm-audio-fresh.wav";
  std::ofstream(stale) << "x";
  std::ofstream(fresh) << "x";
  fs::last_write_time(stale, fs::file_time_type::clock::now() - std::chrono::hours(2));
  testing::writeTestVideo(
      dir.path() / "tone.mp4",
      {.seconds = 1, .width = 64, .height = 48, .sound = testing::tone(1, 440, 44100)});
  const auto wav = AudioTrack::exported(dir.path() / "tone.mp4", dir.path(), 60);
  ASSERT_TRUE(wav.has_value());
  EXPECT_EQ(fs::status(*wav).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_FALSE(fs::exists(stale));
  EXPECT_TRUE(fs::exists(fresh));
}

}  // namespace
}  // namespace brindlemoor
