// The wide kernels must give exactly the plain loops' sums, at the extremes
// of every code and across the points where the lanes are flushed.
#include "core/search/internal/code_dot.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace brindlemoor::internal {
namespace {

TEST(CodeDot, WideKernelsSumExactlyAsThePlainLoops) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> query(-32767, 32767);
  std::uniform_int_distribution<int> byte(-128, 127);
  for (std::size_t n : {0u, 1u, 15u, 16u, 33u, 768u, 4080u, 4096u, 9001u}) {
    for (bool extreme : {false, true}) {
      std::vector<std::int16_t> q(n);
      std::vector<std::int8_t> high(n), low(n);
      for (std::size_t i = 0; i < n; ++i) {
        q[i] = static_cast<std::int16_t>(extreme ? -32767 : query(random));
        high[i] = static_cast<std::int8_t>(extreme ? -128 : byte(random));
        low[i] = static_cast<std::int8_t>(extreme ? -128 : byte(random));
      }
      const CodeSums wide = codeDot(q.data(), high.data(), low.data(), n);
      const CodeSums plain = portableCodeDot(q.data(), high.data(), low.data(), n);
      EXPECT_EQ(wide.high, plain.high) << n;
      EXPECT_EQ(wide.low, plain.low) << n;
      EXPECT_EQ(highDot(q.data(), high.data(), n), portableHighDot(q.data(), high.data(), n)) << n;
    }
  }
}

}  // namespace
}  // namespace brindlemoor::internal
