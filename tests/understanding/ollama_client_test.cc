#include "core/understanding/ollama_client.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <numeric>
#include <thread>
#include <tuple>

#include "tests/testing/failure_of.h"
#include "tests/testing/imitation_ollama.h"

namespace brindlemoor {
namespace {

using nlohmann::json;
using testing::ImitationOllama;
using Failure = OllamaClient::Failure;
const auto failureOf = [](auto action) { return testing::failureOf<Failure>(action); };
using Strings = std::vector<std::string>;
using Call = std::tuple<std::int64_t, std::int64_t, std::string>;

const std::string kVision = "qwen3.5:4b";
const std::string kEmbedding = "embeddinggemma-2:440m";

class OllamaClientTest : public ::testing::Test {
 protected:
  json lastJson(const std::string& path) const {
    return json::parse(m_ollama.lastBody(path).value_or("null"));
  }
  std::string generate(const std::string& prompt, double timeout = 120) const {
    return m_client.generate(kVision, prompt, std::nullopt, {}, false, 80, timeout);
  }

  ImitationOllama m_ollama;
  OllamaClient m_client{m_ollama.host()};
};

TEST(OllamaClientHost, ReadsOllamaHostAsOllamasOwnToolsDo) {
  const char* const old = std::getenv("OLLAMA_HOST");
  const std::optional<std::string> kept = old ? std::optional<std::string>(old) : std::nullopt;
  for (const auto& [setting, host] : std::vector<std::pair<const char*, std::string>>{
           {" 'example.com:8080' ", "http://example.com:8080"}, {"::1", "http://[::1]:11434"}}) {
    setenv("OLLAMA_HOST", setting, 1);
    EXPECT_EQ(OllamaClient().host(), host) << "OLLAMA_HOST=" << setting;
  }
  kept ? setenv("OLLAMA_HOST", kept->c_str(), 1) : unsetenv("OLLAMA_HOST");
}

TEST_F(OllamaClientTest, VersionAndModelsReadOnlyWhatIsWellTyped) {
  EXPECT_EQ(OllamaClient(m_ollama.host() + "/").version(), "0.40.0");

  m_ollama.answer("/api/tags", 200,
                  R"({"models": [{"name": "a"}, {"name": 3}, {}, "b", {"name": "c"}]})");
  EXPECT_EQ(m_client.models(), (Strings{"a", "c"}));

  EXPECT_TRUE(OllamaClient::has("qwen3.5", {"llava:latest", "qwen3.5:latest"}));
  EXPECT_FALSE(OllamaClient::has("qwen3.5:4b", {"qwen3.5"}));
  EXPECT_FALSE(OllamaClient::has("qwen3.5", {"qwen3.5:4b"}));
}

TEST_F(OllamaClientTest, GenerateSendsTheWholeBodyOfAnySizeOrFailsWithTheDaemonsWords) {
  EXPECT_STREQ(failureOf([&] { generate("p"); }).what(),
               "Ollama answered 404: model \"qwen3.5:4b\" not found, try pulling it first");
  m_ollama.setModels({kVision});
  m_ollama.setReply(R"({"title": "A kept page"})");
  EXPECT_EQ(m_client.generate(kVision, "Describe this.", "You describe screens.",
                              {Bytes{'a'}, Bytes{'a', 'b'}}, true, 700, 180),
            R"({"title": "A kept page"})");
  const json expected = json::parse(R"({
      "model": "qwen3.5:4b", "prompt": "Describe this.", "system": "You describe screens.",
      "images": ["YQ==", "YWI="], "format": "json", "stream": false,
      "think": false, "keep_alive": "10m",
      "options": {"temperature": 0.2, "num_predict": 700, "num_ctx": 8192}})");
  // As text, because the daemon refuses 700.0 where it expects an integer.
  EXPECT_EQ(lastJson("/api/generate").dump(), expected.dump());

  // A body this large is where libcurl would otherwise ask "Expect: 100-continue".
  std::string text;
  for (int i = 0; text.size() < 10'000'000; ++i) text += "line " + std::to_string(i) + " «é»\n";
  m_ollama.setReply(text);
  EXPECT_EQ(generate(text.substr(0, 3'000'000)), text);
  EXPECT_EQ(lastJson("/api/generate")["prompt"], text.substr(0, 3'000'000));
  EXPECT_FALSE(m_ollama.lastHeaders("/api/generate").contains("Expect"));

