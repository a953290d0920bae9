// Recording 30 seconds of a 1280x720 area of Firefox while it plays a video
// with sound, on a private desktop and sound server: how many frames had to
// be repeated because no grab came in time, and what share of one core the
// recording process used.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <memory>
#include <thread>

#include "app/platform/x11/video_recorder.h"
#include "app/platform/x11/window_list.h"
#include "tests/testing/browsing.h"
#include "tests/testing/child_process.h"
#include "tests/testing/media_files.h"
#include "tests/testing/sound_server.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/x_session.h"

namespace brindlemoor {
namespace {

using namespace std::chrono_literals;

double cpuSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::string run(const std::string& program, const std::vector<std::string>& args) {
  testing::ChildProcess process(program, args, {});
  process.wait();
  return process.out();
}

void Recording(benchmark::State& state) {
  const testing::TempDir dir;
  const testing::XSession session;
  const testing::SoundServer sound;
  WindowCapturer capturer;  // every window redirected from the start, as the application has it

  testing::writeTestVideo(dir.path() / "clip.mp4", {.seconds = 10,
                                                    .width = 1280,
                                                    .height = 720,
                                                    .framesPerSecond = 30,
                                                    .sound = testing::tone(10, 440, 48000),
                                                    .textured = true});
  std::ofstream(dir.path() / "page.html")
      << "<!doctype html><body style='margin:0;background:#000'><video src='clip.mp4' autoplay "
         "loop style='width:1280px;height:720px'></video></body>";
  const testing::Browser firefox(testing::Browser::firefox,
                                 "file://" + (dir.path() / "page.html").string(), 1400, 900);
  // Playing once its sound reaches the server.
  for (int i = 0; i < 600 && run("/usr/bin/pactl", {"list", "short", "sink-inputs"}).empty(); ++i)
    std::this_thread::sleep_for(100ms);
  std::this_thread::sleep_for(2s);

  const WindowCapturer::Target target = capturer.focusedTarget(::getpid());
  for (auto _ : state) {
    VideoRecorder recorder;
    const double before = cpuSeconds();
    recorder.start(target, {0, target.entry.height - 730, 1280, 720}, 1);
    std::this_thread::sleep_for(30s);
    const auto file = recorder.stop();
    state.counters["cpu_share_of_a_core"] = (cpuSeconds() - before) / 30;
    state.counters["repeated_frames"] = static_cast<double>(recorder.repeatedFrames());
    if (!file) {
      state.SkipWithError("nothing was recorded");
      break;
    }
    const std::string frames =
        run("/usr/bin/ffprobe",
            {"-v", "error", "-count_packets", "-select_streams", "v:0", "-show_entries",
             "stream=nb_read_packets", "-of", "csv=p=0", file->string()});
    state.counters["frames"] = std::stod(frames);
    std::filesystem::remove(*file);
  }
}
BENCHMARK(Recording)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
