#include "core/media/internal/audio_track.h"

#include <gtest/gtest.h>

#include "tests/testing/media_files.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

TEST(AudioTrack, ExportsTheWholeSoundAsSixteenKilohertzMono) {
  const testing::TempDir dir;
  // A tone at 44.1 kHz: the export must resample it, not relabel it.
  const testing::Sound tone = testing::tone(3, 440, 44100);
  testing::writeTestVideo(dir.path() / "tone.mp4",
                          {.seconds = 3, .width = 64, .height = 48, .sound = tone});
  const auto wav = AudioTrack::exported(dir.path() / "tone.mp4", dir.path());
  ASSERT_TRUE(wav.has_value());
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
