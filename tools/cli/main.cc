// brindlemoor-cli: a headless door to the library at the default root, to
// import photos and videos, run the pipeline and see how things stand.
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "core/media/ocr_thread_limit.h"
#include "core/media/picture_memory.h"
#include "tools/cli/commands.h"

namespace {

constexpr const char* kHelp =
    "Usage: brindlemoor-cli COMMAND [--json] [ARGS...]\n"
    "\n"
    "Commands:\n"
    "  import FILE...   keep photos and videos, then work on them\n"
    "  work             read, describe, embed and file what waits\n"
    "  status           counts, waiting captures, and the state of Ollama\n"
    "  search QUERY     ranked captures, why each came up, whole collections\n"
    "  show ID          one capture in full\n"
    "  collections      the collections with their counts\n"
    "\n"
    "The library lives in $XDG_DATA_HOME/Brindlemoor (~/.local/share/Brindlemoor).\n"
    "Understanding needs a running Ollama daemon (OLLAMA_HOST, or 127.0.0.1:11434)\n"
    "with the vision and the embedding model pulled. `COMMAND --help` tells more.\n";

}  // namespace

int main(int argc, char* argv[]) {
  brindlemoor::requireOcrThreadLimit(argv);
  // After the re-exec above, so that the setting is the running process's.
  brindlemoor::keepPictureMemory();
  using namespace brindlemoor::cli;
  const std::vector<std::string> args(argv + std::min(argc, 2), argv + argc);
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "import") return importFiles(args);
  if (command == "work") return work(args);
  if (command == "status") return status(args);
  if (command == "search") return search(args);
  if (command == "show") return show(args);
  if (command == "collections") return collections(args);
  if (command == "--help" || command == "-h" || command == "help") {
    std::cout << kHelp;
    return kSucceeded;
  }
  std::cerr << (command.empty() ? "" : "Unknown command " + command + ".\n\n") << kHelp;
  return kMisused;
}
