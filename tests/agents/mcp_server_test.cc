// The MCP request handler over a real library whose daemon is out of reach,
// so search goes by words: the protocol's replies, each tool's texts and
// limits, and what a hostile or careless client can send.
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

const json kParseError = {
    {"jsonrpc", "2.0"}, {"id", nullptr}, {"error", {{"code", -32700}, {"message", "Parse error"}}}};

struct Answer {
  std::string text;
  bool isError = false;
};

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
    return *reply(
        json{{"jsonrpc", "2.0"}, {"id", 1}, {"method", method}, {"params", params}}.dump());
  }
  // tools/call with `arguments` written as raw JSON, so that numbers reach the
  // server exactly as a client wrote them.
  Answer callRaw(const std::string& tool, const std::string& arguments) {
    const auto answer =
        reply(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":")" + tool +
              R"(","arguments":)" + arguments + "}}");
    EXPECT_TRUE(answer);
    if (!answer) return {};
    const json& result = answer->at("result");
    EXPECT_EQ(result.at("content").size(), 1u);
    EXPECT_EQ(result.at("content").at(0).at("type"), "text");
    return {result.at("content").at(0).at("text"), result.at("isError")};
  }
  Answer call(const std::string& tool, const json& arguments = json::object()) {
    return callRaw(tool, arguments.dump());
  }

  // A screen capture whose picture holds `words`, described as `kind` and
  // filed in `collection` when one is given.
  void keep(int n, const std::string& words, CaptureKind kind = CaptureKind::other,
            const std::optional<std::string>& collection = std::nullopt) {
    store().insert(sampleCapture(n, 1700000000 + n));
    store().setRead(sampleID(n), words, std::nullopt);
    store().setDescribed(sampleID(n), {"Capture " + std::to_string(n), "", kind, {}, {}, {}});
    if (collection) store().setCollection(sampleID(n), collection);
  }
  void addCollection(const std::string& id, const std::string& name, double updatedAt) {
    store().insertCollection(
        {id, name, "🥧", dateFromSeconds(1), dateFromSeconds(updatedAt), 0, 0, false});
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

// ---- The protocol ----

TEST_F(MCP, WhatIsNoJsonObjectGetsTheParseError) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  for (const std::string& line :
       {std::string(""), std::string("[1,2]"), std::string("{"),
        std::string(R"({"jsonrpc":"2.0","id":1,"method":"ping"} {})"), deep,
        R"({"jsonrpc":"2.0","id":1,"method":"ping","params":)" + deep + "}",
        std::string("{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"p\xffng\"}")}) {
    EXPECT_EQ(reply(line), kParseError) << line.substr(0, 60);
  }
  EXPECT_EQ(MCPServer::parseError(), kParseError.dump());
}

TEST_F(MCP, IdAndMethodDecideWhetherAndHowToAnswer) {
  EXPECT_EQ(reply(R"({"jsonrpc":"2.0","id":7})"),
            json({{"jsonrpc", "2.0"},
                  {"id", 7},
                  {"error", {{"code", -32600}, {"message", "Invalid request"}}}}));
  EXPECT_EQ(reply(R"({"id":"a","method":42})")->at("error").at("code"), -32600);
  EXPECT_EQ(reply(R"({"jsonrpc":"2.0"})"), std::nullopt) << "neither id nor method";
  EXPECT_EQ(reply(R"({"method":"tools/call","params":{"name":"list_collections"}})"), std::nullopt)
      << "a notification is never acted upon";

  // Any JSON value is an id, null included, and comes back as it was sent.
  for (const json& id : {json(nullptr), json(-3), json({{"k", 1}})}) {
    const auto answer = reply(json{{"id", id}, {"method", "ping"}}.dump());
    EXPECT_EQ(answer, json({{"jsonrpc", "2.0"}, {"id", id}, {"result", json::object()}}));
  }
  EXPECT_EQ(*m_server.handle(R"({"id":"a/b","method":"ping"})"),
            R"({"id":"a/b","jsonrpc":"2.0","result":{}})")
      << "slashes unescaped";

  EXPECT_EQ(request("resources/list"),
            json({{"jsonrpc", "2.0"},
                  {"id", 1},
                  {"error", {{"code", -32601}, {"message", "Method not found: resources/list"}}}}));
}

TEST_F(MCP, InitializeEchoesTheClientsVersionAndIntroducesTheServer) {
  const json result = request("initialize", {{"protocolVersion", "2024-11-05"}}).at("result");
  EXPECT_EQ(result,
            json({{"protocolVersion", "2024-11-05"},
                  {"capabilities", {{"tools", {{"listChanged", false}}}}},
                  {"serverInfo", {{"name", "brindlemoor"}, {"version", "1.2.3"}}},
                  {"instructions",
                   "Brindlemoor is the user's brindlemoor book: windows, photos and videos they "
                   "chose to keep, each described, tagged and filed into collections. Search it "
                   "(search_brindlemoor) before asking the user about something they saw, read or "
                   "saved; open a result with get_capture for its full text."}}));
  for (const char* params : {"{}", R"({"protocolVersion":2025})", "[1]"}) {
    EXPECT_EQ(reply(std::string(R"({"id":1,"method":"initialize","params":)") + params + "}")
                  ->at("result")
                  .at("protocolVersion"),
              "2025-06-18")
        << params;
  }
}

