// VideoRecorder records what a window shows in one area, with the sound its
// application plays, into a new MPEG-4 file "bm-recording-<uuid>.mp4" in the
// temporary folder: H.264 at exactly 30 frames a second and AAC in stereo.
// The area is grabbed about 30 times a second (ScreenGrab); each grab takes
// the frame of its time, so late grabs repeat a frame and early ones are
// dropped, never a variable rate. The file's time begins at the first
// frame: sound heard before it only moves the level. One recorder serves
// one recording; it knows nothing of the library.
//
// Threads: start, stop and the destructor belong to one thread. Grabs are
// taken on a thread of the recorder's, sound is heard on the sound server's,
// and both are written, in order, on a third, the only one that touches the
// file. level() may be read from any thread.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <variant>
#include <vector>

#include "app/platform/x11/recording_file.h"
#include "app/platform/x11/screen_grab.h"
#include "app/platform/x11/window_capturer.h"
#include "app/platform/x11/x_connection.h"
#include "core/capture/frame_pacing.h"
#include "core/capture/rect.h"
#include "core/model/failure.h"

namespace brindlemoor {

class ApplicationSound;

class VideoRecorder {
 public:
  class Failure : public brindlemoor::Failure {
   public:
    enum class Kind { cannotWrite };
    using brindlemoor::Failure::Failure;
    Kind kind() const { return Kind::cannotWrite; }
  };

  VideoRecorder();
  // Stops a recording still running and removes its file.
  ~VideoRecorder();
  VideoRecorder(const VideoRecorder&) = delete;
  VideoRecorder& operator=(const VideoRecorder&) = delete;

  // Starts recording `area`, in points from the top left of the target's
  // window frame, cut to the window (an area with nothing inside the window
  // is the whole window), at `scale` pixels a point. Throws Failure when the
  // file can't be written or the window can't be grabbed.
  void start(const WindowCapturer::Target& target, Rect area, double scale);

  // Ends the recording and gives its file, or nothing when no frame came or
  // the file couldn't be completed. A grab that failed on the way, say
  // because the window closed, ended the recording there.
  std::optional<std::filesystem::path> stop();

  // How loud the recorded sound is now, from 0 to 1.
  float level() const { return m_level.load(std::memory_order_relaxed); }

  // Frames written in the place of grabs that came late or not at all.
  std::int64_t repeatedFrames() const { return m_repeated.load(std::memory_order_relaxed); }

 private:
  struct Sound {
    std::int64_t micros;
    std::vector<float> samples;
  };
  using Item = std::variant<ScreenGrab::Grab, Sound>;

  void grabLoop();
  void writeLoop();
  void push(Item item);
  void write(const ScreenGrab::Grab& grab);
  void write(const Sound& sound);

  std::optional<XConnection> m_x;
  std::filesystem::path m_path;
  std::unique_ptr<ScreenGrab> m_grab;
  std::unique_ptr<RecordingFile> m_file;
  std::unique_ptr<ApplicationSound> m_sound;
  std::thread m_grabber;
  std::thread m_writer;
  std::atomic<bool> m_stopping = false;
  std::atomic<float> m_level = 0;
  std::atomic<std::int64_t> m_repeated = 0;

  // What waits for the writer; grabs beyond a few are dropped, not queued.
  std::mutex m_mutex;
  std::condition_variable m_waiting;
  std::deque<Item> m_queue;
  int m_grabsQueued = 0;
  bool m_ended = false;

  // The writer's own.
  FramePacing m_pacing{RecordingFile::kFramesPerSecond};
  std::optional<std::int64_t> m_firstFrame;  // wall-clock microseconds
  bool m_failed = false;
};

}  // namespace brindlemoor
