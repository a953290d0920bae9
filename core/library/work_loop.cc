#include "core/library/work_loop.h"

#include <vector>

namespace brindlemoor {

WorkLoop::WorkLoop(LibraryStore& store, Step step)
    : m_store(store), m_step(std::move(step)), m_thread([this] { run(); }) {}

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
    // Every ask made until now is answered by this drain; an ask made while it
    // runs gets a drain of its own, which looks at the captures again.
    const std::uint64_t asks = m_requested;
    lock.unlock();
    drain();
    lock.lock();
    m_served = asks;
    m_answered.notify_all();
  }
  m_answered.notify_all();
}

void WorkLoop::drain() {
  while (!stopping()) {
    std::vector<Capture> batch;
    try {
      batch = m_store.pending(now(), kBatchSize);
    } catch (const Database::Failure&) {
      return;  // dropped on purpose: the next ask tries again
    }
    if (batch.empty()) return;
    for (const Capture& capture : batch) {
      if (stopping()) return;
      m_step(capture);
    }
  }
}

}  // namespace brindlemoor
