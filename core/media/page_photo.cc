#include "core/media/page_photo.h"

#include <cmath>
#include <fstream>

#include "core/media/internal/pictures.h"
#include "core/media/media_importer.h"
#include "core/media/thumbnailer.h"
#include "core/model/http_transfer.h"
#include "core/model/url.h"

namespace brindlemoor::PagePhoto {
namespace {

void write(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) throw Failure("Cannot write " + path.string());
}

// The name a downloaded image is written under. The piece comes from the
// page, so nothing in it may lead out of the folder.
std::string downloadName(const std::string& url) {
  std::string name = Url::lastPathPiece(url);
  const std::string extension = Url::pathExtension(url);
  if (!extension.empty()) name.resize(name.size() - extension.size() - 1);
  if (name.empty() || name == "." || name == "..") name = "image";
  const bool photo =
      !extension.empty() && MediaImporter::kind("image." + extension) == CaptureMedia::photo;
  return name + "." + (photo ? extension : "jpg");
}

}  // namespace

std::optional<Download> download(const std::string& url) {
  Bytes body;
  bool tooLarge = false;
  const HttpTransfer::Outcome outcome =
      HttpTransfer::run({url,
                         std::nullopt,
                         kTimeoutSeconds,
                         {"User-Agent: " + std::string(kUserAgent)},
                         kMostRedirects},
                        [&](std::string_view chunk, long) {
                          tooLarge = body.size() + chunk.size() > kMostBytes;
                          if (!tooLarge) body.insert(body.end(), chunk.begin(), chunk.end());
                          return !tooLarge;
                        });
  if (outcome.code != CURLE_OK || outcome.status != 200 || tooLarge) return std::nullopt;
  if (!outcome.contentType.starts_with("image/")) return std::nullopt;
  try {
    const int width = Pictures::PictureSource::bytes(body).header().width();
    return Download{std::move(body), width};
  } catch (const Pictures::Failure&) {
    return std::nullopt;
  }
}

std::optional<Region> cropRegion(Rect image, Rect window, double scale, int pictureWidth,
                                 int pictureHeight) {
  const double left = std::max(0.0, (image.x - window.x) * scale);
  const double top = std::max(0.0, (image.y - window.y) * scale);
  const double right = std::min<double>(pictureWidth, (image.x - window.x + image.width) * scale);
  const double bottom =
      std::min<double>(pictureHeight, (image.y - window.y + image.height) * scale);
  if (right <= left || bottom <= top) return std::nullopt;
  const int x = static_cast<int>(std::floor(left));
  const int y = static_cast<int>(std::floor(top));
  return Region{x, y, static_cast<int>(std::ceil(right)) - x,
                static_cast<int>(std::ceil(bottom)) - y};
}

std::optional<std::filesystem::path> file(const std::filesystem::path& folder,
                                          const std::vector<std::string>& candidates,
                                          const std::optional<vips::VImage>& crop,
                                          bool windowTitled) {
  for (const std::string& candidate : candidates) {
    auto got = download(candidate);
    if (!got) continue;
    if (crop && got->width < crop->width()) break;  // the screen is sharper
    const std::filesystem::path path = folder / downloadName(candidate);
    write(path, got->bytes);
    return path;
  }
  if (!crop) return std::nullopt;
  const std::optional<Bytes> png = Thumbnailer::png(*crop);
  if (!png) return std::nullopt;
  const std::filesystem::path path = folder / (windowTitled ? "image from page.png" : "image.png");
  write(path, *png);
  return path;
}

}  // namespace brindlemoor::PagePhoto
