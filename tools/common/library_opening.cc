#include "tools/common/library_opening.h"

#include <iostream>

#include "core/understanding/models.h"
#include "tools/common/settings.h"

namespace brindlemoor::LibraryOpening {

std::unique_ptr<Library> open(std::unique_ptr<const MediaWork> media) {
  std::filesystem::path root;
  try {
    root = LibraryStore::defaultRoot();
  } catch (const LibraryStore::Failure& failure) {
    std::cerr << "Brindlemoor cannot open its library: " << failure.what() << "\n";
    return nullptr;
  }
  try {
    return std::make_unique<Library>(std::make_unique<LibraryStore>(root), OllamaClient(),
                                     Settings::visionModel(), std::string(Models::embedding),
                                     Organizer(), std::move(media));
  } catch (const std::exception& failure) {
    std::cerr << "Brindlemoor cannot open its library at " << root.string() << ": "
              << failure.what() << "\n";
    return nullptr;
  }
}

}  // namespace brindlemoor::LibraryOpening
