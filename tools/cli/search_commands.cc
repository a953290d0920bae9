#include <unicode/timezone.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "core/model/text.h"
#include "core/presentation/capture_text.h"
#include "tools/cli/commands.h"
#include "tools/cli/session.h"

namespace brindlemoor::cli {
namespace {

constexpr const char* kSearchHelp =
    "Usage: brindlemoor-cli search [--json] QUERY...\n"
    "\n"
    "Finds captures by their words, by look and by meaning, best first, and\n"
    "says why each came up; whole collections the query nearly covers are\n"
    "completed and named. Without Ollama the words alone answer.\n";

constexpr const char* kShowHelp =
    "Usage: brindlemoor-cli show [--json] ID\n"
    "\n"
    "Shows one capture in full: title, summary, passages worth keeping, note,\n"
    "tags, links, its collection, and the text on it or said in it.\n"
    "\n"
    "ID is the capture's id or any start of it, of 4 characters or more, that\n"
    "no other capture's id shares: the 8 that import, work and status print\n"
    "will do. Exits with 1 if no capture, or more than one, has it.\n";

constexpr const char* kCollectionsHelp =
    "Usage: brindlemoor-cli collections [--json]\n"
    "\n"
    "Lists the collections, the most recently filed first, with their counts.\n";

std::string listing(const Capture& capture, const std::vector<CaptureCollection>& collections) {
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
  return CaptureText::listing(capture, collections, icu::Locale::getDefault(), *zone);
}

std::string dump(const nlohmann::ordered_json& value) {
  return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

nlohmann::ordered_json collectionJson(const CaptureCollection& collection) {
  return {{"id", collection.id},
          {"name", collection.name},
          {"emoji", collection.emoji},
          {"count", collection.count}};
}

std::vector<CaptureCollection> readCollections(LibraryStore& store) {
  try {
    return store.collections();
  } catch (const Database::Failure&) {
    return {};  // a listing without its collection names is still a listing
  }
}

int printFindings(Library& library, const Options& options) {
  const std::string query = Text::joined(options.rest, " ");
  const SearchFindings found = library.findings(query);
  const auto collections = readCollections(library.store());

  if (options.json) {
    nlohmann::ordered_json report{{"query", query},
                                  {"hits", nlohmann::ordered_json::array()},
                                  {"collections", nlohmann::ordered_json::array()}};
    for (const auto& hit : found.hits) {
      nlohmann::ordered_json reasons = nlohmann::ordered_json::array();
      for (SearchReason reason : hit.reasons) reasons.push_back(reason.raw());
      report["hits"].push_back({{"id", hit.capture.id},
                                {"title", hit.capture.displayTitle()},
                                {"reasons", reasons},
                                {"text", listing(hit.capture, collections)}});
    }
    for (const auto& id : found.collectionIDs) {
      for (const auto& collection : collections) {
        if (collection.id == id) report["collections"].push_back(collectionJson(collection));
      }
    }
    std::cout << dump(report) << "\n";
    return kSucceeded;
  }
  if (found.hits.empty()) {
    std::cout << "Nothing in Brindlemoor matches “" << query << "”.\n";
    return kSucceeded;
  }
  for (const auto& id : found.collectionIDs) {
    for (const auto& collection : collections) {
      if (collection.id == id) {
        std::cout << "Whole collection: " << collection.emoji << " " << collection.name << " ("
                  << collection.count << ")\n";
      }
    }
  }
  for (const auto& hit : found.hits) {
    std::vector<std::string> reasons;
    for (SearchReason reason : hit.reasons) reasons.emplace_back(reason.raw());
    std::cout << "\n"
              << listing(hit.capture, collections) << "\n  found by " << Text::joined(reasons, ", ")
              << "\n";
  }
  return kSucceeded;
}

int printCapture(Library& library, const Options& options) {
  const auto found = findCapture(library.store(), options.rest.front());
  if (const int* exitCode = std::get_if<int>(&found)) return *exitCode;
  const Capture& capture = std::get<Capture>(found);
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
  const std::string text = CaptureText::full(capture, readCollections(library.store()),
                                             icu::Locale::getDefault(), *zone);
  if (options.json) {
    std::cout << dump({{"id", capture.id}, {"stage", capture.stage.raw()}, {"text", text}}) << "\n";
  } else {
    std::cout << text << "\n";
  }
  return kSucceeded;
}

int printCollections(Library& library, const Options& options) {
  const std::vector<CaptureCollection> all = library.store().collections();
  if (options.json) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& collection : all) list.push_back(collectionJson(collection));
    std::cout << dump(list) << "\n";
    return kSucceeded;
  }
  if (all.empty()) std::cout << "No collections yet: they form as similar captures are kept.\n";
  for (const auto& collection : all) {
    std::cout << collection.emoji << " " << collection.name << " — " << collection.count
              << " capture" << (collection.count == 1 ? "" : "s") << " (id " << collection.id
              << ")\n";
  }
  return kSucceeded;
}

}  // namespace

int search(const std::vector<std::string>& args) {
  return runCommand(
      args, kSearchHelp,
      [](const Options& options) -> std::optional<int> {
        if (Text::trimmed(Text::joined(options.rest, " ")).empty()) {
          return misused("search needs words to look for");
        }
        return std::nullopt;
      },
      printFindings);
}

int show(const std::vector<std::string>& args) {
  return runCommand(
      args, kShowHelp,
      [](const Options& options) -> std::optional<int> {
        if (options.rest.size() != 1) return misused("show takes one capture id");
        return std::nullopt;
      },
      printCapture);
}

int collections(const std::vector<std::string>& args) {
  return runCommand(args, kCollectionsHelp, printCollections);
}

}  // namespace brindlemoor::cli
