// WorkLoop is the pipeline's serial executor: one thread of its own that
// takes the captures waiting in a store, the oldest first in batches of 20,
// and hands each to a step that carries it as far as it can go now. A
// capture's progress is its row alone, so the loop holds no state of its own
// beyond the asks it has to answer.
//
// Thread rules: work() and startWork() may be called from any thread, as
// often as wanted; exactly one drain runs at any moment, and one capture at a
// time is in the step. The step runs on the loop's thread.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "core/model/capture.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class WorkLoop {
 public:
  // Carries one capture as far as it can go now and records each stage in
  // the store. It must not throw: a failure is recorded on the capture with
  // a retry time, which keeps it out of the next batch.
  using Step = std::function<void(const Capture&)>;

  static constexpr std::int64_t kBatchSize = 20;

  // Starts the thread, idle. `store` must outlive the loop.
  WorkLoop(LibraryStore& store, Step step);
  // Stops after the capture in hand (its recorded stages stay) and releases
  // every work() still waiting.
  ~WorkLoop();
  WorkLoop(const WorkLoop&) = delete;
  WorkLoop& operator=(const WorkLoop&) = delete;

  // Returns once nothing pending can be done now: every capture not
  // organized has been taken up, or waits for its retry time. A call made
  // while a drain runs waits for a drain of its own, which looks at the
  // captures again. A failure to read the pending captures ends the drain
  // silently; the next ask tries again.
  void work();
  // Asks for the same without waiting for it.
  void startWork();

 private:
  void run();
  void drain();
  bool stopping();

  LibraryStore& m_store;
  const Step m_step;

  std::mutex m_mutex;
  std::uint64_t m_requested = 0;       // guarded by m_mutex: asks so far
  std::uint64_t m_served = 0;          // guarded by m_mutex: asks a finished drain answered
  bool m_stopping = false;             // guarded by m_mutex
  std::condition_variable m_wake;      // the loop's thread waits here for asks
  std::condition_variable m_answered;  // work() waits here for its ask to be served
  std::thread m_thread;                // last, so it starts after everything it uses
};

}  // namespace brindlemoor
