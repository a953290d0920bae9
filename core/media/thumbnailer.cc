#include "core/media/thumbnailer.h"

#include <algorithm>
#include <cmath>

#include "core/media/internal/pictures.h"

namespace brindlemoor::Thumbnailer {
namespace {

using vips::VImage;

Bytes taken(void* buffer, std::size_t size) {
  const auto* begin = static_cast<const std::uint8_t*>(buffer);
  Bytes bytes(begin, begin + size);
  g_free(buffer);
  return bytes;
}

}  // namespace

std::optional<Bytes> png(const VImage& image) {
  try {
    Pictures::start();
    void* buffer = nullptr;
    std::size_t size = 0;
    // The "sub" filter and light compression: for a full-screen window
    // about 20 ms, where libvips's defaults take three times as long.
    image.write_to_buffer(".png", &buffer, &size,
                          VImage::option()
                              ->set("compression", 1)
                              ->set("filter", VIPS_FOREIGN_PNG_FILTER_SUB));
    return taken(buffer, size);
  } catch (const Failure&) {
    return std::nullopt;
  } catch (const vips::VError&) {
    return std::nullopt;
  }
}

std::optional<Bytes> jpeg(const VImage& image, double quality) {
  try {
    Pictures::start();
    const int q = std::clamp(static_cast<int>(std::lround(quality * 100)), 1, 100);
    void* buffer = nullptr;
    std::size_t size = 0;
    Pictures::opaqueRgb(image).write_to_buffer(".jpg", &buffer, &size,
                                               VImage::option()->set("Q", q)->set("strip", true));
    return taken(buffer, size);
  } catch (const Failure&) {
    return std::nullopt;
  } catch (const vips::VError&) {
    return std::nullopt;
  }
}

std::optional<Bytes> thumbnail(const VImage& image) {
  try {
    return jpeg(Pictures::fitted(image, kThumbnailPixels), kThumbnailQuality);
  } catch (const Failure&) {
    return std::nullopt;
  }
}

std::optional<Bytes> jpeg(const Bytes& from, int maxPixel, double quality) {
  try {
    return jpeg(Pictures::PictureSource::bytes(from).scaled(maxPixel), quality);
  } catch (const Failure&) {
    return std::nullopt;
  }
}

}  // namespace brindlemoor::Thumbnailer
