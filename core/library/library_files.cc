#include "core/library/library_files.h"

#include <vector>

#include "core/library/files.h"

namespace brindlemoor {

void LibraryFiles::keep(const Capture& capture, const Bytes& png, const Bytes& thumbnail) const {
  Files::writeAtomically(m_store.imageURL(capture.id), png);
  Files::writeAtomically(m_store.thumbURL(capture.id), thumbnail);
}

void LibraryFiles::keepImported(const ImportedCapture& imported,
                                const std::filesystem::path& original) const {
  const Capture& capture = imported.capture;
  Files::writeAtomically(m_store.imageURL(capture), imported.image);
  Files::writeAtomically(m_store.thumbURL(capture.id), imported.thumbnail);
  if (imported.sheet) Files::writeAtomically(m_store.sheetURL(capture.id), *imported.sheet);
  if (auto copy = m_store.originalURL(capture)) Files::copyAtomically(original, *copy);
}

Bytes LibraryFiles::picture(const Capture& capture) const {
  if (capture.media == CaptureMedia::video) {
    try {
      return Files::read(m_store.sheetURL(capture.id));
    } catch (const Files::Failure&) {
      // The display image stands in for a missing sheet.
    }
  }
  return Files::read(m_store.imageURL(capture));
}

void LibraryFiles::remove(std::string_view id, const std::optional<Capture>& capture) const {
  std::vector<std::filesystem::path> files{m_store.imageURL(id), m_store.thumbURL(id),
                                           m_store.sheetURL(id)};
  if (capture) {
    files.push_back(m_store.imageURL(*capture));
    if (auto original = m_store.originalURL(*capture)) files.push_back(*original);
  }
  for (const auto& file : files) {
    std::error_code ignored;  // a file already gone, or kept by the system, stays out of the way
    std::filesystem::remove(file, ignored);
  }
}

}  // namespace brindlemoor
