#include "tests/testing/pictures.h"

#include <vips/vips8>

namespace brindlemoor::testing {

using vips::VImage;

VImage filled(int width, int height, std::vector<double> colour) {
  const auto interpretation =
      colour.size() >= 3 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_B_W;
  return VImage::black(width, height)
      .new_from_image(colour)
      .copy(VImage::option()->set("interpretation", interpretation));
}

VImage halves(int width, int height) {
  return filled(width / 2, height, {255, 0, 0})
      .join(filled(width - width / 2, height, {0, 0, 255}), VIPS_DIRECTION_HORIZONTAL);
}

Bytes encoded(const VImage& image, const char* suffix, vips::VOption* options) {
  void* buffer = nullptr;
  std::size_t size = 0;
  image.write_to_buffer(suffix, &buffer, &size, options);
  Bytes bytes(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size);
  g_free(buffer);
  return bytes;
}

Bytes textPicture(const std::string& text) {
  // The text comes as a mask of ink, 255 where it is darkest.
  const VImage ink =
      VImage::text(text.c_str(), VImage::option()->set("font", "sans 20")->set("dpi", 96));
  const VImage page = (255 - ink)
                          .embed(40, 40, ink.width() + 80, ink.height() + 80,
                                 VImage::option()->set("extend", "white"))
                          .cast(VIPS_FORMAT_UCHAR);
  return encoded(page, ".png");
}

}  // namespace brindlemoor::testing
