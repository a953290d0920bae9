// brindlemoor-mcp as a separate process, fed lines or driven by the official MCP SDK's client.
#include <gtest/gtest.h>

#include <fstream>
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

class McpProcess : public ::testing::Test {
 protected:
  // A described lemon tart filed in "Tart Evenings", and a capture only read.
  void keepTart() {
    LibraryStore store(m_data / "Brindlemoor");
    store.insertCollection({sampleID(100), "Tart Evenings", "🥧", dateFromSeconds(1),
                            dateFromSeconds(2), 0, 0, false});
    store.insert(sampleCapture(1, 1700000000));
    store.setRead(sampleID(1), "lemon tart with cream", std::nullopt);
    store.setDescribed(sampleID(1), {"Lemon tart", "A tart.", CaptureKind::recipe, {}, {}, {}});
    store.setCollection(sampleID(1), sampleID(100));
    store.insert(sampleCapture(2, 1700000100));
    store.setRead(sampleID(2), "quarterly figures", std::nullopt);
  }

  std::map<std::string, std::string> environment() const {
    return {{"HOME", m_home.path().string()},
            {"XDG_DATA_HOME", m_data.string()},
            {"XDG_CONFIG_HOME", (m_home.path() / "config").string()},
            {"OLLAMA_HOST", m_daemon.host()},
            {"LC_ALL", "en_US.UTF-8"},
            {"TZ", "UTC"}};
  }

  // The server with `input` on its standard input, the library's folder read-only if asked.
  testing::ChildProcess run(const std::string& input, bool readOnly = false) {
    const auto file = m_home.path() / "input";
    std::ofstream(file, std::ios::binary) << input;
    const std::string mount = "mount --bind \"$2\" \"$2\" && mount -o remount,ro,bind \"$2\" && ";
    return testing::ChildProcess(
        readOnly ? "/usr/bin/unshare" : "/usr/bin/env",
        {readOnly ? "-m" : "--", "/bin/sh", "-c", (readOnly ? mount : "") + "exec \"$0\" < \"$1\"",
         BRINDLEMOOR_MCP, file.string(), m_data.string()},
        environment());
  }

  testing::TempDir m_home;
  std::filesystem::path m_data = m_home.path() / "data";
  testing::ClosedPort m_daemon;
};

TEST_F(McpProcess, AnswersEachRequestOnALineOfItsOwnUntilTheInputEnds) {
  testing::ChildProcess server =
      run(std::string(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"
                      "\n\n") +
          R"({"jsonrpc":"2.0","id":3,"method":"ping","params":{"pad":")" +
          std::string(17 * 1024 * 1024, 'x') + "\"}}\n" +
          R"({"jsonrpc":"2.0","id":"last","method":"ping"})");  // no newline at the end
  ASSERT_EQ(server.wait(), 0) << server.err();
  const json parseError = {{"jsonrpc", "2.0"},
                           {"id", nullptr},
                           {"error", {{"code", -32700}, {"message", "Parse error"}}}};
  const json pong = {{"jsonrpc", "2.0"}, {"id", "last"}, {"result", json::object()}};
  // The blank line, and the line too long to read, skipped unread.
  EXPECT_EQ(server.out(), parseError.dump() + "\n" + parseError.dump() + "\n" + pong.dump() + "\n");
}

// A library on a read-only mount or a backup disk is still searched: only writers write.
TEST_F(McpProcess, SearchesALibraryOnAReadOnlyMedium) {
  if (testing::ChildProcess("/usr/bin/unshare", {"-m", "true"}, {}).wait() != 0) {
    GTEST_SKIP() << "unshare -m can't make a mount namespace here";
  }
  keepTart();
  testing::ChildProcess server =
      run(json{{"jsonrpc", "2.0"},
               {"id", 1},
               {"method", "tools/call"},
               {"params", {{"name", "search_brindlemoor"}, {"arguments", {{"query", "lemon"}}}}}}
              .dump(),
          true);
  ASSERT_EQ(server.wait(), 0) << server.err();
  const json result = json::parse(server.out())["result"];
  EXPECT_FALSE(result["isError"].get<bool>()) << result;
  EXPECT_NE(result["content"][0]["text"].get<std::string>().find("Lemon tart"), std::string::npos)
      << result;
}

TEST_F(McpProcess, TheOfficialClientNegotiatesListsAndCallsEveryTool) {
  const std::filesystem::path sdk = SDK_CLIENT_DIR;
  ASSERT_TRUE(std::filesystem::exists(sdk / "node_modules/@modelcontextprotocol/sdk/package.json"))
      << "The MCP SDK is not installed: run scripts/install-test-node-modules.";
  keepTart();
  testing::ChildProcess node("/usr/bin/env",
                             {"node", (sdk / "client.mjs").string(), BRINDLEMOOR_MCP, sampleID(1)},
                             environment());
  ASSERT_EQ(node.wait(), 0) << node.err();
  const json summary = json::parse(node.out());

  EXPECT_EQ(summary["serverInfo"],
            json({{"name", "brindlemoor"}, {"version", BRINDLEMOOR_VERSION}}));
  EXPECT_EQ(summary["tools"], json::parse(R"([
    {"name": "search_brindlemoor", "properties": ["limit", "query"], "required": ["query"]},
    {"name": "recent_captures", "properties": ["collection", "kind", "limit"], "required": []},
    {"name": "get_capture", "properties": ["id"], "required": ["id"]},
    {"name": "list_collections", "properties": [], "required": []}])"));

  // The handler's texts are pinned in its own test; here, dates follow the environment's locale.
  LibraryStore store(m_data / "Brindlemoor");
  const std::unique_ptr<icu::TimeZone> utc(icu::TimeZone::createTimeZone("UTC"));
  const std::string listing = CaptureText::listing(*store.capture(sampleID(1)), store.collections(),
                                                   icu::Locale("en_US"), *utc);
  EXPECT_EQ(summary["search"], json({{"types", {"text"}},
                                     {"text", "Brindlemoor for “lemon” (1):\n\n" + listing},
                                     {"isError", false}}));
  EXPECT_EQ(summary["missing"]["isError"], true);
}

}  // namespace
}  // namespace brindlemoor
