#include "core/capture/image_sources.h"

#include <algorithm>
#include <optional>

#include "core/model/text.h"
#include "core/model/url.h"

namespace brindlemoor::ImageSources {
namespace {

constexpr std::string_view kWikimediaUpload = "upload.wikimedia.org";

// The full file of a Wikimedia thumbnail: the path without its "thumb" piece
// and without the last piece, which is the file's name with the width in it.
// Nothing when `url` is not such a thumbnail.
std::optional<std::string> wikimediaOriginal(std::string_view url) {
  const auto host = Url::host(url);
  if (!host || Text::lowercased(*host) != kWikimediaUpload) return std::nullopt;
  const std::string path = Url::path(url).value_or("");
  const std::vector<std::string_view> pieces = Text::pieces(path, '/');
  const auto thumb = std::ranges::find(pieces, "thumb");
  if (thumb == pieces.end() || (thumb - pieces.begin()) + 2 >= std::ssize(pieces)) {
    return std::nullopt;
  }
  std::vector<std::string> kept(pieces.begin(), thumb);
  kept.insert(kept.end(), thumb + 1, pieces.end() - 1);
  // The pieces come from a parsed address with their percent-encoding
  // kept, so the new address always parses.
  return "https://" + std::string(kWikimediaUpload) + "/" + Text::joined(kept, "/");
}

}  // namespace

std::vector<std::string> candidates(std::string_view url) {
  std::vector<std::string> result;
  if (auto original = wikimediaOriginal(url)) result.push_back(std::move(*original));
  result.emplace_back(url);
  return result;
}

}  // namespace brindlemoor::ImageSources
