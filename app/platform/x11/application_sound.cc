#include "app/platform/x11/application_sound.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace brindlemoor {
namespace {

constexpr std::int64_t kTickMicros = 20'000;
// How late a monitor's samples may come and still be mixed in their place:
// a new monitor starts that far behind, with silence, and the mix runs that
// far behind the clock.
constexpr std::int64_t kLagMicros = 100'000;
constexpr std::size_t kLagSamples =
    kLagMicros * ApplicationSound::kSampleRate / 1'000'000 * ApplicationSound::kChannels;
constexpr pa_sample_spec kFormat{PA_SAMPLE_FLOAT32LE, ApplicationSound::kSampleRate,
                                 ApplicationSound::kChannels};

std::int64_t wallMicros() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

// Whether process `pid` is `ancestor` or was started by it, however deep.
bool descendsFrom(int pid, int ancestor) {
  for (int depth = 0; pid > 1 && depth < 64; ++depth) {
    if (pid == ancestor) return true;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    // The parent follows the state, after the name, which may hold anything.
    const std::size_t name = line.rfind(')');
    if (name == std::string::npos) return false;
    std::istringstream rest(line.substr(name + 1));
    char state = 0;
    if (!(rest >> state >> pid)) return false;
  }
  return false;
}

void timeAfter(timeval* time, std::int64_t micros) {
  pa_gettimeofday(time);
  pa_timeval_add(time, static_cast<pa_usec_t>(micros));
}

}  // namespace

struct ApplicationSound::Callbacks {
  static ApplicationSound& of(void* self) { return *static_cast<ApplicationSound*>(self); }

  static void contextState(pa_context* context, void* self) {
    if (pa_context_get_state(context) != PA_CONTEXT_READY) return;
    pa_context_set_subscribe_callback(context, &event, self);
    pa_operation_unref(
        pa_context_subscribe(context, PA_SUBSCRIPTION_MASK_SINK_INPUT, nullptr, nullptr));
    pa_operation_unref(pa_context_get_sink_input_info_list(context, &sinkInput, self));
  }

