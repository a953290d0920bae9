// LibraryOpening composes the Library that the headless tools work with: the
// store at LibraryStore::defaultRoot(), an Ollama client at OLLAMA_HOST, the
// user's vision model, the embedding model and the organizer's thresholds.
// Each executable brings its own MediaWork, or none: brindlemoor-mcp runs no
// pipeline and so links none of the media libraries behind LocalMediaWork.
//
// Threads: open() may be called from any thread; what it gives follows the
// Library's own rules.
#pragma once

#include <memory>

#include "core/library/library.h"
#include "core/library/media_work.h"

namespace brindlemoor::LibraryOpening {

// The library at the default root, its pipeline run with `media` (nullptr
// for none). When it can't be opened, writes "Brindlemoor cannot open its
// library at " with the path and why to standard error and gives nothing.
std::unique_ptr<Library> open(std::unique_ptr<const MediaWork> media);

}  // namespace brindlemoor::LibraryOpening
