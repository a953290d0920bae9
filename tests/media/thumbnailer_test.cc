#include "core/media/thumbnailer.h"

#include <gtest/gtest.h>

#include <vips/vips8>

#include "tests/testing/media_files.h"

namespace brindlemoor {
namespace {

using vips::VImage;

// The tests draw their pictures before any call of Thumbnailer starts libvips.
class Vips : public ::testing::Environment {
 public:
  void SetUp() override { ASSERT_EQ(VIPS_INIT("thumbnailer_test"), 0); }
};
const ::testing::Environment* const kVips = ::testing::AddGlobalTestEnvironment(new Vips);

VImage filled(int width, int height, std::vector<double> colour) {
  return VImage::black(width, height)
      .new_from_image(colour)
      .copy(VImage::option()->set("interpretation", colour.size() >= 3 ? VIPS_INTERPRETATION_sRGB
                                                                       : VIPS_INTERPRETATION_B_W));
}

// Red on the left half, blue on the right.
VImage halves(int width, int height) {
  return filled(width / 2, height, {255, 0, 0})
      .join(filled(width - width / 2, height, {0, 0, 255}), VIPS_DIRECTION_HORIZONTAL);
}

Bytes encoded(const VImage& image, const char* suffix, vips::VOption* options = nullptr) {
  void* buffer = nullptr;
  std::size_t size = 0;
  image.write_to_buffer(suffix, &buffer, &size, options);
  Bytes bytes(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size);
  g_free(buffer);
  return bytes;
}

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
  const VImage picture = filled(30, 20, {10, 200, 30, 77});
  const std::optional<Bytes> png = Thumbnailer::png(picture);
  ASSERT_TRUE(png);
  const VImage back = decoded(*png);
  EXPECT_EQ(back.width(), 30);
  EXPECT_EQ(back.height(), 20);
  EXPECT_EQ(back.getpoint(29, 19), (std::vector<double>{10, 200, 30, 77}));
}

TEST(ThumbnailerJpeg, LaysTransparencyOnWhite) {
  const std::optional<Bytes> jpeg = Thumbnailer::jpeg(filled(16, 16, {0, 0, 0, 0}), 0.9);
  ASSERT_TRUE(jpeg);
  const VImage back = decoded(*jpeg);
  EXPECT_EQ(back.bands(), 3);
  expectColour(back, 8, 8, {255, 255, 255});
}

TEST(ThumbnailerJpeg, EncodesGreyAndSixteenBitPicturesAsColour) {
  const VImage grey = filled(16, 16, {128});
  const VImage deep =
      (VImage::black(16, 16, VImage::option()->set("bands", 3)) + std::vector<double>{65535, 0, 0})
          .cast(VIPS_FORMAT_USHORT)
          .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
  const std::optional<Bytes> fromGrey = Thumbnailer::jpeg(grey, 0.9);
  const std::optional<Bytes> fromDeep = Thumbnailer::jpeg(deep, 0.9);
  ASSERT_TRUE(fromGrey);
  ASSERT_TRUE(fromDeep);
  expectColour(decoded(*fromGrey), 8, 8, {128, 128, 128});
  expectColour(decoded(*fromDeep), 8, 8, {255, 0, 0});
}

TEST(ThumbnailerJpeg, QualityFromZeroToOneSpansLibvipsScale) {
  const VImage noise = VImage::bandjoin(std::vector<VImage>{VImage::gaussnoise(200, 200),
                                                            VImage::gaussnoise(200, 200),
                                                            VImage::gaussnoise(200, 200)})
                           .cast(VIPS_FORMAT_UCHAR)
                           .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
                           .copy_memory();
  const std::optional<Bytes> lowest = Thumbnailer::jpeg(noise, 0);
  const std::optional<Bytes> middle = Thumbnailer::jpeg(noise, 0.5);
  const std::optional<Bytes> highest = Thumbnailer::jpeg(noise, 1);
  ASSERT_TRUE(lowest && middle && highest);
  EXPECT_LT(lowest->size(), middle->size());
  EXPECT_LT(middle->size(), highest->size());
  // Quality 1 is libvips's 100, not the 1 a raw value would give.
  EXPECT_EQ(*highest, encoded(noise, ".jpg", VImage::option()->set("Q", 100)->set("strip", true)));
}

TEST(ThumbnailerJpegFromBytes, ScalesTheLongestSideDownAndNeverUp) {
  const std::optional<Bytes> wide =
      Thumbnailer::jpeg(encoded(halves(1000, 500), ".png"), 720, 0.82);
  const std::optional<Bytes> tall =
      Thumbnailer::jpeg(encoded(halves(300, 1200), ".jpg"), 720, 0.82);
  const std::optional<Bytes> small =
      Thumbnailer::jpeg(encoded(halves(300, 200), ".webp"), 720, 0.82);
  ASSERT_TRUE(wide && tall && small);
  EXPECT_EQ(decoded(*wide).width(), 720);
  EXPECT_EQ(decoded(*wide).height(), 360);
  EXPECT_EQ(decoded(*tall).width(), 180);
  EXPECT_EQ(decoded(*tall).height(), 720);
  EXPECT_EQ(decoded(*small).width(), 300);
  EXPECT_EQ(decoded(*small).height(), 200);
}

TEST(ThumbnailerJpegFromBytes, TurnsThePictureUprightByItsOrientation) {
  // Orientation 6: the stored picture is shown turned a quarter clockwise,
  // so its left half, red, ends on top.
  VImage stored = halves(400, 200).copy();
  stored.set("orientation", 6);
  const std::optional<Bytes> jpeg = Thumbnailer::jpeg(encoded(stored, ".jpg"), 720, 0.82);
  ASSERT_TRUE(jpeg);
  const VImage upright = decoded(*jpeg);
  EXPECT_EQ(upright.width(), 200);
  EXPECT_EQ(upright.height(), 400);
  expectColour(upright, 100, 50, {255, 0, 0});
  expectColour(upright, 100, 350, {0, 0, 255});
}

TEST(ThumbnailerJpegFromBytes, GivesNothingForWhatIsNoPictureItCanDecode) {
  const Bytes jpeg = encoded(halves(400, 300), ".jpg");
  const Bytes cut(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2));
  const std::string text = "not a picture at all";
  const std::string svg = "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'/>";
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes(text.begin(), text.end()), 720, 0.82));
  // Only loaders that libvips trusts read bytes from the web.
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes(svg.begin(), svg.end()), 720, 0.82));
  EXPECT_FALSE(Thumbnailer::jpeg(Bytes{}, 720, 0.82));
  EXPECT_FALSE(Thumbnailer::jpeg(cut, 720, 0.82));
  EXPECT_FALSE(Thumbnailer::jpeg(jpeg, 0, 0.82));
}

TEST(ThumbnailerJpegFromBytes, RefusesAPictureTooLargeToDecodeFromItsHeader) {
  EXPECT_FALSE(Thumbnailer::jpeg(testing::blackPng(50'000, 50'000), 720, 0.82));
  // A large picture under the limit is decoded.
  EXPECT_TRUE(Thumbnailer::jpeg(testing::blackPng(4000, 4000), 720, 0.82));
}

}  // namespace
}  // namespace brindlemoor
