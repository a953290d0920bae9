#include "core/model/serial_queue.h"

namespace brindlemoor {

SerialQueue::SerialQueue() : m_thread([this] { run(); }) {}

SerialQueue::~SerialQueue() {
  {
    std::lock_guard lock(m_mutex);
    m_ending = true;
    m_jobs.clear();
  }
  m_changed.notify_one();
  m_thread.join();
}

void SerialQueue::post(std::function<void()> job) {
  {
    std::lock_guard lock(m_mutex);
    m_jobs.push_back(std::move(job));
  }
  m_changed.notify_one();
}

void SerialQueue::run() {
  for (;;) {
    std::function<void()> job;
    {
      std::unique_lock lock(m_mutex);
      m_changed.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
      if (m_ending) return;
      job = std::move(m_jobs.front());
      m_jobs.pop_front();
    }
    job();
  }
}

}  // namespace brindlemoor
