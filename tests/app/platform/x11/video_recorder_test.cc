// Recordings of a real window of another process on a private X11 desktop,
// with the sound its process and a stranger play through a private sound
// server, read back with ffprobe and ffmpeg.
#include "app/platform/x11/video_recorder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>
#include <span>
#include <sstream>
#include <thread>

#include "app/platform/x11/window_list.h"
#include "tests/testing/child_process.h"
#include "tests/testing/failure_of.h"
#include "tests/testing/sound_server.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/test_window.h"
#include "tests/testing/x_session.h"

namespace brindlemoor {
namespace {

using namespace std::chrono_literals;

std::string run(const std::string& program, const std::vector<std::string>& args) {
  testing::ChildProcess process("/usr/bin/" + program, args, {});
  EXPECT_EQ(process.wait(), 0) << program << ": " << process.err();
  return process.out();
}

// What ffprobe says of one stream, as KEY=VALUE lines.
std::string probe(const std::filesystem::path& file, const std::string& stream,
                  const std::string& entries) {
  return run("ffprobe", {"-v", "error", "-select_streams", stream, "-show_entries",
                         "stream=" + entries, "-of", "default=noprint_wrappers=1", file.string()});
}

// The presentation times of the video's frames, in its time base.
std::vector<long> frameTimes(const std::filesystem::path& file) {
  std::istringstream out(run("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                                         "packet=pts", "-of", "csv=p=0", file.string()}));
  std::vector<long> times;
  for (long time = 0; out >> time;) times.push_back(time);
  std::ranges::sort(times);
  return times;
}

// The sound as mono floats at 48 kHz.
std::vector<float> soundOf(const std::filesystem::path& file) {
  const std::string bytes = run("ffmpeg", {"-v", "error", "-i", file.string(), "-map", "0:a:0",
                                           "-ac", "1", "-f", "f32le", "-"});
  std::vector<float> samples(bytes.size() / sizeof(float));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
  return samples;
}

// The strength of `hertz` in `samples` (Goertzel), per sample.
double strength(std::span<const float> samples, double hertz) {
  const double step = 2 * std::cos(2 * std::numbers::pi * hertz / 48000);
  double before = 0, last = 0;
  for (const float sample : samples) {
    const double next = sample + step * last - before;
    before = last;
    last = next;
  }
  return std::sqrt(last * last + before * before - step * last * before) /
         static_cast<double>(samples.size());
}

class VideoRecorderTest : public ::testing::Test {
 protected:
  // What the window manager lists for `window`, as the capturer would give it.
  WindowCapturer::Target targetOf(const testing::TestWindow& window) const {
    for (const WindowEntry& entry : WindowList::frontToBack(m_x)) {
      if (entry.number == window.id()) return {window.id(), entry, {}, 1};
    }
    ADD_FAILURE() << "the window isn't listed";
    return {};
  }

  // The window's own top left corner from its frame's, in points.
  Rect within(const WindowCapturer::Target& target, Rect area) const {
    const auto client = xReply(xcb_translate_coordinates_reply(
        m_x.get(), xcb_translate_coordinates(m_x.get(), target.window, m_x.root(), 0, 0), nullptr));
    return {client->dst_x - target.entry.x + area.x, client->dst_y - target.entry.y + area.y,
            area.width, area.height};
  }

  testing::TempDir m_dir;
  testing::XSession m_session;
  XConnection m_x;
  // Every window is redirected from the start, as the application has it.
  WindowCapturer m_capturer;
};

TEST_F(VideoRecorderTest, KeepsTheWindowsOwnPixelsAtThirtyFramesASecondWithOnlyItsSound) {
  const testing::SoundServer sound;
  const auto tone = [&](const std::string& name, double seconds, int hertz) {
    run("sox", {"-n", "-r", "48000", "-c", "2", (m_dir.path() / name).string(), "synth",
                std::to_string(seconds), "sine", std::to_string(hertz), "vol", "0.5"});
    return "paplay --latency-msec=30 " + (m_dir.path() / name).string();
  };
  // The window's process plays 440 Hz, then after a pause 660 Hz in a new
  // stream; a stranger plays 1000 Hz all the while.
  const std::string go = (m_dir.path() / "go").string();
  const std::string first = tone("first.wav", 1.5, 440), second = tone("second.wav", 6, 660);
  const testing::TestWindow player(
      "Player", {100, 100, 640, 360}, 4,
      "until [ -e " + go + " ]; do sleep 0.02; done; " + first + "; sleep 0.3; " + second);
  // Raised over part of the player: the recording still has the player's pixels.
  const testing::TestWindow cover("Cover", {300, 200, 400, 300}, 7);
  testing::ChildProcess stranger("/bin/sh", {"-c", tone("stranger.wav", 9, 1000)}, {});
  std::ofstream{go};
  // Recording starts once both play: players take their time to start on a busy machine.
  const auto playing = [] {
    return std::ranges::count(run("pactl", {"list", "short", "sink-inputs"}), '\n');
  };
  for (int i = 0; i < 200 && playing() < 2; ++i) std::this_thread::sleep_for(50ms);

  const WindowCapturer::Target target = targetOf(player);
  VideoRecorder recorder;
  recorder.start(target, within(target, {40, 30, 320, 240}), 1);
  float loudest = 0;
  for (int i = 0; i < 50; ++i) {
    std::this_thread::sleep_for(100ms);
    loudest = std::max(loudest, recorder.level());
  }
  const std::optional<std::filesystem::path> file = recorder.stop();
  ASSERT_TRUE(file);
  EXPECT_GT(loudest, 0.5);  // the player's tone, at -9 dB

  EXPECT_EQ(file->parent_path(), std::filesystem::temp_directory_path());
  EXPECT_TRUE(file->filename().string().starts_with("bm-recording-"));
  EXPECT_EQ(file->extension(), ".mp4");
  struct stat status {};
  ASSERT_EQ(::stat(file->c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600);

  EXPECT_EQ(probe(*file, "v:0", "codec_name,width,height,r_frame_rate"),
            "codec_name=h264\nwidth=320\nheight=240\nr_frame_rate=30/1\n");
  EXPECT_EQ(probe(*file, "a:0", "codec_name,sample_rate,channels"),
            "codec_name=aac\nsample_rate=48000\nchannels=2\n");
  // Every frame in its place at 30 a second, however the grabs came.
  const std::vector<long> times = frameTimes(*file);
  ASSERT_GT(times.size(), 140u);
  EXPECT_LT(times.size(), 160u);
  const long step = times[1] - times[0];
  for (std::size_t i = 1; i < times.size(); ++i) ASSERT_EQ(times[i] - times[i - 1], step) << i;

  // The first tone, then the second from its new stream, and never the
  // stranger's, by tenths of a second.
  const std::vector<float> heard = soundOf(*file);
  ASSERT_GT(heard.size(), 48000u * 46 / 10);
  std::string tones;
  for (std::size_t at = 0; at + 4800 <= heard.size(); at += 4800) {
    const std::span<const float> tenth(heard.data() + at, 4800);
    const double a = strength(tenth, 440), e = strength(tenth, 660), c = strength(tenth, 1000);
    EXPECT_LT(c, 0.01) << "at " << at / 48000.0 << " s";
    tones += a > 0.1 && a > 10 * e ? 'A' : e > 0.1 && e > 10 * a ? 'E' : '.';
  }
  EXPECT_NE(tones.find("AAAAA"), std::string::npos) << tones;
  EXPECT_NE(tones.find("EEEEE"), std::string::npos) << tones;
  EXPECT_LT(tones.rfind('A'), tones.find('E')) << tones;

  // The middle frame is the player's pattern, under the cover too.
  const std::string rgb =
      run("ffmpeg", {"-v", "error", "-ss", "2.5", "-i", file->string(), "-frames:v", "1", "-f",
                     "rawvideo", "-pix_fmt", "rgb24", "-"});
  ASSERT_EQ(rgb.size(), 320u * 240 * 3);
  double red = 0, green = 0;
  for (int y = 0; y < 240; ++y) {
    for (int x = 0; x < 320; ++x) {
      const std::uint32_t expected = testing::patternColour(4, 40 + x, 30 + y);
      const auto* got = reinterpret_cast<const std::uint8_t*>(rgb.data()) + (y * 320 + x) * 3;
      red += std::abs(int(got[0]) - int(expected >> 16 & 0xFF));
      green += std::abs(int(got[1]) - int(expected >> 8 & 0xFF));
    }
  }
  // Red and green vary smoothly enough to survive H.264; blue's fine stripes don't.
  EXPECT_LT(red / (320 * 240), 12);
  EXPECT_LT(green / (320 * 240), 12);
  std::filesystem::remove(*file);
}

TEST_F(VideoRecorderTest, AWindowThatClosesEndsTheRecordingThereAndNoFrameGivesNothing) {
  // No sound server: the sound is silence.
  auto window = std::make_unique<testing::TestWindow>("Closing", Rect{100, 100, 320, 240}, 2);
  const WindowCapturer::Target target = targetOf(*window);

  VideoRecorder nothing;
  nothing.start(target, {}, 1);
  EXPECT_FALSE(nothing.stop());

  VideoRecorder recorder;
  recorder.start(target, {}, 1);
  std::this_thread::sleep_for(1s);
  window.reset();
  std::this_thread::sleep_for(1s);
  const auto file = recorder.stop();
  ASSERT_TRUE(file);
  const std::size_t frames = frameTimes(*file).size();
  EXPECT_GT(frames, 20u);
  EXPECT_LT(frames, 40u);
  const std::vector<float> heard = soundOf(*file);
  EXPECT_GE(heard.size(), frames * 1600);
  EXPECT_LT(strength(heard, 440), 1e-6);
  std::filesystem::remove(*file);

  EXPECT_STREQ(testing::failureOf<VideoRecorder::Failure>([&] {
                 VideoRecorder().start(target, {}, 1);
               }).what(),
               "The window has closed.");
}

}  // namespace
}  // namespace brindlemoor
