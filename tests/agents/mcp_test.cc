// brindlemoor-mcp run as an agent runs it: a separate process reading
// messages from its standard input, on a library in a temporary home.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "core/store/library_store.h"
#include "tests/testing/child_process.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using nlohmann::json;

class McpProcess : public ::testing::Test {
 protected:
  // Runs the server with `input` as its standard input until it ends.
  int run(const std::string& input, std::string* out, std::string* err = nullptr) {
    const auto file = m_home.path() / "input";
    std::ofstream(file, std::ios::binary) << input;
    testing::ChildProcess child("/bin/sh", {"-c", "exec \"$0\" < \"$1\"", BRINDLEMOOR_MCP, file},
                                {{"HOME", m_home.path().string()},
                                 {"XDG_DATA_HOME", m_data.string()},
                                 {"XDG_CONFIG_HOME", (m_home.path() / "config").string()},
                                 {"OLLAMA_HOST", m_daemon.host()}});
    const int code = child.wait();
    *out = child.out();
    if (err) *err = child.err();
    return code;
  }

  testing::TempDir m_home;
  std::filesystem::path m_data = m_home.path() / "data";
  testing::ClosedPort m_daemon;
};

TEST_F(McpProcess, AnswersEachRequestOnALineOfItsOwnUntilTheInputEnds) {
  {
    LibraryStore store(m_data / "Brindlemoor");
    store.insert(testing::sampleCapture(1, 1700000000));
    store.setRead(testing::sampleID(1), "lemon tart", std::nullopt);
  }
  const std::string input =
      std::string(
          R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})"
          "\n"
          R"({"jsonrpc":"2.0","method":"notifications/initialized"})"
          "\n\n") +
      R"({"jsonrpc":"2.0","id":3,"method":"ping","params":{"pad":")" +
      std::string(17 * 1024 * 1024, 'x') + "\"}}\n" +
      R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"search_brindlemoor","arguments":{"query":"lemon"}}})"
      "\n"
      R"({"jsonrpc":"2.0","id":"last","method":"ping"})";  // no newline at the end
  std::string out, err;
  ASSERT_EQ(run(input, &out, &err), 0) << err;
  EXPECT_EQ(err, "");

  std::vector<json> replies;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) replies.push_back(json::parse(line));
  EXPECT_TRUE(out.ends_with("\n"));
  ASSERT_EQ(replies.size(), 5u) << out.substr(0, 2000);
  EXPECT_EQ(replies[0]["result"]["serverInfo"],
            json({{"name", "brindlemoor"}, {"version", BRINDLEMOOR_VERSION}}));
  const json parseError = {{"jsonrpc", "2.0"},
                           {"id", nullptr},
                           {"error", {{"code", -32700}, {"message", "Parse error"}}}};
  EXPECT_EQ(replies[1], parseError) << "the blank line";
  EXPECT_EQ(replies[2], parseError) << "the line too long to read, skipped unread";
  EXPECT_EQ(replies[3]["id"], 2);
  EXPECT_TRUE(replies[3]["result"]["content"][0]["text"].get<std::string>().starts_with(
      "Brindlemoor for “lemon” (1):"));
  EXPECT_EQ(replies[4], json({{"jsonrpc", "2.0"}, {"id", "last"}, {"result", json::object()}}));
}

TEST_F(McpProcess, ALibraryThatCantBeOpenedEndsItWithTheReason) {
  std::ofstream(m_home.path() / "blocker") << "not a directory";
  m_data = m_home.path() / "blocker";
  std::string out, err;
  EXPECT_EQ(run(R"({"jsonrpc":"2.0","id":1,"method":"ping"})"
                "\n",
                &out, &err),
            1);
  EXPECT_EQ(out, "");
  EXPECT_TRUE(err.starts_with("Brindlemoor cannot open its library at " +
                              (m_data / "Brindlemoor").string() + ": "))
      << err;
}

}  // namespace
}  // namespace brindlemoor