TEST_F(MCP, ToolsListGivesTheFourToolsWordForWord) {
  const json kinds =
      "One of: article, code, design, chat, email, document, spreadsheet, slides, product, "
      "receipt, recipe, food, place, video, social, data, idea, other";
  EXPECT_EQ(request("tools/list").at("result"),
            json::parse(R"json({"tools": [
    {"name": "search_brindlemoor",
     "description": "Search what the user kept in Brindlemoor (windows, photos, videos) by meaning and by words. Returns the best matches, newest information first within equal relevance.",
     "inputSchema": {"type": "object", "properties": {
        "query": {"type": "string", "description": "What to look for, in plain words"},
        "limit": {"type": "integer", "description": "At most this many results (default 8, at most 25)"}},
        "required": ["query"]}},
    {"name": "recent_captures",
     "description": "What the user kept most recently, newest first; optionally only one collection or kind.",
     "inputSchema": {"type": "object", "properties": {
        "limit": {"type": "integer", "description": "At most this many (default 10, at most 50)"},
        "collection": {"type": "string", "description": "A collection's name or id (list_collections)"},
        "kind": {"type": "string", "description": "KINDS"}}}},
    {"name": "get_capture",
     "description": "One capture in full: title, summary, passages worth keeping, the user's note, tags, links, its collection, and the text on it or said in it.",
     "inputSchema": {"type": "object", "properties": {
        "id": {"type": "string", "description": "The capture's id, from a search or listing"}},
        "required": ["id"]}},
    {"name": "list_collections",
     "description": "The collections Brindlemoor formed (and the user named), with how many captures each holds.",
     "inputSchema": {"type": "object", "properties": {}}}
  ]})json")
                .patch(json::array({{{"op", "replace"},
                                     {"path", "/tools/1/inputSchema/properties/kind/description"},
                                     {"value", kinds}}})));
}

TEST_F(MCP, ToolCallsAlwaysAnswerWithAResult) {
  const Answer unknown = call("delete_everything");
  EXPECT_EQ(unknown.text, "Unknown tool delete_everything.");
  EXPECT_TRUE(unknown.isError);
  const json numbered = request("tools/call", {{"name", 3}});
  EXPECT_EQ(numbered.at("result").at("content").at(0).at("text"), "Unknown tool .");

  keep(1, "lemon tart");
  EXPECT_EQ(callRaw("get_capture", R"(["id"])").text, "No capture with that id.")
      << "arguments that aren't an object count as none";
}

// ---- The tools ----

TEST_F(MCP, SearchFindsByWordsWhileTheDaemonIsDown) {
  addCollection(sampleID(100), "Tart Evenings", 5);
  keep(1, "lemon tart with cream", CaptureKind::recipe, sampleID(100));
  keep(2, "quarterly figures");
  EXPECT_EQ(call("search_brindlemoor", {{"query", "  lemon\n"}}).text,
            "Brindlemoor for “lemon” (1):\n\n" + listing(1));
  const Answer none = call("search_brindlemoor", {{"query", "zebra"}});
  EXPECT_EQ(none.text, "Nothing in Brindlemoor matches “zebra”.");
  EXPECT_FALSE(none.isError);

  for (const json& query : {json(nullptr), json(" \n\t "), json(5)}) {
    const Answer refused = call("search_brindlemoor", {{"query", query}});
    EXPECT_EQ(refused.text, "'query' must be a non-empty string.") << query;
    EXPECT_TRUE(refused.isError);
  }
}

TEST_F(MCP, OnlyAJsonIntegerIsALimitAndItIsClamped) {
  for (int n = 1; n <= 60; ++n) keep(n, "lemon number " + std::to_string(n));
  // Every limit that is no JSON integer means the default.
  const std::map<std::size_t, std::vector<std::string>> searches = {
      {8, {"", "2.5", "\"10\"", "1e20", "null", "[5]", "100000000000000000000"}},
      {1, {"0", "-1", "-9223372036854775808"}},
      {3, {"3"}},
      {25, {"1000", "18446744073709551615"}}};
  for (const auto& [expected, limits] : searches) {
    for (const std::string& limit : limits) {
      const std::string arguments =
          limit.empty() ? R"({"query":"lemon"})" : R"({"query":"lemon","limit":)" + limit + "}";
      const Answer answer = callRaw("search_brindlemoor", arguments);
      EXPECT_EQ(listed(answer.text), expected) << "limit " << limit;
      EXPECT_NE(answer.text.find("(" + std::to_string(expected) + "):"), std::string::npos);
    }
  }
  const std::vector<std::pair<std::string, std::size_t>> recents = {
      {"", 10}, {"0", 1}, {"1000", 50}, {"\"10\"", 10}, {"7", 7}};
  for (const auto& [limit, expected] : recents) {
    const std::string arguments = limit.empty() ? "{}" : R"({"limit":)" + limit + "}";
    EXPECT_EQ(listed("\n" + callRaw("recent_captures", arguments).text), expected)
        << "limit " << limit;
  }
}

