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

#include "core/library/pipeline_lock.h"
#include "core/model/capture.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class WorkLoop {
 public:
  // Carries one capture as far as it can go now and records each stage in
  // the store. It must not throw: a failure is recorded on the capture with
  // a retry time, which keeps it out of the next batch.
  using Step = std::function<void(const Capture&)>;
  // What a drain does last, after its captures, still holding the library's
  // pipeline: the work that belongs to no one capture. It must not throw.
  using Finish = std::function<void()>;

  static constexpr std::int64_t kBatchSize = 20;

  // What a drain does when another process's pipeline is working on the
  // library: waits for it to finish, or leaves the captures to it.
  enum class WhenOthersWork { wait, leave };

  // Starts the thread, idle. `store` must outlive the loop; `finish` may be
  // empty.
  WorkLoop(LibraryStore& store, Step step, Finish finish = nullptr);
  // Stops after the capture in hand (its recorded stages stay) and releases
  // every work() still waiting.
  ~WorkLoop();
  WorkLoop(const WorkLoop&) = delete;
  WorkLoop& operator=(const WorkLoop&) = delete;

  // Returns once nothing pending can be done now: every capture not
  // organized that was due has been taken up once, and waits for its retry
  // time or is done. A capture whose retry falls due during the drain waits
  // for the next one, so a drain ends even when every call fails slowly. A
  // call made while a drain runs is answered by it when the drain looks for
  // pending captures again after the call, as it does until it finds none
  // left; only a call that comes after its last look waits for a drain of
  // its own. A capture kept meanwhile is so taken up by the running drain,
  // and one it has already taken isn't taken again for the sake of the call:
  // a process that keeps and then works ends after one pass. A failure to
  // read the pending captures ends the
  // drain silently; the next ask tries again. Only one process's drain runs
  // on a library at a time (PipelineLock).
  void work();
  // Asks for the same without waiting for it.
  void startWork();

  // Leave, unless told to wait. Applies from the next drain.
  void setWhenOthersWork(WhenOthersWork choice);
  // Whether another process's pipeline is working on the library now.
  bool othersWork();

 private:
  void run();
  // Gives the number of asks it answers: those made before its last look
  // for pending captures.
  std::uint64_t drain();
  bool stopping();

  LibraryStore& m_store;
  const Step m_step;
  const Finish m_finish;

  PipelineLock m_lock;  // taken and released by the loop's thread
  std::mutex m_lockMutex;
  bool m_holding = false;  // guarded by m_lockMutex: whether m_lock is held

  std::mutex m_mutex;
  WhenOthersWork m_whenOthersWork = WhenOthersWork::leave;  // guarded by m_mutex
  std::uint64_t m_requested = 0;                            // guarded by m_mutex: asks so far
  std::uint64_t m_served = 0;          // guarded by m_mutex: asks a finished drain answered
  bool m_stopping = false;             // guarded by m_mutex
  std::condition_variable m_wake;      // the loop's thread waits here for asks
  std::condition_variable m_answered;  // work() waits here for its ask to be served
  std::thread m_thread;                // last, so it starts after everything it uses
};

}  // namespace brindlemoor
