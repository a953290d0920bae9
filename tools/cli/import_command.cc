#include <iostream>

#include "core/media/media_importer.h"
#include "core/model/text.h"
#include "tools/cli/commands.h"
#include "tools/cli/session.h"

namespace brindlemoor::cli {
namespace {

constexpr const char* kHelp =
    "Usage: brindlemoor-cli import [--json] FILE...\n"
    "\n"
    "Keeps each photo and video in the library, then reads, describes, embeds\n"
    "and files what waits, as `brindlemoor-cli work` does. Files that are not\n"
    "photos or videos are skipped. Exits with 1 if any file could not be read.\n";

}  // namespace

int importFiles(const std::vector<std::string>& args) {
  const auto read = Options::read(args, kHelp);
  if (const int* exitCode = std::get_if<int>(&read)) return *exitCode;
  const Options& options = std::get<Options>(read);
  std::vector<std::filesystem::path> media;
  for (const auto& name : options.rest) {
    if (MediaImporter::kind(name)) {
      media.emplace_back(name);
    } else {
      std::cerr << "Skipped, not a photo or video: " << name << "\n";
    }
  }
  if (media.empty()) {
    std::cerr << "Brindlemoor takes photos and videos.\n";
    return options.rest.empty() ? kMisused : kFailed;
  }
  auto library = openLibrary();
  if (!library) return kFailed;

  std::vector<std::string> kept;
  std::vector<std::string> failed;
  for (const auto& path : media) {
    try {
      const MediaImporter::Imported imported = MediaImporter::load(path, now());
      library->keepImported(imported, path);
      kept.push_back(imported.capture.id);
    } catch (const Failure& failure) {
      failed.push_back(path.filename().string());
      std::cerr << path.string() << ": " << failure.what() << "\n";
    }
  }
  if (!failed.empty()) std::cerr << "Couldn't read " << Text::joined(failed, ", ") << ".\n";
  workWithProgress(*library, kept, options.json);
  return failed.empty() ? kSucceeded : kFailed;
}

}  // namespace brindlemoor::cli
