// LibraryFiles is the one owner of a library's picture files: it writes a
// kept capture's files before its row, reads what the pipeline looks at, and
// removes a deleted capture's files after its row. Where each file lies is
// the store's to say. A write never shows a reader half a file (see Files).
//
// Thread rules: any thread; two writers of one capture leave one of the two
// whole files.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "core/model/bytes.h"
#include "core/model/capture.h"
#include "core/model/imported_capture.h"
#include "core/store/library_store.h"

namespace brindlemoor {

class LibraryFiles {
 public:
  // `store` must outlive the files.
  explicit LibraryFiles(const LibraryStore& store) : m_store(store) {}

  // The picture of a screen capture and its thumbnail. Throws Files::Failure.
  void keep(const Capture& capture, const Bytes& png, const Bytes& thumbnail) const;
  // An imported photo's or video's working picture, thumbnail, contact
  // sheet if any, and a copy of `original` at the capture's originalFile.
  // Throws Files::Failure; files written before the failure stay.
  void keepImported(const ImportedCapture& imported, const std::filesystem::path& original) const;

  // What the models look at: a video's contact sheet, or its display image
  // when the sheet is gone; anything else's image. Throws Files::Failure.
  Bytes picture(const Capture& capture) const;

  // Every file the capture `id` may have, as far as `capture` (its row
  // before it went, if it could be read) tells. A file already gone, or one
  // the system won't let go, is left as it is.
  void remove(std::string_view id, const std::optional<Capture>& capture) const;

 private:
  const LibraryStore& m_store;
};

}  // namespace brindlemoor
