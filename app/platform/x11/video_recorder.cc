#include "app/platform/x11/video_recorder.h"

#include <algorithm>
#include <iostream>
#include <span>

#include "app/platform/x11/application_sound.h"
#include "app/platform/x11/recording_file.h"
#include "app/platform/x11/window_list.h"
#include "core/capture/sound_level.h"
#include "core/capture/video_size.h"
#include "core/model/identifier.h"

extern "C" {
#include <libavcodec/packet.h>
}

namespace brindlemoor {
namespace {

// Grabs waiting for the writer beyond this many are dropped.
constexpr int kQueueDepth = 6;
// Sound stamps of one unbroken stream agree to within rounding; only a gap
// or an overlap larger than this moves the sound.
constexpr std::int64_t kSoundSlack = RecordingFile::kSampleRate / 100;

void logStop(const std::string& reason) {
  std::cerr << "Brindlemoor: recording stopped: " << reason << '\n';
}

// The area's pixels in the top-level window `top`, which holds the frame
// `target` was read with: cut to the window, the whole window when nothing
// of it is inside, of even size.
ScreenGrab::Region regionOf(const XConnection& x, xcb_window_t top,
                            const WindowCapturer::Target& target, Rect area, double scale) {
  const WindowEntry& window = target.entry;
  const double left = std::max(area.x, 0.0), right = std::min(area.x + area.width, window.width);
  const double upper = std::max(area.y, 0.0), lower = std::min(area.y + area.height, window.height);
  if (left >= right || upper >= lower)
    area = {0, 0, window.width, window.height};
  else
    area = {left, upper, right - left, lower - upper};

  const auto geometry =
      xReply(xcb_get_geometry_reply(x.get(), xcb_get_geometry(x.get(), top), nullptr));
  const auto origin = xReply(xcb_translate_coordinates_reply(
      x.get(),
      xcb_translate_coordinates(x.get(), x.root(), top, static_cast<std::int16_t>(window.x),
                                static_cast<std::int16_t>(window.y)),
      nullptr));
  if (!geometry || !origin) throw VideoRecorder::Failure("The window has closed.");
  const VideoSize size = videoSize(area, scale);
  ScreenGrab::Region region{
      std::clamp(origin->dst_x + static_cast<int>(area.x * scale), 0, int(geometry->width)),
      std::clamp(origin->dst_y + static_cast<int>(area.y * scale), 0, int(geometry->height)), 0, 0};
  region.width = std::min(size.width, geometry->width - region.x) & ~1;
  region.height = std::min(size.height, geometry->height - region.y) & ~1;
  if (region.width < 2 || region.height < 2)
    throw VideoRecorder::Failure("The window shows nothing to record.");
  return region;
}

}  // namespace

VideoRecorder::VideoRecorder() = default;

VideoRecorder::~VideoRecorder() {
  if (!m_writer.joinable()) return;
  std::error_code ignored;
  if (const auto path = stop()) std::filesystem::remove(*path, ignored);
}

void VideoRecorder::start(const WindowCapturer::Target& target, Rect area, double scale) {
  try {
    m_x.emplace();
    const xcb_window_t top = WindowList::topLevel(*m_x, target.window);
    if (top == XCB_WINDOW_NONE) throw Failure("The window has closed.");
    m_grab = std::make_unique<ScreenGrab>(*m_x, top, regionOf(*m_x, top, target, area, scale));
    m_path = std::filesystem::temp_directory_path() / ("bm-recording-" + newIdentifier() + ".mp4");
    m_file = std::make_unique<RecordingFile>(m_path, m_grab->width(), m_grab->height(),
                                             m_grab->pixelFormat());
  } catch (const Failure&) {
    throw;
  } catch (const brindlemoor::Failure& failure) {  // the grab's, the file's, the display's
    throw Failure(failure.what());
  }
  m_writer = std::thread([this] { writeLoop(); });
  // Heard from now, so that sound is there before the first frame.
  m_sound = std::make_unique<ApplicationSound>(
      target.entry.pid, [this](std::int64_t micros, std::span<const float> samples) {
        m_level.store(soundLevel(samples), std::memory_order_relaxed);
        push(Sound{micros, {samples.begin(), samples.end()}});
      });
  m_grabber = std::thread([this] { grabLoop(); });
}

std::optional<std::filesystem::path> VideoRecorder::stop() {
  if (!m_writer.joinable()) return std::nullopt;
  m_stopping = true;
  m_grabber.join();
  m_sound.reset();
  {
    const std::lock_guard lock(m_mutex);
    m_ended = true;
  }
  m_waiting.notify_one();
  m_writer.join();
  m_grab.reset();
  if (m_firstFrame && !m_failed) {
    try {
      m_file->finish();
      m_file.reset();
      return m_path;
    } catch (const RecordingFile::Failure& failure) {
      logStop(failure.what());
    }
  }
  m_file.reset();  // removes what it wrote
  return std::nullopt;
}

void VideoRecorder::grabLoop() {
  while (!m_stopping) {
    try {
      ScreenGrab::Grab grab = m_grab->next();
      if (m_stopping) return;  // taken after the stop was asked for
      push(std::move(grab));
    } catch (const ScreenGrab::Failure& failure) {
      logStop(failure.what());
      return;
    }
  }
}

void VideoRecorder::push(Item item) {
  {
    const std::lock_guard lock(m_mutex);
    if (std::holds_alternative<ScreenGrab::Grab>(item)) {
      if (m_grabsQueued == kQueueDepth) return;
      ++m_grabsQueued;
    }
    m_queue.push_back(std::move(item));
  }
  m_waiting.notify_one();
}

void VideoRecorder::writeLoop() {
  for (;;) {
    Item item;
    {
      std::unique_lock lock(m_mutex);
      m_waiting.wait(lock, [this] { return !m_queue.empty() || m_ended; });
      if (m_queue.empty()) return;
      item = std::move(m_queue.front());
      m_queue.pop_front();
      if (std::holds_alternative<ScreenGrab::Grab>(item)) --m_grabsQueued;
    }
    if (m_failed) continue;
    try {
      std::visit([this](const auto& taken) { write(taken); }, item);
    } catch (const RecordingFile::Failure& failure) {
      logStop(failure.what());
      m_failed = true;
    }
  }
}

void VideoRecorder::write(const ScreenGrab::Grab& grab) {
  const auto placement = m_pacing.place(grab->pts);
  if (!placement) return;
  if (!m_firstFrame) m_firstFrame = grab->pts;
  for (std::int64_t frame = placement->frame - placement->repeats; frame < placement->frame;
       ++frame)
    m_file->repeatFrame(frame);
  m_repeated += placement->repeats;
  m_file->addFrame(grab->data, m_grab->stride(), placement->frame);
}

void VideoRecorder::write(const Sound& sound) {
  if (!m_firstFrame) return;  // the file's time begins at the first frame
  const std::int64_t at = (sound.micros - *m_firstFrame) * RecordingFile::kSampleRate / 1'000'000;
  const std::int64_t added = m_file->soundAdded();
  std::span<const float> samples = sound.samples;
  if (at > added + kSoundSlack) {
    m_file->addSound(
        std::vector<float>(static_cast<std::size_t>(at - added) * RecordingFile::kChannels));
  } else if (at < added - kSoundSlack) {
    const auto skipped = static_cast<std::size_t>(added - at) * RecordingFile::kChannels;
    if (skipped >= samples.size()) return;
    samples = samples.subspan(skipped);
  }
  m_file->addSound(samples);
}

}  // namespace brindlemoor
