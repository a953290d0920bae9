// SetupState is what the program needs measured afresh: whether the desktop
// can be captured (an X server with Composite), whether pages can be read
// (the accessibility bus, switched on), the Ollama daemon's version, and
// which of the two models are missing. Only "setupCompleted" is stored;
// the rest is checked each time. The words of setup are made here too.
//
// Threads: check() blocks on the daemon; call it off the GUI thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/understanding/ollama_client.h"

namespace brindlemoor {

struct SetupState {
  bool screenRecording = false;
  bool accessibility = false;
  std::optional<std::string> ollamaVersion;
  std::vector<std::string> missingModels;

  bool operator==(const SetupState&) const = default;

  // The daemon's state and the models `visionModel` and the embedding
  // model, with the two desktop checks as measured. Without the daemon both
  // models count as missing.
  static SetupState check(const OllamaClient& client, const std::string& visionModel,
                          bool screenRecording, bool accessibility);

  // A version the program can work with.
  bool ollamaReady() const;
  // Nothing is left to do.
  bool complete() const;
  // The first thing left to do: "Allow Screen Recording", ..., "Ready".
  std::string headline() const;
  // The Ollama step's detail.
  std::string ollamaDetail() const;
  // The models step's detail for `visionModel`, while `pulling` (with its
  // progress, 0 to 1) or not.
  std::string modelsDetail(const std::string& visionModel, const std::optional<std::string>& pulling,
                           double progress) const;
};

}  // namespace brindlemoor
