// ApplicationSound hears what one application plays, and nothing else: the
// sound server's playback streams (sink inputs) of its process and of the
// processes it started (a browser plays from a child), each heard alone
// through a monitor of its own. A stream that ends and another that starts
// later are picked up as they come. What they play is mixed and given on,
// every 20 ms, as one unbroken stream of stereo samples at 48 kHz, stamped
// with the wall-clock time of its first sample: silence when nothing plays,
// and silence throughout when there is no sound server.
//
// Works with PulseAudio and with PipeWire's Pulse server alike.
//
// Threads: the listener runs on the sound server's own thread of this
// object, and must return soon.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <vector>

struct pa_context;
struct pa_stream;
struct pa_threaded_mainloop;
struct pa_time_event;

namespace brindlemoor {

class ApplicationSound {
 public:
  static constexpr int kSampleRate = 48000;
  static constexpr int kChannels = 2;

  // `micros` is the wall-clock time of the first sample, in microseconds
  // since the epoch; `samples` are interleaved floats of full scale 1.
  using Listener = std::function<void(std::int64_t micros, std::span<const float> samples)>;

  // Starts hearing the application of process `pid`.
  ApplicationSound(int pid, Listener listener);
  // Stops hearing; the listener isn't called after this.
  ~ApplicationSound();
  ApplicationSound(const ApplicationSound&) = delete;
  ApplicationSound& operator=(const ApplicationSound&) = delete;

 private:
  struct Callbacks;  // the sound server's calls into this object
  friend struct Callbacks;
  void mix();

  int m_pid;
  Listener m_listener;
  pa_threaded_mainloop* m_loop = nullptr;
  pa_context* m_context = nullptr;
  pa_time_event* m_tick = nullptr;
  std::int64_t m_start = 0;  // wall-clock microseconds of the first sample given
  std::int64_t m_given = 0;  // samples given so far, per channel
  struct Monitor {
    pa_stream* stream;
    std::vector<float> held;  // heard and not yet mixed
  };
  std::map<std::uint32_t, std::uint32_t> m_waiting;  // sink input -> its sink
  std::map<std::uint32_t, Monitor> m_monitors;       // by sink input
};

}  // namespace brindlemoor
