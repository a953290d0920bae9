// Capture is one kept thing: a window, a picture from a page, an imported
// photo or video. A plain value, safe to copy between threads; the store maps
// it to a row. The retry counter and time live only in the database, so the
// pipeline can't see them here.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/model/capture_kind.h"
#include "core/model/capture_media.h"
#include "core/model/capture_stage.h"
#include "core/model/date.h"

namespace brindlemoor {

struct Capture {
  std::string id;  // lower-cased UUID; also the stem of the capture's file names
  Date createdAt;
  std::string app;
  std::optional<std::string> bundleID;
  std::string windowTitle;
  std::optional<std::string> url;
  std::optional<std::string> documentPath;
  std::int64_t width = 0;
  std::int64_t height = 0;
  CaptureStage stage = CaptureStage::captured;
  std::optional<std::string> ocrText;
  std::optional<std::string> title;
  std::optional<std::string> summary;
  std::optional<CaptureKind> kind;
  std::vector<std::string> tags;  // ascending when read from the store
  std::vector<std::string> highlights;
  std::vector<std::string> links;
  std::optional<std::string> note;
  bool favorite = false;
  std::optional<std::string> collectionID;  // absent means unsorted
  std::optional<std::string> lastError;
  CaptureMedia media = CaptureMedia::screen;
  std::optional<double> duration;
  std::optional<Date> takenAt;
  std::optional<std::string> imageFile;     // relative to the library root
  std::optional<std::string> originalFile;  // relative to the library root
  std::optional<std::string> transcript;

  bool operator==(const Capture&) const = default;

  // The first non-empty of title, window title and app; the app even when it
  // too is empty.
  std::string displayTitle() const;

  // The name a capture is grouped under by source: the URL's host without a
  // leading "www.", else the media's title for imported media, else the app.
  std::string sourceName() const;
};

}  // namespace brindlemoor
