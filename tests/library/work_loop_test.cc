#include "core/library/work_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

// Runs a WorkLoop whose step is given by the test, and records which
// captures the drain handed to it, in order, and whether two were in the
// step at once. The test reads m_seen only once no drain runs.
class WorkLoopTest : public ::testing::Test {
 protected:
  void start(std::function<void(const Capture&)> step) {
    m_loop = std::make_unique<WorkLoop>(m_store, [this, step](const Capture& capture) {
      m_overlapped = m_overlapped || ++m_running > 1;
      m_seen.push_back(capture.id);
      step(capture);
      --m_running;
    });
  }
  // Files the capture as the last stage does.
  void organize(const Capture& capture) { m_store.setCollection(capture.id, std::nullopt); }

  testing::TempDir m_dir;
  LibraryStore m_store{m_dir.path()};
  std::vector<std::string> m_seen;
  std::atomic<int> m_running = 0;
  std::atomic<bool> m_overlapped = false;
  std::unique_ptr<WorkLoop> m_loop;  // last, so its thread stops before the rest goes
};

TEST_F(WorkLoopTest, OldestDueFirstInBatchesAndALateKeepJoinsTheNextBatch) {
  start([&](const Capture& capture) {
    // Older than everything, so the next batch takes it first.
    if (capture.id == sampleID(1)) m_store.insert(sampleCapture(999, 1));
    // A failed one waits for its retry time: the drain doesn't take it again.
    if (capture.id == sampleID(2)) {
      m_store.recordFailure(capture.id, "Ollama is not running", 60, now());
    } else {
      organize(capture);
    }
  });
  for (int n = 45; n >= 1; --n) m_store.insert(sampleCapture(n, 100 + n));
  m_loop->work();

  std::vector<std::string> expected;
  for (int n = 1; n <= 45; ++n) expected.push_back(sampleID(n));
  expected.insert(expected.begin() + 20, sampleID(999));
  EXPECT_EQ(m_seen, expected);
}

TEST_F(WorkLoopTest, ConcurrentWorkCallsShareOneDrainAndEachReturnsAfterIt) {
  start([&](const Capture& capture) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    organize(capture);
  });
  for (int n = 1; n <= 30; ++n) m_store.insert(sampleCapture(n, n));
  std::atomic<int> returnedEarly = 0;
  std::vector<std::thread> callers;
  for (int i = 0; i < 10; ++i) {
    callers.emplace_back([&] {
      m_loop->work();
      returnedEarly += !m_store.pending(now(), 1).empty();
    });
  }
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(m_seen.size(), 30u) << "each capture advanced exactly once";
  EXPECT_TRUE(std::is_sorted(m_seen.begin(), m_seen.end()));
  EXPECT_FALSE(m_overlapped) << "two captures were in the step at once";
  EXPECT_EQ(returnedEarly, 0);
}

TEST_F(WorkLoopTest, DestroyingTheLibraryReleasesWaiters) {
  std::atomic<bool> inStep = false;
  start([&](const Capture& capture) {
    inStep = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    organize(capture);
  });
  for (int n = 1; n <= 5; ++n) m_store.insert(sampleCapture(n, n));
  m_loop->startWork();
  while (!inStep) std::this_thread::yield();
  m_loop.reset();
  EXPECT_LT(m_seen.size(), 5u) << "it stopped after the capture in hand";
  EXPECT_EQ(m_store.pending(now(), 20).size(), 5u - m_seen.size());
}

TEST_F(WorkLoopTest, ADrainTakesEachCaptureOnceThoughItsRetryFallsDueMeanwhile) {
  for (int n = 0; n < 25; ++n) m_store.insert(sampleCapture(n, n));
  // Every call fails slowly enough for its retry to be due before the next:
  // a drain that took them up again would never end.
  start([&](const Capture& capture) {
    if (m_seen.size() > 200) return organize(capture);  // the fault, bounded
    m_store.recordFailure(capture.id, "Ollama is not running", 0, now());
  });
  m_loop->work();
  EXPECT_EQ(m_seen.size(), 25u);
  m_loop->work();
  EXPECT_EQ(m_seen.size(), 50u) << "the next drain tries them again";
}

// A process that keeps captures (each asks for work) while a drain is busy
// must not be held for a second pass over captures the drain already took:
// with a daemon that never answers, each pass costs every capture its whole
// timeout.
TEST_F(WorkLoopTest, AsksMadeDuringADrainAreAnsweredByIt) {
  std::atomic<bool> inStep = false;
  std::atomic<bool> asked = false;
  std::atomic<int> steps = 0;
  start([&](const Capture& capture) {
    inStep = true;
    while (!asked) std::this_thread::yield();
    m_store.recordFailure(capture.id, "Ollama is not running", 0, now());
    ++steps;
  });
  m_store.insert(sampleCapture(1, 1));
  m_loop->startWork();
  while (!inStep) std::this_thread::yield();
  m_store.insert(sampleCapture(2, 2));
  m_loop->startWork();
  asked = true;
  while (steps < 2) std::this_thread::yield();
  // Time enough for a second drain to take them up again, were there one.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  m_loop.reset();
  EXPECT_EQ(m_seen, (std::vector{sampleID(1), sampleID(2)}));
}

TEST_F(WorkLoopTest, AnotherProcesssDrainIsLeftAloneOrWaitedFor) {
  m_store.insert(sampleCapture(1, 1));
  start([&](const Capture& capture) { organize(capture); });
  PipelineLock others(m_dir.path());
  ASSERT_TRUE(others.tryTake());
  EXPECT_TRUE(m_loop->othersWork());
  m_loop->work();
  EXPECT_TRUE(m_seen.empty()) << "left to the other process";

  m_loop->setWhenOthersWork(WorkLoop::WhenOthersWork::wait);
  std::thread release([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    others.release();
  });
  m_loop->work();
  release.join();
  EXPECT_EQ(m_seen.size(), 1u) << "done once the other let go";
  EXPECT_FALSE(m_loop->othersWork());
}

}  // namespace
}  // namespace brindlemoor
