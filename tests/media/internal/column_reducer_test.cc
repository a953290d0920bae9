#include "core/media/internal/column_reducer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>
#include <vips/vips8>

// After vips8, which declares what it needs.
#include <vips/vector.h>

#include "core/media/internal/pictures.h"

namespace brindlemoor {
namespace {

using vips::VImage;

using Rows = std::vector<std::vector<std::uint8_t>>;

// The rows given to a ColumnReducer in order, as the picture is decoded.
Rows reduced(const Rows& in, int to) {
  ColumnReducer columns(static_cast<int>(in.size()), to, in.front().size());
  Rows out;
  int next = 0;
  for (int y = 0; y < to; ++y) {
    for (; next <= columns.lastRowFor(y); ++next) columns.add(in[next].data());
    const std::uint8_t* row = columns.reduce(y);
    out.emplace_back(row, row + in.front().size());
  }
  return out;
}

TEST(ColumnReducer, KeepsAFlatColourExactlyAndWeighsAsTheLinearKernelOfLibvips) {
  for (const auto& [from, to] : {std::pair{3000, 1920}, {1920, 540}, {7, 3}, {9, 9}, {2, 1}}) {
    // 37 samples: two full blocks of sixteen and a part.
    std::vector<std::uint8_t> row(37);
    for (std::size_t i = 0; i < row.size(); ++i) row[i] = static_cast<std::uint8_t>(i * 7);
    for (const auto& out : reduced(Rows(static_cast<std::size_t>(from), row), to)) {
      ASSERT_EQ(out, row) << from << " to " << to;
    }
  }
  // libvips' plain path is the reference: its vector path rounds weights coarser.
  Pictures::start();
  vips_vector_set_enabled(FALSE);
  // Noise, where a centre out of place or a wrong weight shows.
  const VImage column =
      VImage::gaussnoise(40, 3000, VImage::option()->set("sigma", 30.0)->set("seed", 7))
          .cast(VIPS_FORMAT_UCHAR)
          .copy_memory();
  const auto* pixels = static_cast<const std::uint8_t*>(column.data());
  Rows in;
  for (int y = 0; y < column.height(); ++y) in.emplace_back(pixels + y * 40, pixels + y * 40 + 40);
  for (const int to : {1920, 540, 1001}) {
    const VImage expected =
        column.reducev(3000.0 / to, VImage::option()->set("kernel", VIPS_KERNEL_LINEAR))
            .copy_memory();
    ASSERT_EQ(expected.height(), to);
    const auto* wanted = static_cast<const std::uint8_t*>(expected.data());
    const Rows out = reduced(in, to);
    for (int y = 0; y < to; ++y) {
      for (int x = 0; x < 40; ++x) {
        ASSERT_NEAR(out[y][x], wanted[y * 40 + x], 1) << "at " << x << "," << y << " to " << to;
      }
    }
  }
}

}  // namespace
}  // namespace brindlemoor
