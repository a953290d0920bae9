// The commands of brindlemoor-cli, a headless door to the library at the
// default root: each takes its arguments (after the command's name) and
// gives the process's exit code. Output goes to standard output, problems to
// standard error.
#pragma once

#include <string>
#include <vector>

namespace brindlemoor::cli {

inline constexpr int kSucceeded = 0;
inline constexpr int kFailed = 1;
inline constexpr int kMisused = 2;

// Keeps photos and videos, then runs the pipeline as `work` does.
int importFiles(const std::vector<std::string>& args);
// Runs the pipeline until nothing can be done now.
int work(const std::vector<std::string>& args);
// Counts by stage and media, the waiting captures, and the daemon's state.
int status(const std::vector<std::string>& args);
// Ranked captures for a query, with why each came up and whole collections.
int search(const std::vector<std::string>& args);
// One capture's full text.
int show(const std::vector<std::string>& args);
// The collections with their counts.
int collections(const std::vector<std::string>& args);

}  // namespace brindlemoor::cli