  static void event(pa_context* context, pa_subscription_event_type_t type, std::uint32_t index,
                    void* self) {
    if ((type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) == PA_SUBSCRIPTION_EVENT_SINK_INPUT &&
        (type & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_NEW) {
      pa_operation_unref(pa_context_get_sink_input_info(context, index, &sinkInput, self));
    }
  }

  static void sinkInput(pa_context* context, const pa_sink_input_info* info, int last, void* self) {
    if (last || !info) return;
    const char* pid = pa_proplist_gets(info->proplist, PA_PROP_APPLICATION_PROCESS_ID);
    if (!pid || !descendsFrom(std::atoi(pid), of(self).m_pid)) return;
    // Listed at start and announced as new, it may come twice.
    if (of(self).m_waiting.contains(info->index) || of(self).m_monitors.contains(info->index))
      return;
    // Its monitor is the monitor source of its sink, restricted to it.
    of(self).m_waiting[info->index] = info->sink;
    pa_operation_unref(pa_context_get_sink_info_by_index(context, info->sink, &sink, self));
  }

  static void sink(pa_context*, const pa_sink_info* info, int last, void* self) {
    if (last || !info) return;
    auto& waiting = of(self).m_waiting;
    for (auto it = waiting.begin(); it != waiting.end();) {
      if (it->second != info->index) {
        ++it;
        continue;
      }
      listen(of(self), it->first, info->monitor_source_name);
      it = waiting.erase(it);
    }
  }

  static void listen(ApplicationSound& sound, std::uint32_t sinkInput, const char* monitor) {
    pa_stream* stream = pa_stream_new(sound.m_context, "Recording", &kFormat, nullptr);
    if (!stream) return;
    pa_stream_set_monitor_stream(stream, sinkInput);
    pa_stream_set_read_callback(stream, &read, &sound);
    pa_stream_set_state_callback(stream, &streamState, &sound);
    pa_buffer_attr attributes;
    attributes.maxlength = static_cast<std::uint32_t>(-1);
    attributes.tlength = attributes.prebuf = attributes.minreq = static_cast<std::uint32_t>(-1);
    attributes.fragsize = static_cast<std::uint32_t>(pa_usec_to_bytes(kTickMicros, &kFormat));
    if (pa_stream_connect_record(stream, monitor, &attributes, PA_STREAM_ADJUST_LATENCY) < 0) {
      pa_stream_unref(stream);
      return;
    }
    sound.m_monitors[sinkInput] = {stream, std::vector<float>(kLagSamples, 0.0f)};
  }

  static void read(pa_stream* stream, std::size_t, void* self) {
    const auto monitor = of(self).m_monitors.find(pa_stream_get_monitor_stream(stream));
    if (monitor == of(self).m_monitors.end()) return;
    std::vector<float>& held = monitor->second.held;
    const void* data = nullptr;
    std::size_t bytes = 0;
    while (pa_stream_peek(stream, &data, &bytes) == 0 && bytes > 0) {
      const std::size_t count = bytes / sizeof(float);
      if (data) {
        const auto* samples = static_cast<const float*>(data);
        held.insert(held.end(), samples, samples + count);
      } else {
        held.resize(held.size() + count, 0.0f);  // a hole in the stream
      }
      pa_stream_drop(stream);
    }
  }

  // A monitor ends with the stream it hears, when a page reloads or a
  // player stops; a new stream is picked up by its own event.
  static void streamState(pa_stream* stream, void* self) {
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if (state != PA_STREAM_FAILED && state != PA_STREAM_TERMINATED) return;
    of(self).m_monitors.erase(pa_stream_get_monitor_stream(stream));
    pa_stream_unref(stream);
  }

  static void tick(pa_mainloop_api* api, pa_time_event* event, const timeval*, void* self) {
    of(self).mix();
    timeval next;
    timeAfter(&next, kTickMicros);
    api->time_restart(event, &next);
  }
};

ApplicationSound::ApplicationSound(int pid, Listener listener)
    : m_pid(pid), m_listener(std::move(listener)) {
  m_loop = pa_threaded_mainloop_new();
  pa_mainloop_api* api = pa_threaded_mainloop_get_api(m_loop);
  m_start = wallMicros();
  m_context = pa_context_new(api, "Brindlemoor");
  pa_context_set_state_callback(m_context, &Callbacks::contextState, this);
  // Without a server the context fails, and the mix is silence.
  pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
  timeval first;
  timeAfter(&first, kTickMicros);
  m_tick = api->time_new(api, &first, &Callbacks::tick, this);
  pa_threaded_mainloop_start(m_loop);
}

ApplicationSound::~ApplicationSound() {
  pa_threaded_mainloop_stop(m_loop);
  pa_threaded_mainloop_get_api(m_loop)->time_free(m_tick);
  for (const auto& [sinkInput, monitor] : m_monitors) {
    pa_stream* stream = monitor.stream;
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
  }
  pa_context_set_state_callback(m_context, nullptr, nullptr);
  pa_context_set_subscribe_callback(m_context, nullptr, nullptr);
  pa_context_disconnect(m_context);
  pa_context_unref(m_context);
  pa_threaded_mainloop_free(m_loop);
}

void ApplicationSound::mix() {
  const std::int64_t due =
      (wallMicros() - kLagMicros - m_start) * kSampleRate / 1'000'000 - m_given;
  if (due <= 0) return;
  std::vector<float> mixed(static_cast<std::size_t>(due) * kChannels, 0.0f);
  for (auto& [sinkInput, monitor] : m_monitors) {
    std::vector<float>& held = monitor.held;
    const std::size_t count = std::min(held.size(), mixed.size());
    for (std::size_t i = 0; i < count; ++i) mixed[i] += held[i];
    held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(count));
    // A monitor that ran ahead, after a stall of ours, is brought back in time.
    if (held.size() > 3 * kLagSamples)
      held.erase(held.begin(), held.end() - static_cast<std::ptrdiff_t>(kLagSamples));
  }
  m_listener(m_start + m_given * 1'000'000 / kSampleRate, mixed);
  m_given += due;
}

}  // namespace brindlemoor
