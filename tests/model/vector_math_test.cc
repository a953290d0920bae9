#include "core/model/vector_math.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

using Vector = std::vector<float>;

TEST(VectorMath, DotSumsAroundTheSimdBlockAndUnitAndCentroidLeaveZeroVectorsAlone) {
  EXPECT_EQ(VectorMath::dot(Vector{1, 2, 3}, Vector{1, 2, 3, 4}), 0.0f);
  // Lengths on both sides of the 16-wide block check the remainder loop.
  for (std::size_t n : {3u, 16u, 17u, 1025u}) {
    Vector a(n), b(n);
    double expected = 0;
    for (std::size_t i = 0; i < n; ++i) {
      a[i] = static_cast<float>(i % 7) - 3.0f;
      b[i] = 0.5f + static_cast<float>(i % 5);
      expected += static_cast<double>(a[i]) * b[i];
    }
    EXPECT_NEAR(VectorMath::dot(a, b), expected, 1e-3) << "length " << n;
  }
  EXPECT_EQ(VectorMath::unit(Vector{3, 4}), (Vector{0.6f, 0.8f}));
  EXPECT_EQ(VectorMath::unit(Vector{0, 0, 0}), (Vector{0, 0, 0}));
  // The centroid is the unit sum of the vectors of the first's length.
  EXPECT_EQ(VectorMath::centroid(std::vector<Vector>{}), std::nullopt);
  EXPECT_EQ(VectorMath::centroid(std::vector<Vector>{{3, 0}, {0, 1, 0}, {0, 4}, {}}),
            (Vector{0.6f, 0.8f}));
  EXPECT_EQ(VectorMath::centroid(std::vector<Vector>{{1, 0}, {-1, 0}}), (Vector{0, 0}));
}

}  // namespace
}  // namespace brindlemoor
