#include "core/media/internal/row_reducer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>
#include <vips/vips8>

namespace brindlemoor {
namespace {

using vips::VImage;

using Row = std::vector<std::uint8_t>;

Row reduced(const Row& in, int from, int to, int bands) {
  Row out(static_cast<std::size_t>(to * bands));
  RowReducer(from, to, bands).reduce(in.data(), out.data());
  return out;
}

TEST(RowReducer, KeepsAFlatColourExactlyAndWeighsAsTheLinearKernelOfLibvips) {
  const std::array<std::uint8_t, 4> colour{201, 7, 255, 90};
  for (int bands = 1; bands <= 4; ++bands) {
    for (const auto& [from, to] : {std::pair{4000, 2560}, {2560, 720}, {7, 3}, {9, 9}, {2, 1}}) {
      Row in;
      for (int x = 0; x < from; ++x) in.insert(in.end(), colour.begin(), colour.begin() + bands);
      const Row out = reduced(in, from, to, bands);
      for (std::size_t i = 0; i < out.size(); ++i) {
        ASSERT_EQ(out[i], colour[i % bands]) << from << " to " << to << ", " << bands << " bands";
      }
    }
  }
  // Noise in every band, where a centre out of place or a wrong weight shows.
  std::vector<VImage> noise;
  for (int band = 0; band < 3; ++band) {
    noise.push_back(
        VImage::gaussnoise(4000, 1, VImage::option()->set("sigma", 30.0)->set("seed", band)));
  }
  const VImage row = VImage::bandjoin(noise).cast(VIPS_FORMAT_UCHAR).copy_memory();
  const auto* pixels = static_cast<const std::uint8_t*>(row.data());
  const Row in(pixels, pixels + static_cast<std::size_t>(row.width()) * 3);
  for (const int to : {2560, 720, 3999}) {
    const VImage expected =
        row.reduceh(4000.0 / to, VImage::option()->set("kernel", VIPS_KERNEL_LINEAR)).copy_memory();
    ASSERT_EQ(expected.width(), to);
    const Row out = reduced(in, 4000, to, 3);
    const auto* wanted = static_cast<const std::uint8_t*>(expected.data());
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_NEAR(out[i], wanted[i], 1) << "at byte " << i << " of 4000 to " << to;
    }
  }
}

}  // namespace
}  // namespace brindlemoor
