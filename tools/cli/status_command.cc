#include <iostream>
#include <nlohmann/json.hpp>

#include "tools/cli/commands.h"
#include "tools/cli/session.h"

namespace brindlemoor::cli {
namespace {

constexpr const char* kHelp =
    "Usage: brindlemoor-cli status [--json]\n"
    "\n"
    "Shows how many captures the library holds by stage and by media, the\n"
    "captures still waiting with their last error, whether Ollama answers,\n"
    "and which of the models Brindlemoor uses are missing from it.\n";

constexpr std::int64_t kWaitingShown = 50;

struct Daemon {
  std::optional<std::string> version;  // nothing when it doesn't answer
  std::string problem;
  std::vector<std::string> missing;
};

Daemon askDaemon(const Library& library) {
  Daemon daemon;
  try {
    daemon.version = library.client().version();
    const auto installed = library.client().models();
    for (const auto& model : {library.visionModel(), library.embeddingModel()}) {
      if (!OllamaClient::has(model, installed)) daemon.missing.push_back(model);
    }
  } catch (const OllamaClient::Failure& failure) {
    daemon.problem = failure.what();
  }
  return daemon;
}

template <class T>
nlohmann::ordered_json countsObject(const std::map<T, std::int64_t>& counts) {
  nlohmann::ordered_json object = nlohmann::ordered_json::object();
  for (T value : T::all()) {
    const auto found = counts.find(value);
    object[std::string(value.raw())] = found == counts.end() ? 0 : found->second;
  }
  return object;
}

void printCounts(const char* label, const nlohmann::ordered_json& counts) {
  std::cout << label;
  const char* separator = " ";
  for (const auto& [name, count] : counts.items()) {
    std::cout << separator << name << " " << count.get<std::int64_t>();
    separator = ", ";
  }
  std::cout << "\n";
}

int printStatus(Library& library, const Options& options) {
  LibraryStore& store = library.store();

  nlohmann::ordered_json report;
  report["library"] = store.root().string();
  report["captures"] = store.count();
  report["stages"] = countsObject(store.stageCounts());
  report["media"] = countsObject(store.mediaCounts());
  report["waiting"] = nlohmann::ordered_json::array();
  for (const auto& capture : store.unfinished(kWaitingShown)) {
    report["waiting"].push_back({{"id", capture.id},
                                 {"title", capture.displayTitle()},
                                 {"stage", capture.stage.raw()},
                                 {"error", capture.lastError ? *capture.lastError : ""}});
  }
  const Daemon daemon = askDaemon(library);
  report["ollama"] = {{"host", library.client().host()},
                      {"running", daemon.version.has_value()},
                      {"version", daemon.version.value_or("")},
                      {"problem", daemon.problem}};
  report["models"] = {{"vision", library.visionModel()},
                      {"embedding", library.embeddingModel()},
                      {"missing", daemon.missing}};

  if (options.json) {
    std::cout << report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
              << "\n";
    return kSucceeded;
  }
  std::cout << "Library: " << store.root().string() << "\n"
            << "Captures: " << report["captures"].get<std::int64_t>() << "\n";
  printCounts("By stage:", report["stages"]);
  printCounts("By media:", report["media"]);
  if (!report["waiting"].empty()) std::cout << "Waiting:\n";
  for (const auto& capture : report["waiting"]) {
    std::cout << "  " << capture["id"].get<std::string>().substr(0, 8) << "  "
              << capture["stage"].get<std::string>() << "  " << capture["title"].get<std::string>();
    if (!capture["error"].get<std::string>().empty()) {
      std::cout << "  (" << capture["error"].get<std::string>() << ")";
    }
    std::cout << "\n";
  }
  if (daemon.version) {
    std::cout << "Ollama: " << *daemon.version << " at " << library.client().host() << "\n";
  } else {
    std::cout << "Ollama: not answering at " << library.client().host() << " (" << daemon.problem
              << ")\n";
  }
  std::cout << "Models: vision " << library.visionModel() << ", embedding "
            << library.embeddingModel() << "\n";
  for (const auto& model : daemon.missing) {
    std::cout << "Missing model: " << model << " (ollama pull " << model << ")\n";
  }
  return kSucceeded;
}

}  // namespace

int status(const std::vector<std::string>& args) {
  return runCommand(args, kHelp, printStatus);
}

}  // namespace brindlemoor::cli
