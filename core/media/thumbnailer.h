// Thumbnailer is the one place that encodes pictures: the PNG of a window,
// the working pictures and thumbnails of imports, the contact sheets of
// videos, and the pictures the models see. Every thumbnail has a longest
// side of kThumbnailPixels at kThumbnailQuality.
//
// Every function gives nothing on any failure and never throws. All are free
// of shared state and may be called from any thread at once.
#pragma once

#include <optional>
#include <vips/vips8>

#include "core/model/bytes.h"

namespace brindlemoor::Thumbnailer {

inline constexpr int kThumbnailPixels = 720;
inline constexpr double kThumbnailQuality = 0.82;

// The picture as a PNG, bands and depth as they are. Made for speed: the
// PNG of a window is made while the user waits.
std::optional<Bytes> png(const vips::VImage& image);

// The thumbnail of a decoded picture: kThumbnailPixels on its longest side,
// never enlarged, at kThumbnailQuality.
std::optional<Bytes> thumbnail(const vips::VImage& image);

// The picture as a baseline JPEG in sRGB without metadata, transparency laid
// on white. `quality` runs from 0 to 1 and maps onto libvips's 1 to 100.
std::optional<Bytes> jpeg(const vips::VImage& image, double quality);

// The picture encoded in `from` (any format libvips decodes here), turned
// upright by its orientation tag and scaled so that its longest side is at
// most `maxPixel`, never enlarged, as a JPEG at `quality`. Gives nothing for
// bytes that aren't a picture, a damaged picture, or one larger than the
// decoding limit of 200 megapixels.
std::optional<Bytes> jpeg(const Bytes& from, int maxPixel, double quality);

}  // namespace brindlemoor::Thumbnailer
