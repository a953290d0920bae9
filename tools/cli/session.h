// Session is what a command of brindlemoor-cli works with: the Library at the
// default root, with an Ollama client and the configured models, and the
// command's options. Opening it is the one fatal failure: the command ends
// with "Brindlemoor cannot open its library at " and the path.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/library/library.h"

namespace brindlemoor::cli {

// The options every command shares, and what is left of its arguments.
struct Options {
  bool json = false;
  std::vector<std::string> rest;

  // Reads "--json"; "--help" or "-h" writes `help` and ends the command with
  // success, and any other argument starting with "--" ends it as misused.
  // Gives the options, or the exit code of a command that ends here.
  static std::variant<Options, int> read(const std::vector<std::string>& args, const char* help);
};

// The library at LibraryStore::defaultRoot(), or nothing after writing why
// it can't be opened to standard error.
std::unique_ptr<Library> openLibrary();

// Runs the pipeline until nothing can be done now, writing a line whenever
// one of `ids` changes stage or fails (a JSON object a line with `json`).
void workWithProgress(Library& library, const std::vector<std::string>& ids, bool json);

}  // namespace brindlemoor::cli
