// PagePhoto makes the file that keeps an image shown on a web page: the
// image itself, downloaded from its address, or else the part of the
// window's picture that it covers. The download wins unless it is narrower
// than that part: then the screen holds the sharper picture.
//
// Threads: any; nothing is shared. download() blocks for the length of one
// HTTP exchange, at most kTimeoutSeconds.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#include <vips/vips8>

#include "core/capture/rect.h"
#include "core/model/bytes.h"
#include "core/model/failure.h"

namespace brindlemoor::PagePhoto {

inline constexpr double kTimeoutSeconds = 10;
inline constexpr std::size_t kMostBytes = 39'999'999;
inline constexpr std::string_view kUserAgent = "Brindlemoor/0.1 (Linux)";
// Images are often served from elsewhere than their address says.
inline constexpr long kMostRedirects = 10;

// A write in the working folder failed.
class Failure : public brindlemoor::Failure {
 public:
  using brindlemoor::Failure::Failure;
};

struct Download {
  Bytes bytes;
  int width = 0;  // in pixels, from the picture's header
};

// The image at `url`, or nothing for a failed exchange, an answer other than
// 200 exactly, a content type that isn't "image/...", a body of more than
// kMostBytes, or bytes whose header gives no picture.
std::optional<Download> download(const std::string& url);

// A region of a picture, in whole pixels.
struct Region {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const Region&) const = default;
};

// The part of the window's picture (`pictureWidth` by `pictureHeight`, at
// `scale` pixels a point) that `image` covers, `window` being the window's
// frame: grown outward to whole pixels and kept within the picture. Nothing
// when they don't meet.
std::optional<Region> cropRegion(Rect image, Rect window, double scale, int pictureWidth,
                                 int pictureHeight);

// The file of the image, written into `folder`: the first of `candidates`
// that downloads and is at least as wide as `crop`, named after the last
// piece of its address with the extension of a photo, else ".jpg"; failing
// that `crop` as a PNG, "image from page.png", or "image.png" for a window
// without a title. Nothing when neither gives a file. Throws Failure when a
// file can't be written.
std::optional<std::filesystem::path> file(const std::filesystem::path& folder,
                                          const std::vector<std::string>& candidates,
                                          const std::optional<vips::VImage>& crop,
                                          bool windowTitled);

}  // namespace brindlemoor::PagePhoto
