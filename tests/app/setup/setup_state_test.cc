#include "app/setup/setup_state.h"

#include <gtest/gtest.h>

#include "tests/testing/imitation_ollama.h"

namespace brindlemoor {
namespace {

using testing::ClosedPort;
using testing::ImitationOllama;

constexpr const char* kVision = "qwen3.5:4b";

TEST(SetupState, TheChecksAndTheirWordsFollowTheFirstThingLeftToDo) {
  const ClosedPort down;
  SetupState state = SetupState::check(OllamaClient(down.host()), kVision, true, true);
  EXPECT_EQ(state.ollamaVersion, std::nullopt);
  EXPECT_EQ(state.missingModels, (std::vector<std::string>{kVision, "embeddinggemma-2:440m"}));
  EXPECT_EQ(state.headline(), "Ollama isn't running");
  EXPECT_EQ(state.ollamaDetail(), "Runs the models on this computer. It isn't running.");
  EXPECT_EQ(state.modelsDetail(kVision, std::nullopt, 0),
            "qwen3.5:4b (3.4 GB) and embeddinggemma-2:440m (710 MB): one reads and names, one "
            "files and finds.");

  ImitationOllama daemon;
  daemon.setModels({"embeddinggemma-2:440m"});
  state = SetupState::check(OllamaClient(daemon.host()), kVision, true, true);
  EXPECT_EQ(state.ollamaDetail(), "Ollama 0.40.0 is running.");
  EXPECT_EQ(state.missingModels, std::vector<std::string>{kVision});
  EXPECT_EQ(state.headline(), "Download the models");
  EXPECT_EQ(state.modelsDetail(kVision, std::string(kVision), 0.427),
            "Downloading qwen3.5:4b · 42%");
  EXPECT_FALSE(state.complete());

  daemon.setModels({"qwen3.5:4b", "embeddinggemma-2:440m"});
  state = SetupState::check(OllamaClient(daemon.host()), kVision, true, true);
  EXPECT_TRUE(state.complete());
  EXPECT_EQ(state.headline(), "Ready");
  EXPECT_EQ(state.modelsDetail("my-own:1b", std::nullopt, 0),
            "my-own:1b and embeddinggemma-2:440m (710 MB): ready.");

  // The desktop's two checks come first, screen before pages.
  EXPECT_EQ(SetupState::check(OllamaClient(daemon.host()), kVision, false, false).headline(),
            "Allow Screen Recording");
  EXPECT_EQ(SetupState::check(OllamaClient(daemon.host()), kVision, true, false).headline(),
            "Allow Accessibility for pages");

  daemon.answer("/api/version", 200, R"({"version": "0.39.9"})");
  state = SetupState::check(OllamaClient(daemon.host()), kVision, true, true);
  EXPECT_EQ(state.headline(), "Update Ollama to 0.40.0+");
  EXPECT_EQ(state.ollamaDetail(),
            "Ollama 0.39.9 is running; Brindlemoor needs 0.40.0 or later.");
  EXPECT_FALSE(state.complete());
}

}  // namespace
}  // namespace brindlemoor
