#include "core/media/transcriber.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

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

std::size_t timesHeard(const std::optional<std::string>& text, std::string_view word) {
  std::size_t n = 0;
  for (std::size_t at = 0; text && (at = text->find(word, at)) != std::string::npos; ++at) ++n;
  return n;
}

// espeak-ng speaks at 22.05 kHz, so hearing it also proves that the sound was
// resampled for the recogniser rather than relabelled.
TEST(Transcriber, HearsEachUtteranceAlikeOnTwoThreadsUpToItsLimitAndLeavesNoSoundFile) {
  const testing::TempDir dir;
  setenv("TMPDIR", dir.path().c_str(), 1);  // where the transcriber puts its sound
  const Sound said = testing::speech("please show me the library", dir.path());
  const fs::path video = writeVideo(dir.path() / "spoken.mp4", said);
  const std::optional<std::string> text = Transcriber::transcribe(video, "en_US.UTF-8");
  ASSERT_TRUE(text.has_value());
  // The generic model mishears much of a synthetic voice; these words it gets.
  const std::string heard = Text::lowercased(*text);
  for (const char* word : {"library", "show", "please"})
    EXPECT_GE(timesHeard(heard, word), 1u) << heard;
  EXPECT_EQ(Text::trimmed(heard), heard);
  std::optional<std::string> other;
  std::thread thread([&] { other = Transcriber::transcribe(video, "en_US"); });
  EXPECT_EQ(Transcriber::transcribe(video, "en_US"), text);
  thread.join();
  EXPECT_EQ(other, text);

  // Said twice, 28 s apart: two utterances, cut in the quiet between.
  std::vector<std::int16_t> twice = said.samples;
  twice.insert(twice.end(), static_cast<std::size_t>(said.sampleRate * 28), 0);
  twice.insert(twice.end(), said.samples.begin(), said.samples.end());
  const fs::path repeated = writeVideo(dir.path() / "twice.mp4", Sound{said.sampleRate, twice});
  const double once = static_cast<double>(said.samples.size()) / said.sampleRate;
  EXPECT_EQ(timesHeard(Transcriber::transcribe(repeated, "en_US"), "library"), 2u);
  EXPECT_EQ(timesHeard(Transcriber::transcribe(repeated, "en_US", once + 0.5), "library"), 1u);

  // What holds no speech gives nothing.
  std::ofstream(dir.path() / "notes.mp4") << "These are notes, not a video.\n";
  EXPECT_EQ(Transcriber::transcribe(dir.path() / "notes.mp4", "en_US"), std::nullopt);
  EXPECT_EQ(Transcriber::transcribe(writeVideo(dir.path() / "silent.mp4", std::nullopt), "en_US"),
            std::nullopt);
  const Sound quiet{16000, std::vector<std::int16_t>(16000 * 2, 0)};
  EXPECT_EQ(Transcriber::transcribe(writeVideo(dir.path() / "quiet.mp4", quiet), "en_US"),
            std::nullopt);
  for (const fs::directory_entry& entry : fs::directory_iterator(dir.path())) {
    EXPECT_FALSE(entry.path().filename().string().starts_with("bm-audio-")) << entry.path();
  }
}

}  // namespace
}  // namespace brindlemoor
