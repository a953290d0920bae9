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

// A WorkLoop whose step the test gives, recording the captures handed to it
// in order (read only once no drain runs) and whether two were in it at once.
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
  // Files the capture as the last stage does, or fails it as a daemon down does.
  void organize(const Capture& capture) { m_store.setCollection(capture.id, std::nullopt); }
  void fail(const Capture& capture, int retry = 0) {
    m_store.recordFailure(capture.id, "Ollama is not running", retry, now());
  }
  void keep(int from, int to) {
    for (int n = from; n <= to; ++n) m_store.insert(sampleCapture(n, n));
  }

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
    capture.id == sampleID(2) ? fail(capture, 60) : organize(capture);
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
  keep(1, 30);
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

TEST_F(WorkLoopTest, DestroyingTheLoopStopsAfterTheCaptureInHand) {
  std::atomic<bool> inStep = false;
  start([&](const Capture& capture) {
    inStep = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    organize(capture);
  });
  keep(1, 5);
  m_loop->startWork();
  while (!inStep) std::this_thread::yield();
  m_loop.reset();
  EXPECT_LT(m_seen.size(), 5u);
  EXPECT_EQ(m_store.pending(now(), 20).size(), 5u - m_seen.size());
}

// Each call fails slowly enough for its retry to fall due before the next: a
// drain that took them up again would never end.
TEST_F(WorkLoopTest, ADrainTakesEachCaptureOnceThoughItsRetryFallsDueMeanwhile) {
  keep(0, 24);
  start([&](const Capture& capture) {
    m_seen.size() > 200 ? organize(capture) : fail(capture);  // the fault, bounded
  });
  m_loop->work();
  EXPECT_EQ(m_seen.size(), 25u);
  m_loop->work();
  EXPECT_EQ(m_seen.size(), 50u) << "the next drain tries them again";
}

// A process keeping captures while a drain is busy must not be held for a
// second pass: with a daemon that never answers, each costs every timeout.
TEST_F(WorkLoopTest, AsksMadeDuringADrainAreAnsweredByIt) {
  std::atomic<bool> inStep = false, asked = false;
  std::atomic<int> steps = 0;
  start([&](const Capture& capture) {
    inStep = true;
    while (!asked) std::this_thread::yield();
    fail(capture);
    ++steps;
  });
  keep(1, 1);
  m_loop->startWork();
  while (!inStep) std::this_thread::yield();
  keep(2, 2);
  m_loop->startWork();
  asked = true;
  while (steps < 2) std::this_thread::yield();
  // Time enough for a second drain to take them up again, were there one.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  m_loop.reset();
  EXPECT_EQ(m_seen, (std::vector{sampleID(1), sampleID(2)}));
}

TEST_F(WorkLoopTest, AnotherProcesssDrainIsLeftAloneOrWaitedFor) {
  keep(1, 1);
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
