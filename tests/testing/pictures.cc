#include "tests/testing/pictures.h"

#include <vips/vips8>

namespace brindlemoor::testing {

Bytes textPicture(const std::string& text) {
  using vips::VImage;
  // The text comes as a mask of ink, 255 where it is darkest.
  const VImage ink =
      VImage::text(text.c_str(), VImage::option()->set("font", "sans 20")->set("dpi", 96));
  const VImage page = (255 - ink)
                          .embed(40, 40, ink.width() + 80, ink.height() + 80,
                                 VImage::option()->set("extend", "white"))
                          .cast(VIPS_FORMAT_UCHAR);
  void* data = nullptr;
  size_t size = 0;
  page.write_to_buffer(".png", &data, &size);
  Bytes bytes(static_cast<const std::uint8_t*>(data),
              static_cast<const std::uint8_t*>(data) + size);
  g_free(data);
  return bytes;
}

}  // namespace brindlemoor::testing
