// SerialQueue runs jobs one at a time, in the order given, on a thread of
// its own: the way to do blocking work (the X server, the accessibility
// bus, the store's writes, a search that asks the embedding model, a sound)
// without stalling the thread that asks for it.
//
// Threads: post from any thread. The destructor waits for the job under way
// and drops those not begun.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace brindlemoor {

class SerialQueue {
 public:
  SerialQueue();
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  void post(std::function<void()> job);

 private:
  void run();

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<std::function<void()>> m_jobs;  // guarded by m_mutex
  bool m_ending = false;                     // guarded by m_mutex
  std::thread m_thread;
};

}  // namespace brindlemoor
