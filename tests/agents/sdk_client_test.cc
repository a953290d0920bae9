// brindlemoor-mcp as an agent meets it: the official MCP SDK's client starts
// the executable on a library made here, negotiates, lists the tools and
// calls each of them. Needs Node.js and the SDK that
// scripts/install-test-node-modules installs.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "core/presentation/capture_text.h"
#include "core/store/library_store.h"
#include "tests/testing/child_process.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using nlohmann::json;
using testing::sampleCapture;
using testing::sampleID;

TEST(SdkClient, TalksToTheServerThroughTheOfficialClient) {
  const std::filesystem::path sdk = SDK_CLIENT_DIR;
  ASSERT_TRUE(std::filesystem::exists(sdk / "node_modules/@modelcontextprotocol/sdk/package.json"))
      << "The MCP SDK is not installed: run scripts/install-test-node-modules.";

  testing::TempDir home;
  testing::ClosedPort daemon;
  LibraryStore store(home.path() / "data" / "Brindlemoor");
  store.insertCollection({sampleID(100), "Tart Evenings", "🥧", dateFromSeconds(1),
                          dateFromSeconds(2), 0, 0, false});
  store.insert(sampleCapture(1, 1700000000));
  store.setRead(sampleID(1), "lemon tart with cream", std::nullopt);
  store.setDescribed(sampleID(1), {"Lemon tart",
                                   "A tart.",
                                   CaptureKind::recipe,
                                   {"baking"},
                                   {"with cream"},
                                   {"https://example.com/tart"}});
  store.setCollection(sampleID(1), sampleID(100));
  store.insert(sampleCapture(2, 1700000100));
  store.setRead(sampleID(2), "quarterly figures", std::nullopt);

  testing::ChildProcess node("/usr/bin/env",
                             {"node", (sdk / "client.mjs").string(), BRINDLEMOOR_MCP, sampleID(1)},
                             {{"HOME", home.path().string()},
                              {"XDG_DATA_HOME", (home.path() / "data").string()},
                              {"XDG_CONFIG_HOME", (home.path() / "config").string()},
                              {"OLLAMA_HOST", daemon.host()},
                              {"LC_ALL", "en_US.UTF-8"},
                              {"TZ", "UTC"}});
  ASSERT_EQ(node.wait(), 0) << node.err();
  const json summary = json::parse(node.out());

  EXPECT_EQ(summary["serverInfo"],
            json({{"name", "brindlemoor"}, {"version", BRINDLEMOOR_VERSION}}));
  EXPECT_EQ(summary["capabilities"], json({{"tools", {{"listChanged", false}}}}));
  EXPECT_TRUE(summary["instructions"].get<std::string>().starts_with("Brindlemoor is the user's"));
  EXPECT_EQ(summary["tools"], json::parse(R"([
    {"name": "search_brindlemoor", "properties": ["limit", "query"], "required": ["query"]},
    {"name": "recent_captures", "properties": ["collection", "kind", "limit"], "required": []},
    {"name": "get_capture", "properties": ["id"], "required": ["id"]},
    {"name": "list_collections", "properties": [], "required": []}])"));

  // The server writes dates in the locale and time zone of its environment.
  const std::unique_ptr<icu::TimeZone> utc(icu::TimeZone::createTimeZone("UTC"));
  const auto tart = *store.capture(sampleID(1));
  const auto collections = store.collections();
  const auto listing = CaptureText::listing(tart, collections, icu::Locale("en_US"), *utc);
  const auto answer = [](const std::string& text, bool isError) {
    return json({{"types", {"text"}}, {"text", text}, {"isError", isError}});
  };
  EXPECT_EQ(summary["search"], answer("Brindlemoor for “lemon” (1):\n\n" + listing, false));
  EXPECT_EQ(summary["recent"], answer(listing, false));
  EXPECT_EQ(summary["capture"],
            answer(CaptureText::full(tart, collections, icu::Locale("en_US"), *utc), false));
  EXPECT_EQ(summary["collections"],
            answer("🥧 Tart Evenings — 1 capture (id " + sampleID(100) + ")", false));
  EXPECT_EQ(summary["missing"], answer("No capture with that id.", true));
}

}  // namespace
}  // namespace brindlemoor
