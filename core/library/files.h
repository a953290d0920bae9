// Files writes the library's picture files so that a reader never sees half
// of one: each is written to a temporary file beside its place and renamed
// over it. Safe from any thread; two writers of one path leave one of the two
// whole files.
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

// Writes `bytes` to `path` atomically. Throws Failure (disk full, no
// permission, missing folder); the temporary file is removed then.
void writeAtomically(const std::filesystem::path& path, const Bytes& bytes);

// Replaces whatever is at `to` with a copy of the file at `from`, through a
// temporary file and a rename. Throws Failure.
void copyAtomically(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace brindlemoor::Files
