// ImportedCapture is what an import of a photo or a video gives
// (MediaImporter) and what Library::keepImported writes: a capture with its
// pictures, encoded and ready to be kept.
#pragma once

#include <optional>

#include "core/model/bytes.h"
#include "core/model/capture.h"

namespace brindlemoor {

struct ImportedCapture {
  Capture capture;             // complete, not yet stored
  Bytes image;                 // the working picture, a JPEG
  Bytes thumbnail;             // a JPEG
  std::optional<Bytes> sheet;  // the contact sheet of a video, a JPEG; none for a photo
};

}  // namespace brindlemoor
