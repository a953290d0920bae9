// TempDir is a fresh directory under the system's temporary directory that
// is removed, with everything in it, when the value goes away. Tests and
// benchmarks use one per library so that every run starts clean.
#pragma once

#include <filesystem>

namespace brindlemoor::testing {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

}  // namespace brindlemoor::testing
