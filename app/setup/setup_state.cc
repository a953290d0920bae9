#include "app/setup/setup_state.h"

#include "core/understanding/models.h"

namespace brindlemoor {

SetupState SetupState::check(const OllamaClient& client, const std::string& visionModel,
                             bool screenRecording, bool accessibility) {
  SetupState state;
  state.screenRecording = screenRecording;
  state.accessibility = accessibility;
  const std::vector<std::string> needed{visionModel, Models::embedding};
  try {
    state.ollamaVersion = client.version();
  } catch (const OllamaClient::Failure&) {
    state.missingModels = needed;
    return state;
  }
  std::vector<std::string> installed;
  try {
    installed = client.models();
  } catch (const OllamaClient::Failure&) {
  }
  for (const std::string& name : needed) {
    if (!OllamaClient::has(name, installed)) state.missingModels.push_back(name);
  }
  return state;
}

bool SetupState::ollamaReady() const {
  return ollamaVersion && Models::isVersion(*ollamaVersion, Models::minimumOllama);
}

bool SetupState::complete() const {
  return screenRecording && accessibility && ollamaReady() && missingModels.empty();
}

std::string SetupState::headline() const {
  if (!screenRecording) return "Allow Screen Recording";
  if (!accessibility) return "Allow Accessibility for pages";
  if (!ollamaVersion) return "Ollama isn't running";
  if (!ollamaReady()) return "Update Ollama to " + Models::minimumOllama + "+";
  if (!missingModels.empty()) return "Download the models";
  return "Ready";
}

std::string SetupState::ollamaDetail() const {
  if (!ollamaVersion) return "Runs the models on this computer. It isn't running.";
  if (ollamaReady()) return "Ollama " + *ollamaVersion + " is running.";
  return "Ollama " + *ollamaVersion + " is running; Brindlemoor needs " + Models::minimumOllama +
         " or later.";
}

std::string SetupState::modelsDetail(const std::string& visionModel,
                                     const std::optional<std::string>& pulling,
                                     double progress) const {
  if (pulling) {
    return "Downloading " + *pulling + " · " + std::to_string(static_cast<int>(progress * 100)) +
           "%";
  }
  std::string list;
  for (const std::string& name : {visionModel, Models::embedding}) {
    if (!list.empty()) list += " and ";
    list += name;
    if (const auto size = Models::sizes.find(name); size != Models::sizes.end()) {
      list += " (" + size->second + ")";
    }
  }
  return list + (missingModels.empty() ? ": ready." : ": one reads and names, one files and finds.");
}

}  // namespace brindlemoor
