#include "tests/testing/temp_dir.h"

#include <cstdlib>
#include <string>
#include <system_error>

namespace brindlemoor::testing {

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "bm-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot create " + pattern);
  m_path = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;  // a directory that is already gone is fine
  std::filesystem::remove_all(m_path, ignored);
}

}  // namespace brindlemoor::testing