  m_ollama.answer("/api/generate", 200, R"({"done": true, "response": null})");
  EXPECT_EQ(failureOf([&] { generate("p"); }), Failure::badReply("no response text"));
}

TEST_F(OllamaClientTest, EmbedSendsOneArrayAndGivesUnitVectorsKeepingZeros) {
  m_ollama.setModels({kEmbedding});
  const auto vectors = m_client.embed(
      kEmbedding, {{.text = "red apples and green pears"}, {}, {.text = "a", .image = Bytes{'a'}}},
      60);
  EXPECT_EQ(lastJson("/api/embed"), json::parse(R"({"model": "embeddinggemma-2:440m",
      "input": ["red apples and green pears", {}, {"image": "YQ==", "text": "a"}],
      "keep_alive": "10m"})"));

  ASSERT_EQ(vectors.size(), 3u);
  const std::vector<float> sent = ImitationOllama::embeddingOf("red apples and green pears", 768);
  const double length = std::sqrt(std::inner_product(sent.begin(), sent.end(), sent.begin(), 0.0));
  ASSERT_GT(length, 2.0);  // so that the client had something to normalise
  ASSERT_EQ(vectors[0].size(), sent.size());
  for (std::size_t k = 0; k < sent.size(); ++k) EXPECT_NEAR(vectors[0][k], sent[k] / length, 1e-6);
  EXPECT_EQ(vectors[1], std::vector<float>(sent.size(), 0.0f));

  m_ollama.answer("/api/embed", 200, R"({"embeddings": [[1, 0], [1, "0"]]})");
  EXPECT_EQ(failureOf([&] {
              m_client.embed(kEmbedding, {{.text = "a"}, {.text = "b"}}, 60);
            }),
            Failure::badReply("expected 2 embeddings"));
}

TEST_F(OllamaClientTest, UnusableAnswersFailWithBoundedValidWords) {
  std::string deep;
  for (int i = 0; i < 100'000; ++i) deep += R"({"a":)";
  deep += "1" + std::string(100'000, '}');
  const std::vector<std::tuple<int, std::string, std::string>> cases = {
      // A stray byte, an overlong start, a truncated four-byte character and
      // an encoded surrogate, between valid characters that must survive.
      {500, "\xFFok\xE0\x80 \xF0\x90\x80z \xED\xA0\x80 é€😀",
       "Ollama answered 500: \uFFFDok\uFFFD\uFFFD \uFFFDz \uFFFD\uFFFD\uFFFD é€😀"},
      // The 200-byte cut falls inside "é": its first byte alone is repaired.
      {502, std::string(199, 'a') + "é and more",
       "Ollama answered 502: " + std::string(199, 'a') + "\uFFFD"},
      {200, deep, "Unexpected reply from Ollama: not a JSON object"},
  };
  for (const auto& [status, body, words] : cases) {
    m_ollama.answer("/api/version", status, body, "text/plain");
    EXPECT_EQ(failureOf([&] { m_client.version(); }).what(), words) << body.substr(0, 20);
  }
  // A value past a float's range would make every element NaN.
  m_ollama.answer("/api/embed", 200, R"({"embeddings": [[1e39, 0.5]]})");
  EXPECT_EQ(failureOf([&] {
              m_client.embed("e", {{"x", std::nullopt}}, 5);
            }),
            Failure::badReply("an embedding holds a value that is not a finite number"));
  m_ollama.answer("/api/tags", 200, "{\"models\": []" + std::string(65 << 20, ' ') + "}");
  EXPECT_EQ(failureOf([&] { m_client.models(); }), Failure::badReply("reply larger than 64 MiB"));
}

TEST_F(OllamaClientTest, AClosedPortOrTheCallersTimeoutIsUnreachableInLibcurlsWords) {
  const testing::ClosedPort closed;
  const Failure refused = failureOf([&] { OllamaClient(closed.host()).version(); });
  EXPECT_EQ(refused.kind(), Failure::Kind::unreachable);
  EXPECT_TRUE(refused.message().starts_with("Failed to connect to 127.0.0.1 port " +
                                            closed.host().substr(closed.host().rfind(':') + 1)))
      << refused.message();

  m_ollama.setModels({kVision});
  m_ollama.setDelay(std::chrono::seconds(20));
  const Failure late = failureOf([&] { generate("p", 0.5); });
  EXPECT_EQ(late.kind(), Failure::Kind::unreachable);
  EXPECT_NE(late.message().find("timed out"), std::string::npos) << late.message();
}

TEST_F(OllamaClientTest, ServesOverlappingCallsFromManyThreads) {
  m_ollama.setModels({kVision});
  m_ollama.setReply([](const json& request) { return request["prompt"].get<std::string>(); });
  std::vector<std::thread> threads;
  std::vector<int> right(8, 0);
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = t * 5; i < t * 5 + 5; ++i) {
        right[t] += generate(std::to_string(i), 60) == std::to_string(i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, std::vector<int>(8, 5));
}

TEST_F(OllamaClientTest, PullReportsEachObjectLineAsItComesUntilAnError) {
  std::vector<std::chrono::steady_clock::time_point> times;
  m_client.pull(kVision, [&](auto...) { times.push_back(std::chrono::steady_clock::now()); });
  ASSERT_EQ(times.size(), 5u);
  EXPECT_GE(times.back() - times.front(), 4 * ImitationOllama::kPullPause)
      << "the lines were reported only after the stream ended";
  EXPECT_EQ(lastJson("/api/pull"), json::parse(R"({"model": "qwen3.5:4b", "stream": true})"));
  std::vector<Call> calls;
  const auto pull = [&] {
    m_client.pull(kVision, [&](auto... call) { calls.emplace_back(call...); });
  };

  m_ollama.answer("/api/pull", 200,
                  "pulling, and this is not JSON\n"
                  R"({"status": "one", "completed": 5, "total": 10})"
                  "\n[1, 2]\n" +
                      std::string(100'000, '[') + "\n\n" +
                      R"({"status": 2, "completed": "7", "total": 1.5})",
                  "application/x-ndjson");
  pull();
  EXPECT_EQ(calls, (std::vector<Call>{{5, 10, "one"}, {0, 0, ""}}));

  // It fails at a line that reports an error, or on any status but 200.
  m_ollama.answer("/api/pull", 200,
                  "{\"status\": \"pulling manifest\"}\n{\"error\": \"no space\"}\n"
                  "{\"status\": \"success\"}\n",
                  "application/x-ndjson");
  EXPECT_STREQ(failureOf([&] { pull(); }).what(), "Ollama answered 200: no space");
  EXPECT_EQ(calls.back(), (Call{0, 0, "pulling manifest"}));
  m_ollama.answer("/api/pull", 500, R"({"error": "disk on fire"})");
  EXPECT_EQ(failureOf([&] { pull(); }), Failure::server(500, "pull qwen3.5:4b"));
}

}  // namespace
}  // namespace brindlemoor
