// The MCP handler over a real library whose daemon is out of reach, so search goes by words.
#include "core/agents/mcp_server.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "core/presentation/capture_text.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using nlohmann::json;
using testing::sampleCapture;
using testing::sampleID;

json error(const json& id, int code, const std::string& message) {
  return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", message}}}};
}

struct Answer {
  std::string text;
  bool isError = false;
  bool operator==(const Answer&) const = default;
};

// How many captures a tool's text lists.
std::size_t listed(const std::string& text) {
  std::size_t count = 0;
  for (auto at = text.find("\nid "); at != std::string::npos; at = text.find("\nid ", at + 1)) {
    ++count;
  }
  return count;
}

class MCP : public ::testing::Test {
 protected:
  LibraryStore& store() { return m_library.store(); }

  // The parsed reply to a line, or nothing when there is none.
  std::optional<json> reply(const std::string& line) {
    const auto text = m_server.handle(line);
    if (!text) return std::nullopt;
    return json::parse(*text);  // strict: invalid UTF-8 would throw
  }
  json request(const std::string& method, const json& params = json::object()) {
    return *reply(json{{"id", 1}, {"method", method}, {"params", params}}.dump());
  }
  // tools/call with raw JSON `arguments`, so numbers reach the server exactly as written.
  Answer callRaw(const std::string& tool, const std::string& arguments) {
    json result = reply(R"({"id":1,"method":"tools/call","params":{"name":")" + tool +
                        R"(","arguments":)" + arguments + "}}")
                      ->at("result");
    EXPECT_EQ(result["content"].size(), 1u);
    return {result["content"][0]["text"], result["isError"]};
  }
  Answer call(const std::string& tool, const json& arguments = json::object()) {
    return callRaw(tool, arguments.dump());
  }

  void keep(int n, const std::string& words, CaptureKind kind = CaptureKind::other,
            const std::optional<std::string>& collection = std::nullopt) {
    store().insert(sampleCapture(n, 1700000000 + n));
    store().setRead(sampleID(n), words, std::nullopt);
    store().setDescribed(sampleID(n), {"Capture " + std::to_string(n), "", kind, {}, {}, {}});
    if (collection) store().setCollection(sampleID(n), collection);
  }
  void addCollection(int n, const std::string& name, double updatedAt) {
    store().insertCollection(
        {sampleID(n), name, "🥧", dateFromSeconds(1), dateFromSeconds(updatedAt), 0, 0, false});
  }
  std::string listing(int n) {
    return CaptureText::listing(*store().capture(sampleID(n)), store().collections(), m_locale,
                                *m_utc);
  }

  testing::TempDir m_dir;
  testing::ClosedPort m_daemon;
  Library m_library{std::make_unique<LibraryStore>(m_dir.path()),
                    OllamaClient(m_daemon.host()),
                    "vision",
                    "embedding",
                    Organizer(),
                    nullptr};
  const icu::Locale m_locale{"en_US"};
  const std::unique_ptr<icu::TimeZone> m_utc{icu::TimeZone::createTimeZone("UTC")};
  const MCPServer m_server{m_library, m_library.store(), "1.2.3", m_locale, *m_utc};
};

TEST_F(MCP, TheLineDecidesWhetherAndHowToAnswerAndInitializeIntroducesTheServer) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  for (const std::string& line :
       {std::string(""), std::string("[1,2]"), std::string(R"({"id":1,"method":"ping"} {})"), deep,
        std::string("{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"p\xffng\"}")}) {
    EXPECT_EQ(reply(line), error(nullptr, -32700, "Parse error")) << line.substr(0, 60);
  }
  EXPECT_EQ(reply(R"({"id":"a","method":42})"), error("a", -32600, "Invalid request"));
  EXPECT_EQ(reply(R"({"method":"tools/call","params":{"name":"list_collections"}})"), std::nullopt)
      << "a notification is never acted upon";
  // A string or a 64-bit integer id comes back as sent; any other is refused.
  for (const json& id : {json(-3), json(18446744073709551615u), json("x")}) {
    EXPECT_EQ(reply(json{{"id", id}, {"method", "ping"}}.dump()),
              json({{"jsonrpc", "2.0"}, {"id", id}, {"result", json::object()}}));
  }
  for (const char* id : {"null", "{\"k\":1}", "[1]", "true", "1.5", "18446744073709551616"}) {
    EXPECT_EQ(reply(std::string(R"({"method":"ping","id":)") + id + "}"),
              error(nullptr, -32600, "Invalid request"))
        << id;
  }
  EXPECT_EQ(request("resources/list"), error(1, -32601, "Method not found: resources/list"));

  // Initialize echoes a version it is given as text, and tools tell their limits as they apply.
  const json result = request("initialize", {{"protocolVersion", "2024-11-05"}})["result"];
  EXPECT_EQ(result["protocolVersion"], "2024-11-05");
  EXPECT_EQ(result["instructions"], MCPServer::instructions);
  EXPECT_EQ(request("initialize", {{"protocolVersion", 2025}})["result"]["protocolVersion"],
            "2025-06-18");

  const std::string tools = request("tools/list")["result"]["tools"].dump();
  EXPECT_NE(tools.find("(default 8, at most 25)"), std::string::npos);
  EXPECT_NE(tools.find("(default 10, at most 50)"), std::string::npos);
}

