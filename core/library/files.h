// Files reads and writes the library's picture files. A write never shows a
// reader half a file: each is written to a temporary file beside its place
// and renamed over it. Safe from any thread; two writers of one path leave
// one of the two whole files.
#pragma once

#include <filesystem>

#include "core/model/bytes.h"
#include "core/model/failure.h"

namespace brindlemoor::Files {

// A file could not be written; the words name the path and the reason.
class Failure : public brindlemoor::Failure {
 public:
  using brindlemoor::Failure::Failure;
};

// The whole file at `path`. Throws Failure ("Cannot read " + path + ...).
Bytes read(const std::filesystem::path& path);

// Writes `bytes` to `path` atomically. Throws Failure (disk full, no
// permission, missing folder); the temporary file is removed then.
void writeAtomically(const std::filesystem::path& path, const Bytes& bytes);

// Replaces whatever is at `to` with a copy of the file at `from`, through a
// temporary file and a rename. Throws Failure.
void copyAtomically(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace brindlemoor::Files
