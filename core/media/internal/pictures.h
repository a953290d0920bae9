// What Thumbnailer and MediaImporter share of libvips: starting it, opening
// a picture with its header checked before anything is decoded, scaling, and
// bringing a picture to the form JPEG takes.
//
// Thread rules: every function may be called from any thread at once; each
// PictureSource is used by one thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vips/vips8>

#include "core/model/bytes.h"
#include "core/model/failure.h"

namespace brindlemoor::Pictures {

// The most pixels a picture may have for us to decode it. A header can claim
// any size, and a 50,000-pixel square would need gigabytes and minutes.
inline constexpr std::int64_t kMaxPixels = 200'000'000;

// Why a picture could not be opened or decoded; what() is a short clause,
// such as "the picture is damaged", for the caller's sentence.
class Failure : public brindlemoor::Failure {
 public:
  using brindlemoor::Failure::Failure;
};

// Starts libvips once per process, with its operation cache off so that
// memory stays bounded by the pictures in hand, one worker thread to a
// picture (callers parallelise by picture), its untrusted loaders blocked,
// and its warnings silenced: what goes wrong reaches the caller as a
// failure. Throws Failure if libvips does not start.
void start();

// Throws Failure when a picture of `width` by `height` has more than
// kMaxPixels.
void checkSize(std::int64_t width, std::int64_t height);

// An encoded picture in a file or in memory whose header has been read.
class PictureSource {
 public:
  // Throws Failure when the file isn't a picture libvips decodes, or is
  // larger than kMaxPixels.
  static PictureSource file(const std::filesystem::path& path);
  // The same for bytes in memory, which must outlive the source.
  static PictureSource bytes(const Bytes& bytes);

  // The header, with its metadata (EXIF fields among them); no pixels.
  const vips::VImage& header() const { return m_header; }

  // The first image of the picture turned upright by its orientation tag,
  // scaled so that its longest side is at most `maxPixel`, never enlarged,
  // and decoded into memory (a JPEG's turn is made as the result is read).
  // Decoders shrink on load where they can, and a large JPEG is never held
  // at full size. Throws Failure when the picture is damaged or cut short.
  vips::VImage scaled(int maxPixel) const;

 private:
  PictureSource(std::filesystem::path path, const Bytes* bytes, vips::VImage header);

  std::filesystem::path m_path;  // empty for bytes
  const Bytes* m_bytes;          // null for a file
  vips::VImage m_header;
};

// A decoded picture as opaqueRgb() gives it, scaled with a linear kernel so
// that its longest side is at most `maxPixel`, never enlarged, and in
// memory. Throws Failure.
vips::VImage fitted(const vips::VImage& image, int maxPixel);

// The picture as 8-bit sRGB, transparency laid on white, as JPEG holds it.
vips::VImage opaqueRgb(const vips::VImage& image);

}  // namespace brindlemoor::Pictures
