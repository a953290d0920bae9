#include "tools/cli/session.h"

#include <iostream>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>

#include "core/library/local_media_work.h"
#include "tools/cli/commands.h"
#include "tools/common/library_opening.h"

namespace brindlemoor::cli {
namespace {

// Gives the options, or the exit code of a command that ends here.
std::variant<Options, int> readOptions(const std::vector<std::string>& args, const char* help) {
  Options options;
  for (const auto& arg : args) {
    if (arg == "--json") {
      options.json = true;
    } else if (arg == "--help" || arg == "-h") {
      std::cout << help;
      return kSucceeded;
    } else if (arg.starts_with("--")) {
      return misused("Unknown option " + arg);
    } else {
      options.rest.push_back(arg);
    }
  }
  return options;
}

}  // namespace

int runCommand(const std::vector<std::string>& args, const char* help, const Check& check,
               const Run& run) {
  const auto read = readOptions(args, help);
  if (const int* exitCode = std::get_if<int>(&read)) return *exitCode;
  const Options& options = std::get<Options>(read);
  if (check) {
    if (const auto exitCode = check(options)) return *exitCode;
  }
  const auto library = LibraryOpening::open(std::make_unique<LocalMediaWork>());
  if (!library) return kFailed;
  try {
    return run(*library, options);
  } catch (const Database::Failure& failure) {
    std::cerr << failure.what() << "\n";
    return kFailed;
  }
}

int runCommand(const std::vector<std::string>& args, const char* help, const Run& run) {
  return runCommand(args, help, nullptr, run);
}

int misused(std::string_view complaint) {
  std::cerr << complaint << "; see --help.\n";
  return kMisused;
}

void workWithProgress(Library& library, const std::vector<std::string>& ids, bool json) {
  // What was last said of each capture, so a line is written only on change.
  std::map<std::string, std::pair<CaptureStage, std::optional<std::string>>> said;
  std::mutex mutex;
  auto report = [&] {
    std::lock_guard lock(mutex);
    std::vector<Capture> captures;
    try {
      captures = library.store().captures(ids);
    } catch (const Database::Failure&) {
      return;  // progress is a courtesy; the next change reports again
    }
    for (const auto& capture : captures) {
      const auto now = std::make_pair(capture.stage, capture.lastError);
      auto [entry, fresh] = said.try_emplace(capture.id, now);
      if (!fresh && entry->second == now) continue;
      entry->second = now;
      if (json) {
        nlohmann::json line{
            {"id", capture.id}, {"title", capture.displayTitle()}, {"stage", capture.stage.raw()}};
        if (capture.lastError) line["error"] = *capture.lastError;
        std::cout << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
      } else {
        std::cout << capture.id.substr(0, 8) << "  " << capture.stage.raw();
        if (capture.lastError) std::cout << ", waits: " << *capture.lastError;
        std::cout << "  " << capture.displayTitle() << "\n";
      }
    }
    std::cout.flush();
  };
  report();
  library.setOnChange(report);
  library.work();
  library.setOnChange(nullptr);
  report();
}

}  // namespace brindlemoor::cli
