#include "core/media/thumbnailer.h"

#include <gtest/gtest.h>

#include <vips/vips8>

#include "tests/testing/media_files.h"
#include "tests/testing/pictures.h"

namespace brindlemoor {
namespace {

using testing::encoded;
using testing::filled;
using testing::halves;
using vips::VImage;

VImage decoded(const std::optional<Bytes>& bytes) {
  if (!bytes) throw std::runtime_error("no picture");
  return VImage::new_from_buffer(bytes->data(), bytes->size(), "").copy_memory();
}

void expectColour(const VImage& image, int x, int y, std::vector<double> colour) {
  const std::vector<double> pixel = image.getpoint(x, y);
  ASSERT_GE(pixel.size(), colour.size());
  for (std::size_t band = 0; band < colour.size(); ++band) {
    EXPECT_NEAR(pixel[band], colour[band], 12) << "band " << band << " at " << x << "," << y;
  }
}

TEST(Thumbnailer, PngKeepsEveryPixelAndJpegGivesColourOnWhiteWhateverTheBandsAndDepth) {
  EXPECT_EQ(decoded(Thumbnailer::png(filled(30, 20, {10, 200, 30, 77}))).getpoint(29, 19),
            (std::vector<double>{10, 200, 30, 77}));
  const VImage deep =
      (VImage::black(16, 16, VImage::option()->set("bands", 3)) + std::vector<double>{65535, 0, 0})
          .cast(VIPS_FORMAT_USHORT)
          .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
  expectColour(decoded(Thumbnailer::jpeg(filled(16, 16, {0, 0, 0, 0}), 0.9)), 8, 8,
               {255, 255, 255});
  expectColour(decoded(Thumbnailer::jpeg(filled(16, 16, {128}), 0.9)), 8, 8, {128, 128, 128});
  expectColour(decoded(Thumbnailer::jpeg(deep, 0.9)), 8, 8, {255, 0, 0});
  // Quality 1 is libvips' 100, not the 1 that passing it straight on gives.
  EXPECT_EQ(Thumbnailer::jpeg(halves(64, 48), 1),
            encoded(halves(64, 48), ".jpg", VImage::option()->set("Q", 100)->set("strip", true)));
}

TEST(ThumbnailerJpegFromBytes, ScalesTheLongestSideDownNeverUpAndRefusesWhatItMayNotDecode) {
  const VImage tall = decoded(Thumbnailer::jpeg(encoded(halves(300, 1200), ".jpg"), 720, 0.82));
  EXPECT_EQ(tall.width(), 180);
  EXPECT_EQ(tall.height(), 720);
  EXPECT_EQ(decoded(Thumbnailer::jpeg(encoded(halves(300, 200), ".webp"), 720, 0.82)).width(), 300);

  const Bytes jpeg = encoded(halves(400, 300), ".jpg");
  const std::string svg = "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'/>";
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes{}, 720, 0.82));
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes(jpeg.begin(), jpeg.begin() + jpeg.size() / 2), 720, 0.82));
  // Only loaders that libvips trusts read bytes from the web.
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes(svg.begin(), svg.end()), 720, 0.82));
  // Refused from its header; a large picture under the limit is decoded.
  EXPECT_FALSE(Thumbnailer::jpeg(testing::blackPng(50'000, 50'000), 720, 0.82));
  EXPECT_TRUE(Thumbnailer::jpeg(testing::blackPng(4000, 4000), 720, 0.82));
}

}  // namespace
}  // namespace brindlemoor
