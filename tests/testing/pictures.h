// Pictures made with libvips for tests.
#pragma once

#include <string>
#include <vector>
#include <vips/vips8>

#include "core/model/bytes.h"

namespace brindlemoor::testing {

// One colour: grey for one band, sRGB for three or more.
inline vips::VImage filled(int width, int height, std::vector<double> colour) {
  const auto interpretation =
      colour.size() >= 3 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_B_W;
  return vips::VImage::black(width, height)
      .new_from_image(colour)
      .copy(vips::VImage::option()->set("interpretation", interpretation));
}

// Red on the left half, blue on the right.
inline vips::VImage halves(int width, int height) {
  return filled(width / 2, height, {255, 0, 0})
      .join(filled(width - width / 2, height, {0, 0, 255}), VIPS_DIRECTION_HORIZONTAL);
}

// `image` in the format of `suffix` (".png", ".jpg[Q=90]", ...).
inline Bytes encoded(const vips::VImage& image, const char* suffix,
                     vips::VOption* options = nullptr) {
  void* buffer = nullptr;
  std::size_t size = 0;
  image.write_to_buffer(suffix, &buffer, &size, options);
  Bytes bytes(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size);
  g_free(buffer);
  return bytes;
}

// A PNG of `text` in black on white at a screen's size, with a margin.
inline Bytes textPicture(const std::string& text) {
  // The text comes as a mask of ink, 255 where it is darkest.
  const vips::VImage ink = vips::VImage::text(
      text.c_str(), vips::VImage::option()->set("font", "sans 20")->set("dpi", 96));
  const vips::VImage page = (255 - ink)
                                .embed(40, 40, ink.width() + 80, ink.height() + 80,
                                       vips::VImage::option()->set("extend", "white"))
                                .cast(VIPS_FORMAT_UCHAR);
  return encoded(page, ".png");
}

}  // namespace brindlemoor::testing
