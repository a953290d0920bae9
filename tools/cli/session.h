// Session is what the commands of brindlemoor-cli share: reading the options,
// opening the Library at the default root (the one fatal failure: the
// command ends with "Brindlemoor cannot open its library at " and the path),
// finding a capture by its id, and following the pipeline as it works.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/library/library.h"

namespace brindlemoor::cli {

// The options every command shares, and what is left of its arguments.
struct Options {
  bool json = false;
  std::vector<std::string> rest;
};

// A command's work on the open library; gives the exit code.
using Run = std::function<int(Library&, const Options&)>;
// Looks at a command's arguments before the library is opened, so that a
// misused command touches nothing: gives the exit code of a command that
// ends here, having said why, or nothing to go on.
using Check = std::function<std::optional<int>(const Options&)>;

// Reads "--json"; "--help" or "-h" writes `help` and ends the command with
// success, and any other argument starting with "--" ends it as misused.
// After "--" every argument is taken as it is, so that a file may be named
// "--x.png".
// Then checks, opens the library and runs. A Database::Failure out of `run`
// is written to standard error and ends the command as failed.
int runCommand(const std::vector<std::string>& args, const char* help, const Check& check,
               const Run& run);
// The same for a command that takes any arguments.
int runCommand(const std::vector<std::string>& args, const char* help, const Run& run);

// Writes "`complaint`; see --help." to standard error, and gives kMisused.
int misused(std::string_view complaint);

// Ids are given whole or by a unique start of at least this many characters.
inline constexpr std::size_t kShortestIdPrefix = 4;

// The capture whose id is `given` or begins with it, in either case. Else
// the exit code after saying why on standard error: the prefix is too short
// (kMisused), no capture has it, or several do, a few of which are named so
// that the user can give more (kFailed). Throws Database::Failure.
std::variant<Capture, int> findCapture(LibraryStore& store, std::string_view given);

// Runs the pipeline until nothing can be done now, following `ids`. On a
// terminal, one line that changes in place tells how many are done and which
// moved last, and a summary ends it; otherwise, or with `json`, a line (a
// JSON object with `json`) is written whenever one of them changes stage or
// fails.
void workWithProgress(Library& library, const std::vector<std::string>& ids, bool json);

}  // namespace brindlemoor::cli
