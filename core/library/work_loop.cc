#include "core/library/work_loop.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace brindlemoor {

WorkLoop::WorkLoop(LibraryStore& store, Step step, Finish finish)
    : m_store(store),
      m_step(std::move(step)),
      m_finish(std::move(finish)),
      m_lock(store.root()),
      m_thread([this] { run(); }) {}

WorkLoop::~WorkLoop() {
  {
    std::lock_guard lock(m_mutex);
    m_stopping = true;
  }
  m_wake.notify_all();
  m_thread.join();
}

void WorkLoop::work() {
  std::unique_lock lock(m_mutex);
  const std::uint64_t ask = ++m_requested;
  m_wake.notify_all();
  m_answered.wait(lock, [&] { return m_served >= ask || m_stopping; });
}

void WorkLoop::startWork() {
  {
    std::lock_guard lock(m_mutex);
    ++m_requested;
  }
  m_wake.notify_all();
}

bool WorkLoop::stopping() {
  std::lock_guard lock(m_mutex);
  return m_stopping;
}

void WorkLoop::run() {
  std::unique_lock lock(m_mutex);
  while (true) {
    m_wake.wait(lock, [&] { return m_stopping || m_requested > m_served; });
    if (m_stopping) break;
    lock.unlock();
    const std::uint64_t answered = drain();
    lock.lock();
    m_served = std::max(m_served, answered);
    m_answered.notify_all();
  }
  m_answered.notify_all();
}

void WorkLoop::setWhenOthersWork(WhenOthersWork choice) {
  std::lock_guard lock(m_mutex);
  m_whenOthersWork = choice;
}

bool WorkLoop::othersWork() {
  std::lock_guard lock(m_lockMutex);
  if (m_holding) return false;  // this loop's own drain holds it
  PipelineLock probe(m_store.root());
  if (!probe.tryTake()) return true;
  probe.release();
  return false;
}

std::uint64_t WorkLoop::drain() {
  // Every ask made before a look for pending captures is answered by what
  // that look finds.
  const auto asksNow = [this] {
    std::lock_guard lock(m_mutex);
    return m_requested;
  };
  std::uint64_t answered = asksNow();
  bool held;
  {
    std::lock_guard lock(m_lockMutex);
    held = m_holding = m_lock.tryTake();
  }
  if (!held) {
    WhenOthersWork choice;
    {
      std::lock_guard lock(m_mutex);
      choice = m_whenOthersWork;
    }
    if (choice == WhenOthersWork::leave) return answered;
    m_lock.take();
    std::lock_guard lock(m_lockMutex);
    m_holding = true;
  }
  std::unordered_set<std::string> taken;
  while (!stopping()) {
    std::vector<Capture> batch;
    answered = asksNow();
    try {
      // Enough to find a batch of captures not yet taken in this drain.
      batch = m_store.pending(now(), kBatchSize + static_cast<std::int64_t>(taken.size()));
    } catch (const Database::Failure&) {
      break;  // dropped on purpose: the next ask tries again
    }
    std::erase_if(batch, [&](const Capture& capture) { return taken.contains(capture.id); });
    if (batch.empty()) break;
    if (batch.size() > static_cast<std::size_t>(kBatchSize)) batch.resize(kBatchSize);
    for (const Capture& capture : batch) {
      if (stopping()) break;
      taken.insert(capture.id);
      m_step(capture);
    }
  }
  if (m_finish && !stopping()) m_finish();
  std::lock_guard lock(m_lockMutex);
  m_lock.release();
  m_holding = false;
  return answered;
}

}  // namespace brindlemoor
