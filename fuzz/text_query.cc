// A user's words, whatever their bytes, searched in a real library: no input
// may break the full-text expression, so the store must never fail.
#include <cstdint>
#include <string_view>

#include "core/store/library_store.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace {

using namespace brindlemoor;

struct World {
  testing::TempDir dir;
  LibraryStore store{dir.path()};

  World() {
    for (int n = 0; n < 4; ++n) {
      store.insert(testing::sampleCapture(n, 1700000000 + n));
      store.setRead(testing::sampleID(n),
                    "Café crème, naïve NEAR \"quoted\" AND or * ^ 東京 " + std::to_string(n),
                    std::nullopt);
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static World world;
  // A failure of the store escapes and ends the run as a finding.
  (void)world.store.textSearch(std::string_view(reinterpret_cast<const char*>(data), size), 20);
  return 0;
}
