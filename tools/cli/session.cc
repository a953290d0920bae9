#include "tools/cli/session.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>

#include "core/library/local_media_work.h"
#include "core/model/text.h"
#include "tools/cli/commands.h"
#include "tools/cli/progress_line.h"
#include "tools/cli/visible_output.h"
#include "tools/common/library_opening.h"

namespace brindlemoor::cli {
namespace {

// Gives the options, or the exit code of a command that ends here.
std::variant<Options, int> readOptions(const std::vector<std::string>& args, const char* help) {
  Options options;
  bool optionsEnded = false;
  for (const auto& arg : args) {
    if (optionsEnded) {
      options.rest.push_back(arg);
    } else if (arg == "--") {
      optionsEnded = true;
    } else if (arg == "--json") {
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

// How a capture stands, on one line: its short id, its stage, why it waits
// if it does, and its title.
std::string captureLine(const Capture& capture) {
  std::string line = capture.id.substr(0, 8) + "  " + std::string(capture.stage.raw());
  if (capture.lastError) line += ", waits: " + *capture.lastError;
  return line + "  " + capture.displayTitle();
}

bool doneForNow(const Capture& capture) {
  return capture.stage == CaptureStage::organized || capture.lastError;
}

// What a terminal is left with once the progress line goes: how many were
// organized, and those that wait, with why.
void summarize(LibraryStore& store, const std::vector<std::string>& ids) {
  constexpr std::size_t kWaitingListed = 10;
  const auto captures = store.captures(ids);
  std::vector<const Capture*> waiting;
  for (const auto& capture : captures) {
    if (capture.stage != CaptureStage::organized) waiting.push_back(&capture);
  }
  std::cout << "Organized " << captures.size() - waiting.size() << " of " << captures.size()
            << (waiting.empty() ? ".\n" : "; these wait:\n");
  for (std::size_t i = 0; i < std::min(waiting.size(), kWaitingListed); ++i) {
    std::cout << "  " << captureLine(*waiting[i]) << "\n";
  }
  if (waiting.size() > kWaitingListed) {
    std::cout << "  and " << waiting.size() - kWaitingListed
              << " more; `brindlemoor-cli status` lists them.\n";
  }
}

}  // namespace

int runCommand(const std::vector<std::string>& args, const char* help, const Check& check,
               const Run& run) {
  const auto read = readOptions(args, help);
  if (const int* exitCode = std::get_if<int>(&read)) return *exitCode;
  const Options& options = std::get<Options>(read);
  const VisibleOutput shown(!options.json);
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

std::variant<Capture, int> findCapture(LibraryStore& store, std::string_view given) {
  if (given.size() < kShortestIdPrefix) {
    return misused("A capture id needs at least " + std::to_string(kShortestIdPrefix) +
                   " of its characters");
  }
  // Enough to count the captures a prefix could mean in any library kept by
  // hand; a few of them are named.
  constexpr std::int64_t kCounted = 1000;
  constexpr std::size_t kNamed = 5;
  const auto ids = store.idsStartingWith(Text::lowercased(given), kCounted);
  std::optional<Capture> capture;
  if (ids.size() == 1) capture = store.capture(ids.front());
  if (capture) return *std::move(capture);
  if (ids.size() <= 1) {
    std::cerr << "No capture with that id.\n";
    return kFailed;
  }
  std::cerr << "“" << given << "” begins the ids of " << (ids.size() == kCounted ? "at least " : "")
            << ids.size() << " captures; give more of the id:\n";
  // Captures that share the first 8 characters are told apart by whole ids.
  const std::size_t shown = given.size() < 8 ? 8 : std::string::npos;
  const std::vector<std::string> named(ids.begin(), ids.begin() + std::min(kNamed, ids.size()));
  for (const auto& one : store.captures(named)) {
    std::cerr << "  " << one.id.substr(0, shown) << "  " << one.displayTitle() << "\n";
  }
  if (ids.size() > kNamed) std::cerr << "  and " << ids.size() - kNamed << " more\n";
  return kFailed;
}

void workWithProgress(Library& library, const std::vector<std::string>& ids, bool json) {
  ProgressLine progress(!json && !ids.empty());
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
    const Capture* moved = nullptr;
    for (const auto& capture : captures) {
      const auto now = std::make_pair(capture.stage, capture.lastError);
      auto [entry, fresh] = said.try_emplace(capture.id, now);
      if (!fresh && entry->second == now) continue;
      entry->second = now;
      if (!fresh) moved = &capture;
      if (progress.drawing()) continue;
      if (json) {
        nlohmann::json line{
            {"id", capture.id}, {"title", capture.displayTitle()}, {"stage", capture.stage.raw()}};
        if (capture.lastError) line["error"] = *capture.lastError;
        std::cout << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
      } else {
        std::cout << captureLine(capture) << "\n";
      }
    }
    const auto done = std::count_if(captures.begin(), captures.end(), doneForNow);
    progress.show("Working " + std::to_string(done) + " of " + std::to_string(ids.size()) +
                  (moved ? "  " + captureLine(*moved) : ""));
    std::cout.flush();
  };
  // The command asked for the work to be done, so it waits its turn.
  library.setWhenOthersWork(WorkLoop::WhenOthersWork::wait);
  if (library.othersWork()) {
    std::cerr << "Another process is working on this library; waiting for it to finish.\n";
  }
  report();
  library.setOnChange(report);
  library.work();
  library.setOnChange(nullptr);
  report();
  if (progress.drawing()) {
    progress.clear();
    summarize(library.store(), ids);
  }
}

}  // namespace brindlemoor::cli
