#include "core/organizing/collection_namer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"

namespace brindlemoor {

void PrintTo(const CollectionNamer::Naming& naming, std::ostream* out) {
  *out << "{" << naming.name << ", " << naming.emoji << "}";
}

namespace {

using Naming = CollectionNamer::Naming;

Capture titled(std::uint64_t n, std::string title) {
  Capture capture = testing::sampleCapture(n, 1000.0 + static_cast<double>(n));
  capture.title = std::move(title);
  capture.summary.reset();
  capture.tags.clear();
  return capture;
}

// The emoji that parse() takes from a reply whose "emoji" member is `emoji`.
std::string emojiOf(const nlohmann::json& emoji) {
  return CollectionNamer::parse(nlohmann::json{{"name", "Lemons"}, {"emoji", emoji}}.dump()).emoji;
}

TEST(CollectionNamerPrompt, WritesOneLinePerCaptureWithTitleSummaryAndTags) {
  Capture full = titled(1, "Lemon tart");
  full.summary = "A tart with lemon curd.";
  full.tags = {"a", "b"};
  Capture windowOnly = titled(2, "");
  windowOnly.windowTitle = "Curd - Notes";
  Capture appOnly = titled(3, "");
  appOnly.title.reset();
  appOnly.windowTitle = "";
  appOnly.app = "Preview";
  appOnly.tags = {"citrus"};

  // Written out whole so that a change of a single word in the program shows.
  EXPECT_EQ(
      CollectionNamer::prompt({full, windowOnly, appOnly}),
      "These items were saved together in a personal library:\n"
      "- Lemon tart: A tart with lemon curd. [a, b]\n"
      "- Curd - Notes: \n"
      "- Preview:  [citrus]\n\n"
      "Name the collection they form. Answer with JSON only:\n"
      "{\"name\": \"2 to 4 words, title case, specific (not 'Miscellaneous' or 'Screenshots')\",\n"
      " \"emoji\": \"one emoji that fits\"}");
}

TEST(CollectionNamerPrompt, TakesOnlyTheFirstTwelveCaptures) {
  std::vector<Capture> captures;
  for (int i = 0; i < 30; ++i) captures.push_back(titled(i, "Capture " + std::to_string(i)));
  const std::string prompt = CollectionNamer::prompt(captures);
  EXPECT_NE(prompt.find("- Capture 11: \n\nName"), std::string::npos);
  EXPECT_EQ(prompt.find("Capture 12"), std::string::npos);
}

TEST(CollectionNamerParse, TakesTheObjectOutOfChatterOrGivesTheDefaults) {
  EXPECT_EQ(CollectionNamer::parse("Sure!\n```json\n{\"name\": \"Lemon Recipes\", \"emoji\": "
                                   "\"🍋\"}\n```"),
            (Naming{"Lemon Recipes", "🍋"}));
  const Naming untitled{"Untitled collection", "📁"};
  EXPECT_EQ(CollectionNamer::parse("not json"), untitled);
  EXPECT_EQ(CollectionNamer::parse("{\"name\": \"Lemons\"} {\"emoji\": \"🍋\"}"), untitled);
}

TEST(CollectionNamerParse, CleansTheName) {
  const auto nameOf = [](const nlohmann::json& name) {
    return CollectionNamer::parse(nlohmann::json{{"name", name}, {"emoji", "🍋"}}.dump()).name;
  };
  EXPECT_EQ(nameOf("  \"Lemon\n\tRecipes\"  "), "Lemon Recipes");
  EXPECT_EQ(nameOf(std::string(40, 'a')), std::string(40, 'a'));
  EXPECT_EQ(nameOf(std::string(41, 'a')), std::string(39, 'a') + "…");
  // Forty user-perceived characters, each a flag of eight bytes, stay whole.
  std::string flags;
  for (int i = 0; i < 40; ++i) flags += "🇫🇷";
  EXPECT_EQ(nameOf(flags), flags);
}

TEST(CollectionNamerParse, TakesTheFirstWholeCharacterThatShowsAsAnEmojiElseTheFolder) {
  EXPECT_EQ(emojiOf("x🍋📂"), "🍋");
  // A flag is two regional indicators; of three, the first two pair up.
  EXPECT_EQ(emojiOf("🇫🇷🇩"), "🇫🇷");
  EXPECT_EQ(emojiOf("a👩\u200D💻b"), "👩\u200D💻");                        // woman technologist
  EXPECT_EQ(emojiOf("🏳\uFE0F\u200D🌈"), "🏳\uFE0F\u200D🌈");  // rainbow flag
  // Characters that are emoji only when asked to be: text by default.
  EXPECT_EQ(emojiOf("\u2708 \u263A #"), "📁");
  EXPECT_EQ(emojiOf("\u2708\uFE0F"), "\u2708\uFE0F");
  EXPECT_EQ(CollectionNamer::parse("{\"name\": \"Lemons\"}").emoji, "📁");
}

class CollectionNamerName : public ::testing::Test {
 protected:
  CollectionNamerName() { m_daemon.setModels({"vision:latest"}); }

  testing::ImitationOllama m_daemon;
};

TEST_F(CollectionNamerName, AsksForJsonWithoutImagesAndParsesTheReply) {
  m_daemon.setReply("{\"name\": \"  Lemon Recipes \", \"emoji\": \"x🍋\"}");
  const CollectionNamer namer(OllamaClient(m_daemon.host()), "vision");
  const std::vector<Capture> captures = {titled(1, "Lemon tart"), titled(2, "Lemonade")};

  EXPECT_EQ(namer.name(captures), (Naming{"Lemon Recipes", "🍋"}));

  const auto body = nlohmann::json::parse(m_daemon.lastBody("/api/generate").value());
  EXPECT_EQ(body["model"], "vision");
  EXPECT_EQ(body["prompt"], CollectionNamer::prompt(captures));
  EXPECT_EQ(body["format"], "json");
  EXPECT_FALSE(body.contains("images"));
}

TEST_F(CollectionNamerName, TheDaemonsFailurePassesThrough) {
  const CollectionNamer namer(OllamaClient(m_daemon.host()), "absent");
  try {
    namer.name({titled(1, "Lemon tart")});
    ADD_FAILURE() << "no failure for a model the daemon lacks";
  } catch (const OllamaClient::Failure& failure) {
    EXPECT_EQ(failure.status(), 404);
  }
}

}  // namespace
}  // namespace brindlemoor
