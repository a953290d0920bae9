// MediaImporter turns a photo or a video file into what the library keeps:
// a capture with its working picture, thumbnail and, for a video, contact
// sheet. It reads files and never touches the library; Library::keepImported
// writes what it gives.
#pragma once

#include <optional>
#include <string>

#include "core/model/bytes.h"
#include "core/model/capture.h"
#include "core/model/failure.h"

namespace brindlemoor::MediaImporter {

// What an import gives, ready for Library::keepImported.
struct Imported {
  Capture capture;             // complete, not yet stored
  Bytes image;                 // the working picture, a JPEG
  Bytes thumbnail;             // a JPEG
  std::optional<Bytes> sheet;  // the contact sheet of a video, a JPEG; none for a photo
};

}  // namespace brindlemoor::MediaImporter
