#include "core/capture/sound_level.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

TEST(SoundLevel, DecibelsFromMinusFiftyToZeroFillTheBar) {
  EXPECT_EQ(soundLevel({}), 0);
  EXPECT_EQ(soundLevel(std::vector<float>(512, 0.0f)), 0);
  EXPECT_FLOAT_EQ(soundLevel(std::vector<float>(512, 1.0f)), 1);
  EXPECT_FLOAT_EQ(soundLevel(std::vector<float>(512, -2.0f)), 1);  // beyond full scale
  // An rms of 0.1 is -20 dB, whatever the signs.
  EXPECT_NEAR(soundLevel(std::vector<float>{0.1f, -0.1f, 0.1f, -0.1f}), 0.6, 1e-6);
  EXPECT_EQ(soundLevel(std::vector<float>(512, 0.003f)), 0);  // -50.5 dB
}

}  // namespace
}  // namespace brindlemoor
