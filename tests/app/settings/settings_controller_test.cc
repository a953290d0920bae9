#include "app/settings/settings_controller.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

using Choices = std::vector<std::string>;

TEST(SettingsController, TheVisionMenuOffersInstalledVisionModelsTheKnownOnesAndTheChoice) {
  EXPECT_EQ(SettingsController::visionChoices({}, "qwen3.5:4b", "qwen3.5:4b"),
            (Choices{"gemma4:12b-it-qat", "qwen3.5:2b-q4_K_M", "qwen3.5:4b", "qwen3.5:9b"}));
  // An embedding model and other families are not vision choices; a tag
  // of an offered model counts as that model.
  EXPECT_EQ(SettingsController::visionChoices(
                {"embeddinggemma-2:440m", "llama3:8b", "gemma3:4b", "qwen3.5:9b"}, "qwen3.5:4b",
                "my-own:1b"),
            (Choices{"gemma3:4b", "gemma4:12b-it-qat", "my-own:1b", "qwen3.5:2b-q4_K_M",
                     "qwen3.5:4b", "qwen3.5:9b"}));
}

}  // namespace
}  // namespace brindlemoor
