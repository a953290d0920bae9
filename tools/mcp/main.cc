// brindlemoor-mcp: lets an agent search the library through the Model
// Context Protocol over standard input and output. Each line of input is one
// JSON-RPC message; each reply goes out on one line of its own, and nothing
// else is written to standard output. It runs until its input ends. The
// pipeline isn't run here: search needs only what the store holds, so its
// Library has no MediaWork and the server loads no media libraries.
#include <csignal>
#include <iostream>
#include <limits>
#include <memory>
#include <string>

#include "core/agents/mcp_server.h"
#include "tools/common/library_opening.h"

namespace {

// No message an agent sends comes near this; a longer line is skipped
// unread instead of being held in memory.
constexpr std::size_t kMaxLine = 16 * 1024 * 1024;

enum class Read { line, tooLong, end };

// The next line of `in`, without its newline, into `line`.
Read nextLine(std::istream& in, std::string& line) {
  line.clear();
  char chunk[64 * 1024];
  for (;;) {
    in.get(chunk, sizeof chunk, '\n');
    line.append(chunk, static_cast<std::size_t>(in.gcount()));
    if (in.eof()) return line.empty() ? Read::end : Read::line;
    in.clear();  // get() fails when it stops at once on the newline
    if (in.peek() == '\n') {
      in.ignore();
      return Read::line;
    }
    if (line.size() > kMaxLine) {
      in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
      line.clear();
      return Read::tooLong;
    }
  }
}

}  // namespace

int main() {
  using namespace brindlemoor;
  // A client that goes away ends the loop through a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio(false);

  const auto library = LibraryOpening::open(nullptr);
  if (!library) return 1;
  const MCPServer server(*library, library->store(), BRINDLEMOOR_VERSION);

  std::string line;
  for (Read read; (read = nextLine(std::cin, line)) != Read::end;) {
    const auto reply = read == Read::line ? server.handle(line) : MCPServer::parseError();
    if (!reply) continue;
    std::cout << *reply << '\n' << std::flush;
    if (!std::cout) break;
  }
  return 0;
}
