#include "core/media/internal/audio_models.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

namespace fs = std::filesystem;

// A model directory as the distribution lays it out; `complete` false leaves
// out its dictionary.
void installModel(const fs::path& root, const std::string& tag, bool complete = true) {
  fs::create_directories(root / tag / tag);
  std::ofstream(root / tag / tag / "mdef") << "0.3\n";
  std::ofstream(root / tag / (tag + ".lm.bin")) << "lm";
  if (complete) std::ofstream(root / tag / ("cmudict-" + tag + ".dict")) << "a AH\n";
}

TEST(AudioModels, PrefersTheLocalesCountryThenItsLanguageThenUsEnglish) {
  const testing::TempDir root;
  const auto modelFor = [&](std::string_view locale) -> std::optional<std::string> {
    const auto model = AudioModels::forLocale(locale, root.path());
    return model ? std::optional(model->acoustic.filename().string()) : std::nullopt;
  };
  installModel(root.path(), "de-at");
  installModel(root.path(), "de-de");
  installModel(root.path(), "es-es", false);
  EXPECT_EQ(modelFor("en_US"), std::nullopt);

  installModel(root.path(), "en-us");
  EXPECT_EQ(modelFor("de-DE.UTF-8"), "de-de");
  EXPECT_EQ(modelFor("de_CH"), "de-at");  // the first of its language
  EXPECT_EQ(modelFor("es_ES"), "en-us");  // incomplete
  EXPECT_EQ(modelFor("dev"), "en-us");    // no prefix match on "de"
}

}  // namespace
}  // namespace brindlemoor
