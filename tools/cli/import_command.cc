#include <algorithm>
#include <atomic>
#include <iostream>
#include <mutex>
#include <optional>
#include <thread>

#include "core/media/media_importer.h"
#include "core/model/text.h"
#include "tools/cli/commands.h"
#include "tools/cli/progress_line.h"
#include "tools/cli/session.h"

namespace brindlemoor::cli {
namespace {

constexpr const char* kHelp =
    "Usage: brindlemoor-cli import [--json] FILE...\n"
    "\n"
    "Keeps each photo and video in the library, then reads, describes, embeds\n"
    "and files what waits, as `brindlemoor-cli work` does. Files that are not\n"
    "photos or videos are skipped. Exits with 1 if any file could not be read.\n";

struct Outcome {
  std::optional<std::string> id;
  std::string error;
};

// Keeps each of `media`, in the order given. Decoding a large photo keeps a
// core busy for a tenth of a second or more, so the files are shared out to
// every core. On a terminal a line tells how far it has got.
std::vector<Outcome> load(Library& library, const std::vector<std::filesystem::path>& media,
                          bool json) {
  std::vector<Outcome> outcomes(media.size());
  std::atomic<std::size_t> next = 0;
  std::size_t loaded = 0;
  std::mutex mutex;
  ProgressLine progress(!json);
  const auto importSome = [&] {
    for (std::size_t i; (i = next++) < media.size();) {
      {
        std::lock_guard lock(mutex);
        progress.show("Importing " + std::to_string(loaded) + " of " +
                      std::to_string(media.size()) + "  " + media[i].filename().string());
      }
      try {
        const MediaImporter::Imported imported = MediaImporter::load(media[i], now());
        library.keepImported(imported, media[i]);
        outcomes[i].id = imported.capture.id;
      } catch (const std::exception& failure) {
        outcomes[i].error = failure.what();
      }
      std::lock_guard lock(mutex);
      ++loaded;
    }
  };
  std::vector<std::jthread> helpers(
      std::min<std::size_t>(std::max(std::thread::hardware_concurrency(), 1u), media.size()) - 1);
  for (auto& helper : helpers) helper = std::jthread(importSome);
  importSome();
  for (auto& helper : helpers) helper.join();
  return outcomes;
}

}  // namespace

int importFiles(const std::vector<std::string>& args) {
  // The photos and videos among the arguments, gathered as they are checked.
  std::vector<std::filesystem::path> media;
  const auto check = [&](const Options& options) -> std::optional<int> {
    for (const auto& name : options.rest) {
      if (MediaImporter::kind(name)) {
        media.emplace_back(name);
      } else {
        std::cerr << "Skipped, not a photo or video: " << name << "\n";
      }
    }
    if (!media.empty()) return std::nullopt;
    std::cerr << "Brindlemoor takes photos and videos.\n";
    return options.rest.empty() ? kMisused : kFailed;
  };
  const auto run = [&](Library& library, const Options& options) {
    const std::vector<Outcome> outcomes = load(library, media, options.json);
    std::vector<std::string> kept;
    std::vector<std::string> failed;
    for (std::size_t i = 0; i < media.size(); ++i) {
      if (outcomes[i].id) {
        kept.push_back(*outcomes[i].id);
      } else {
        failed.push_back(media[i].filename().string());
        std::cerr << media[i].string() << ": " << outcomes[i].error << "\n";
      }
    }
    if (!failed.empty()) std::cerr << "Couldn't read " << Text::joined(failed, ", ") << ".\n";
    workWithProgress(library, kept, options.json);
    return failed.empty() ? kSucceeded : kFailed;
  };
  return runCommand(args, kHelp, check, run);
}

}  // namespace brindlemoor::cli
