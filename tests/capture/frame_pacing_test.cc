#include "core/capture/frame_pacing.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

// The frames each grab fills: -1 for a dropped grab, else its repeats and itself.
std::vector<std::int64_t> filled(const std::vector<std::int64_t>& grabMillis) {
  FramePacing pacing(30);
  std::vector<std::int64_t> result;
  for (const std::int64_t millis : grabMillis) {
    const auto placement = pacing.place(1'700'000'000'000'000 + millis * 1000);
    result.push_back(placement ? placement->repeats + 1 : -1);
    if (placement) {
      EXPECT_EQ(placement->frame + 1, pacing.frames());
    }
  }
  return result;
}

TEST(FramePacing, GrabsBecomeFramesAtAConstantRate) {
  // On time, and a little early or late, each grab is one frame.
  EXPECT_EQ(filled({0, 33, 67, 98, 135}), (std::vector<std::int64_t>{1, 1, 1, 1, 1}));
  // A grab that lands on a frame already written is dropped.
  EXPECT_EQ(filled({0, 10, 33, 40}), (std::vector<std::int64_t>{1, -1, 1, -1}));
  // A stall of 200 ms: the grab after it fills the 5 frames missed and its own.
  EXPECT_EQ(filled({0, 33, 233}), (std::vector<std::int64_t>{1, 1, 6}));
}

TEST(FramePacing, FiveSecondsOfUnevenGrabsAreOneHundredAndFiftyFrames) {
  FramePacing pacing(30);
  const std::int64_t start = 5'000'000;
  for (std::int64_t micros = 0; micros < 4'950'000; micros += (micros / 1000) % 3 ? 29'000 : 41'000)
    pacing.place(start + micros);
  pacing.place(start + 4'983'000);
  EXPECT_EQ(pacing.frames(), 150);
}

}  // namespace
}  // namespace brindlemoor