TEST_F(MCP, OnlyAJsonIntegerIsALimitAndItIsClamped) {
  for (int n = 1; n <= 60; ++n) keep(n, "lemon number " + std::to_string(n));
  // A limit that is no JSON integer means the default.
  const std::map<std::string, std::pair<std::size_t, std::size_t>> limits = {
      {"", {8, 10}},  {"2.5", {8, 10}}, {"\"10\"", {8, 10}},
      {"-1", {1, 1}}, {"3", {3, 3}},    {"18446744073709551615", {25, 50}}};
  for (const auto& [limit, expected] : limits) {
    const std::string member = limit.empty() ? "" : R"("limit":)" + limit;
    const std::string search = R"({"query":"lemon")" + (limit.empty() ? "" : "," + member) + "}";
    EXPECT_EQ(listed(callRaw("search_brindlemoor", search).text), expected.first) << limit;
    EXPECT_EQ(listed(callRaw("recent_captures", "{" + member + "}").text), expected.second)
        << limit;
  }
}

TEST_F(MCP, EachToolAnswersWithItsTextOrRefusesWhileTheDaemonIsDown) {
  EXPECT_EQ(call("recent_captures"), (Answer{"Nothing kept there yet."}));
  addCollection(100, "Tart Evenings", 5);
  addCollection(101, "Çay Evenings", 4);
  addCollection(102, "Left empty", 7);
  keep(1, "lemon tart with cream", CaptureKind::recipe, sampleID(100));
  keep(2, "a chat", CaptureKind::chat);
  keep(3, "another chat", CaptureKind::chat, sampleID(101));

  EXPECT_EQ(call("search_brindlemoor", {{"query", "  lemon\n"}}),
            (Answer{"Brindlemoor for “lemon” (1):\n\n" + listing(1)}));
  EXPECT_EQ(call("search_brindlemoor", {{"query", "zebra"}}),
            (Answer{"Nothing in Brindlemoor matches “zebra”."}));
  EXPECT_EQ(call("search_brindlemoor", {{"query", " \n\t "}}),
            (Answer{"'query' must be a non-empty string.", true}));
  EXPECT_EQ(call("delete_everything"), (Answer{"Unknown tool delete_everything.", true}));

  EXPECT_EQ(call("recent_captures").text, listing(3) + "\n\n" + listing(2) + "\n\n" + listing(1));
  EXPECT_EQ(call("recent_captures", {{"collection", "ÇAY EVENINGS"}}).text, listing(3));
  EXPECT_EQ(call("recent_captures", {{"kind", "CHAT"}}).text, listing(3) + "\n\n" + listing(2));
  EXPECT_EQ(call("recent_captures", {{"kind", "Slack"}}), (Answer{"Unknown kind “Slack”.", true}));

  EXPECT_EQ(call("get_capture", {{"id", sampleID(1)}}),
            (Answer{CaptureText::full(*store().capture(sampleID(1)), store().collections(),
                                      m_locale, *m_utc)}));
  EXPECT_EQ(call("get_capture", {{"id", "%"}}), (Answer{"No capture with that id.", true}));
  EXPECT_TRUE(callRaw("get_capture", R"(["id"])").isError)
      << "arguments that aren't an object count as none";

  const std::string collections = call("list_collections").text;
  EXPECT_NE(collections.find("🥧 Tart Evenings — 1 capture (id " + sampleID(100) + ")"),
            std::string::npos)
      << collections;
  EXPECT_EQ(collections.find("Left empty"), std::string::npos);
}

TEST_F(MCP, RepliesStayValidJsonWhateverTheStoreOrTheClientHolds) {
  store().insert(sampleCapture(1, 1700000000));
  store().setRead(sampleID(1), "lemon \xff\xfe tart \xe2\x82", std::string("said \xc3"));
  EXPECT_NE(call("get_capture", {{"id", sampleID(1)}}).text.find("lemon \uFFFD\uFFFD tart"),
            std::string::npos);

  std::string words;
  while (words.size() < 10 * 1024 * 1024) words += "lemon ";
  const Answer search = call("search_brindlemoor", {{"query", words}});
  EXPECT_EQ(listed(search.text), 1u) << "the query is read only so far";
  EXPECT_LT(search.text.size(), 2000u);
}

}  // namespace
}  // namespace brindlemoor