TEST_F(MCP, RecentCapturesByCollectionOrKind) {
  EXPECT_EQ(call("recent_captures").text, "Nothing kept there yet.");
  addCollection(sampleID(100), "Tart Evenings", 5);
  addCollection(sampleID(101), "Çay Evenings", 4);
  keep(1, "lemon tart", CaptureKind::recipe, sampleID(100));
  keep(2, "a chat", CaptureKind::chat);
  keep(3, "another chat", CaptureKind::chat, sampleID(101));
  keep(4, "no description yet");

  EXPECT_EQ(call("recent_captures").text,
            listing(4) + "\n\n" + listing(3) + "\n\n" + listing(2) + "\n\n" + listing(1));
  EXPECT_EQ(call("recent_captures", {{"collection", "ÇAY EVENINGS"}}).text, listing(3));
  EXPECT_EQ(call("recent_captures", {{"collection", ""}, {"kind", "CHAT"}}).text,
            listing(3) + "\n\n" + listing(2));
  EXPECT_EQ(call("recent_captures", {{"collection", 100}, {"kind", 5}}).text,
            call("recent_captures").text)
      << "values of the wrong type count as absent";

  const Answer alias = call("recent_captures", {{"kind", "Slack"}});
  EXPECT_EQ(alias.text, "Unknown kind “Slack”.");
  EXPECT_TRUE(alias.isError);
  for (const std::string& name : {std::string("Tart"), sampleID(100).substr(0, 8)}) {
    const Answer unknown = call("recent_captures", {{"collection", name}});
    EXPECT_EQ(unknown.text, "No collection named “" + name + "”. list_collections shows them.");
    EXPECT_TRUE(unknown.isError);
  }
}

TEST_F(MCP, GetCaptureGivesTheFullTextOrRefuses) {
  keep(1, "lemon tart");
  const Answer found = call("get_capture", {{"id", sampleID(1)}});
  EXPECT_EQ(found.text, CaptureText::full(*store().capture(sampleID(1)), store().collections(),
                                          m_locale, *m_utc));
  EXPECT_FALSE(found.isError);
  for (const json& id : {json(sampleID(2)), json(1), json("' OR '1'='1"), json("%")}) {
    const Answer refused = call("get_capture", {{"id", id}});
    EXPECT_EQ(refused.text, "No capture with that id.") << id;
    EXPECT_TRUE(refused.isError);
  }
}

TEST_F(MCP, ListCollectionsCountsTheirCapturesAndSkipsEmptyOnes) {
  addCollection(sampleID(100), "Tart Evenings", 5);
  addCollection(sampleID(101), "Chats", 9);
  addCollection(sampleID(102), "Left empty", 7);
  EXPECT_EQ(call("list_collections").text,
            "No collections yet: they form as similar captures are kept.");
  keep(1, "lemon tart", CaptureKind::recipe, sampleID(100));
  keep(2, "plum tart", CaptureKind::recipe, sampleID(100));
  keep(3, "a chat", CaptureKind::chat, sampleID(101));
  EXPECT_EQ(call("list_collections").text, "🥧 Chats — 1 capture (id " + sampleID(101) +
                                               ")\n🥧 Tart Evenings — 2 captures (id " +
                                               sampleID(100) + ")");
}

TEST_F(MCP, RepliesStayValidJsonWhateverTheStoreHolds) {
  store().insert(sampleCapture(1, 1700000000));
  store().setRead(sampleID(1), "lemon \xff\xfe tart \xe2\x82", std::string("said \xc3"));
  const std::string said = call("get_capture", {{"id", sampleID(1)}}).text;  // parsed strictly
  EXPECT_NE(said.find("lemon \uFFFD\uFFFD tart"), std::string::npos) << said;
}

TEST_F(MCP, HugeMessagesAreAnswered) {
  keep(1, "lemon tart");
  std::string words;
  while (words.size() < 10 * 1024 * 1024) words += "lemon ";
  const Answer search = call("search_brindlemoor", {{"query", words}});
  EXPECT_EQ(listed(search.text), 1u) << "the query is read only so far";
  EXPECT_LT(search.text.size(), 2000u);
  EXPECT_TRUE(call("recent_captures", {{"collection", words}}).isError);
}

}  // namespace
}  // namespace brindlemoor
