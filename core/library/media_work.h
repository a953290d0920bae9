// MediaWork is what the pipeline does to pictures and sound on this machine:
// it reads the text in a picture, hears the speech in a video and scales a
// picture down for the models. The Library asks for it through this
// interface so that a program that only keeps and searches, like
// brindlemoor-mcp, links none of the libraries behind it (Tesseract,
// PocketSphinx, libvips, FFmpeg): their code alone costs tens of megabytes of
// memory. LocalMediaWork (core/library/local_media_work.h) does the work.
//
// Threads: the pipeline calls it from its own thread, one call at a time.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "core/model/bytes.h"

namespace brindlemoor {

class MediaWork {
 public:
  virtual ~MediaWork() = default;

  // The text on the picture encoded in `picture`; the empty string for a
  // picture without text. Throws a brindlemoor::Failure for bytes that are
  // no picture or an engine that fails.
  virtual std::string text(const Bytes& picture) const = 0;
  // The words spoken in `video`, heard in the user's language. Never throws:
  // nothing when nothing is heard or the file has no sound.
  virtual std::optional<std::string> speech(const std::filesystem::path& video) const = 0;
  // The picture upright and scaled so that its longest side is at most
  // `maxPixel`, never enlarged, as a JPEG at `quality` (0 to 1). Never
  // throws: nothing for bytes that aren't a picture.
  virtual std::optional<Bytes> scaled(const Bytes& picture, int maxPixel, double quality) const = 0;
};

}  // namespace brindlemoor
