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

VImage decoded(const Bytes& bytes) {
  return VImage::new_from_buffer(bytes.data(), bytes.size(), "").copy_memory();
}

void expectColour(const VImage& image, int x, int y, std::vector<double> colour) {
  const std::vector<double> pixel = image.getpoint(x, y);
  ASSERT_GE(pixel.size(), colour.size());
  for (std::size_t band = 0; band < colour.size(); ++band) {
    EXPECT_NEAR(pixel[band], colour[band], 12) << "band " << band << " at " << x << "," << y;
  }
}

TEST(ThumbnailerPng, KeepsEveryPixelAndTheTransparency) {
  const std::optional<Bytes> png = Thumbnailer::png(filled(30, 20, {10, 200, 30, 77}));
  ASSERT_TRUE(png);
  const VImage back = decoded(*png);
  EXPECT_EQ(back.getpoint(29, 19), (std::vector<double>{10, 200, 30, 77}));
}

TEST(ThumbnailerJpeg, GivesColourOnWhiteWhateverThePicturesBandsAndDepth) {
  const VImage deep =
      (VImage::black(16, 16, VImage::option()->set("bands", 3)) + std::vector<double>{65535, 0, 0})
          .cast(VIPS_FORMAT_USHORT)
          .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
  const std::optional<Bytes> clear = Thumbnailer::jpeg(filled(16, 16, {0, 0, 0, 0}), 0.9);
  const std::optional<Bytes> grey = Thumbnailer::jpeg(filled(16, 16, {128}), 0.9);
  const std::optional<Bytes> fromDeep = Thumbnailer::jpeg(deep, 0.9);
  ASSERT_TRUE(clear && grey && fromDeep);
  expectColour(decoded(*clear), 8, 8, {255, 255, 255});
  expectColour(decoded(*grey), 8, 8, {128, 128, 128});
  expectColour(decoded(*fromDeep), 8, 8, {255, 0, 0});
}

TEST(ThumbnailerJpeg, QualityOneIsTheHighestOfLibvips) {
  // Not the 1 of 100 that passing the value straight on would give.
  EXPECT_EQ(Thumbnailer::jpeg(halves(64, 48), 1),
            encoded(halves(64, 48), ".jpg", VImage::option()->set("Q", 100)->set("strip", true)));
}

TEST(ThumbnailerJpegFromBytes, ScalesTheLongestSideDownAndNeverUp) {
  const std::optional<Bytes> tall =
      Thumbnailer::jpeg(encoded(halves(300, 1200), ".jpg"), 720, 0.82);
  const std::optional<Bytes> small =
      Thumbnailer::jpeg(encoded(halves(300, 200), ".webp"), 720, 0.82);
  ASSERT_TRUE(tall && small);
  EXPECT_EQ(decoded(*tall).width(), 180);
  EXPECT_EQ(decoded(*tall).height(), 720);
  EXPECT_EQ(decoded(*small).width(), 300);
}

TEST(ThumbnailerJpegFromBytes, GivesNothingForWhatIsNoPictureItMayDecode) {
  const Bytes jpeg = encoded(halves(400, 300), ".jpg");
  const Bytes cut(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2));
  const std::string svg = "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'/>";
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes{}, 720, 0.82));
  EXPECT_FALSE(Thumbnailer::jpeg(cut, 720, 0.82));
  // Only loaders that libvips trusts read bytes from the web.
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes(svg.begin(), svg.end()), 720, 0.82));
  // Refused from its header; a large picture under the limit is decoded.
  EXPECT_FALSE(Thumbnailer::jpeg(testing::blackPng(50'000, 50'000), 720, 0.82));
  EXPECT_TRUE(Thumbnailer::jpeg(testing::blackPng(4000, 4000), 720, 0.82));
}

}  // namespace
}  // namespace brindlemoor
