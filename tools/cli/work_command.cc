#include "tools/cli/commands.h"
#include "tools/cli/session.h"

namespace brindlemoor::cli {
namespace {

constexpr const char* kHelp =
    "Usage: brindlemoor-cli work [--json]\n"
    "\n"
    "Takes every capture that is not yet organized as far as it can go now:\n"
    "reads its text, has the vision model describe it, embeds it and files it\n"
    "in a collection, writing a line whenever a capture moves on or waits;\n"
    "on a terminal, one line that changes in place, then a summary.\n"
    "Each capture is taken up once; those that wait for a retry are left\n"
    "until their time has come, and the summary says why each waits. When\n"
    "another process is working on the library, waits for it to finish.\n";

// Enough to follow a whole import; more are worked on all the same.
constexpr std::int64_t kFollowed = 100'000;

}  // namespace

int work(const std::vector<std::string>& args) {
  return runCommand(
      args, kHelp,
      [](const Options& options) -> std::optional<int> {
        if (!options.rest.empty()) return misused("work takes no files");
        return std::nullopt;
      },
      [](Library& library, const Options& options) {
        std::vector<std::string> ids;
        for (const auto& capture : library.store().unfinished(kFollowed)) ids.push_back(capture.id);
        workWithProgress(library, ids, options.json);
        return kSucceeded;
      });
}

}  // namespace brindlemoor::cli
