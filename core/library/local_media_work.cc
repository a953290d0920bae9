#include "core/library/local_media_work.h"

#include <unicode/locid.h>

#include "core/media/reader.h"
#include "core/media/thumbnailer.h"
#include "core/media/transcriber.h"

namespace brindlemoor {

std::string LocalMediaWork::text(const Bytes& picture) const {
  return Reader::text(picture);
}

std::optional<std::string> LocalMediaWork::speech(const std::filesystem::path& video) const {
  return Transcriber::transcribe(video, icu::Locale::getDefault().getName());
}

std::optional<Bytes> LocalMediaWork::scaled(const Bytes& picture, int maxPixel,
                                            double quality) const {
  return Thumbnailer::jpeg(picture, maxPixel, quality);
}

}  // namespace brindlemoor
