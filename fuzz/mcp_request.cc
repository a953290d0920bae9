// One line from an agent, whatever its bytes, into the request handler of a
// library that holds a few captures and whose daemon is out of reach. Every
// reply must be one line of well-formed JSON.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "core/agents/mcp_server.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace {

using namespace brindlemoor;

struct World {
  testing::TempDir dir;
  testing::ClosedPort daemon;
  Library library{std::make_unique<LibraryStore>(dir.path()),
                  OllamaClient(daemon.host()),
                  "vision",
                  "embedding",
                  Organizer(),
                  nullptr};
  const MCPServer server{library, library.store(), "1.0"};

  World() {
    LibraryStore& store = library.store();
    store.insertCollection({testing::sampleID(100), "Espresso", "☕", dateFromSeconds(1),
                            dateFromSeconds(2), 0, 0, false});
    for (int n = 0; n < 8; ++n) {
      store.insert(testing::sampleCapture(n, 1700000000 + n));
      store.setRead(testing::sampleID(n), "crema grind ratio bloom " + std::to_string(n),
                    std::nullopt);
      store.setDescribed(
          testing::sampleID(n),
          {"Brew " + std::to_string(n), "A brew.", CaptureKind::article, {"coffee"}, {}, {}});
      if (n % 2 == 0) store.setCollection(testing::sampleID(n), testing::sampleID(100));
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static World world;
  const auto reply =
      world.server.handle(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!reply) return 0;
  if (reply->find('\n') != std::string::npos) std::abort();
  if (!nlohmann::json::accept(*reply)) std::abort();
  return 0;
}
