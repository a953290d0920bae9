#include "core/organizing/collection_namer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"

namespace brindlemoor {
namespace {

using Naming = CollectionNamer::Naming;

Capture titled(std::uint64_t n, std::string title) {
  Capture capture = testing::sampleCapture(n, 1000.0 + static_cast<double>(n));
  capture.title = std::move(title);
  return capture;
}

Naming parsed(const nlohmann::json& name, const nlohmann::json& emoji) {
  return CollectionNamer::parse(nlohmann::json{{"name", name}, {"emoji", emoji}}.dump());
}

TEST(CollectionNamer, PromptHasALineForEachOfTheFirstTwelveCaptures) {
  Capture full = titled(1, "Lemon tart");
  full.summary = "A tart with lemon curd.";
  full.tags = {"a", "b"};
  std::vector<Capture> captures = {full};
  for (int i = 2; i < 30; ++i) captures.push_back(titled(i, "Capture " + std::to_string(i)));

  const std::string prompt = CollectionNamer::prompt(captures);
  EXPECT_NE(prompt.find(":\n- Lemon tart: A tart with lemon curd. [a, b]\n- Capture 2: \n"),
            std::string::npos)
      << prompt;
  EXPECT_NE(prompt.find("- Capture 12: \n\nName"), std::string::npos) << "twelve and no more";
}

TEST(CollectionNamer, ParseCleansTheNameAndTakesTheFirstWholeEmojiElseFallsBack) {
  EXPECT_EQ(CollectionNamer::parse("not json"), (Naming{"Untitled collection", "📁"}));
  EXPECT_EQ(parsed(7, "🍋"), (Naming{"Untitled collection", "🍋"}));
  EXPECT_EQ(parsed("  \"Lemon\n\tRecipes\"  ", "🍋").name, "Lemon Recipes");
  EXPECT_EQ(parsed(std::string(41, 'a'), "🍋").name, std::string(39, 'a') + "…");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"x🍋📂", "🍋"},
      {"🇫🇷🇩", "🇫🇷"},  // a flag is two regional indicators; of three, the first two pair up
      {"a👩\u200D💻b", "👩\u200D💻"},  // woman technologist
      {"\u2708 \u263A #", "📁"},    // characters that are emoji only when asked to be
      {"\u2708\uFE0F", "\u2708\uFE0F"},
  };
  for (const auto& [emoji, shown] : cases) EXPECT_EQ(parsed("Lemons", emoji).emoji, shown) << emoji;
}

TEST(CollectionNamer, NameAsksForJsonWithoutImagesAndPassesTheDaemonsFailureOn) {
  testing::ImitationOllama daemon;
  daemon.setModels({"vision:latest"});
  daemon.setReply("{\"name\": \"  Lemon Recipes \", \"emoji\": \"x🍋\"}");
  const std::vector<Capture> captures = {titled(1, "Lemon tart"), titled(2, "Lemonade")};
  EXPECT_EQ(CollectionNamer(OllamaClient(daemon.host()), "vision").name(captures),
            (Naming{"Lemon Recipes", "🍋"}));
  const auto body = nlohmann::json::parse(daemon.lastBody("/api/generate").value());
  EXPECT_EQ(body["format"], "json");
  EXPECT_FALSE(body.contains("images"));
  EXPECT_THROW(CollectionNamer(OllamaClient(daemon.host()), "absent").name(captures),
               OllamaClient::Failure);
}

}  // namespace
}  // namespace brindlemoor
