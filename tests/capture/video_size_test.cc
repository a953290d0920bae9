#include "core/capture/video_size.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(VideoSize, PointsTimesTheScaleCutToWholeEvenPixels) {
  EXPECT_EQ(videoSize({5, 7, 101, 57}, 2), (VideoSize{202, 114}));
  EXPECT_EQ(videoSize({0, 0, 101, 57}, 1.5), (VideoSize{150, 84}));
  EXPECT_EQ(videoSize({0, 0, 1, 1}, 1), (VideoSize{0, 0}));
}

}  // namespace
}  // namespace brindlemoor
