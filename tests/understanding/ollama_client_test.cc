#include "core/understanding/ollama_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "tests/testing/imitation_ollama.h"

namespace brindlemoor {
namespace {

using nlohmann::json;
using testing::ClosedPort;
using testing::ImitationOllama;
using Strings = std::vector<std::string>;
using Call = std::tuple<std::int64_t, std::int64_t, std::string>;

const std::string kVision = "qwen3.5:4b";
const std::string kEmbedding = "embeddinggemma-2:440m";

// The failure `call` throws; fails the test if it throws none.
template <typename Action>
OllamaClient::Failure failureOf(Action call) {
  try {
    call();
  } catch (const OllamaClient::Failure& failure) {
    return failure;
  }
  ADD_FAILURE() << "no OllamaClient::Failure was thrown";
  return OllamaClient::Failure::badReply("none");
}

json lastJson(const ImitationOllama& ollama, const std::string& path) {
  const std::optional<std::string> body = ollama.lastBody(path);
  EXPECT_TRUE(body.has_value()) << "no request to " << path;
  return json::parse(body.value_or("null"));
}

Strings sortedHeaderNames(const ImitationOllama& ollama, const std::string& path) {
  Strings names = ollama.lastHeaderNames(path);
  std::sort(names.begin(), names.end());
  return names;
}

double lengthOf(const std::vector<float>& v) {
  double sum = 0;
  for (float x : v) sum += static_cast<double>(x) * x;
  return std::sqrt(sum);
}

std::vector<Call> pulled(const ImitationOllama& ollama) {
  std::vector<Call> calls;
  OllamaClient(ollama.host())
      .pull(kVision, [&](std::int64_t completed, std::int64_t total, const std::string& status) {
        calls.emplace_back(completed, total, status);
      });
  return calls;
}

TEST(OllamaClientHost, ReadsOllamaHostAsOllamasOwnToolsDo) {
  const std::vector<std::pair<const char*, std::string>> cases = {
      {nullptr, "http://127.0.0.1:11434"},
      {" 'example.com:8080' ", "http://example.com:8080"},
      {"https://example.com", "https://example.com:443"},
      {"https://example.com:9000/ollama", "https://example.com:9000/ollama"},
      {"::1", "http://[::1]:11434"},
      {"example.com:99999", "http://example.com:11434"},
  };
  const char* const old = std::getenv("OLLAMA_HOST");
  const std::optional<std::string> kept = old ? std::optional<std::string>(old) : std::nullopt;
  for (const auto& [setting, host] : cases) {
    setting ? setenv("OLLAMA_HOST", setting, 1) : unsetenv("OLLAMA_HOST");
    EXPECT_EQ(OllamaClient::defaultHost(), host) << "OLLAMA_HOST=" << (setting ? setting : "unset");
    EXPECT_EQ(OllamaClient().host(), host);
  }
  kept ? setenv("OLLAMA_HOST", kept->c_str(), 1) : unsetenv("OLLAMA_HOST");
}

TEST(OllamaClientVersion, GivesTheDaemonsVersionOrFailsWithoutOne) {
  ImitationOllama ollama;
  ollama.setVersion("0.40.0-rc1");
  const OllamaClient client(ollama.host());
  EXPECT_EQ(client.version(), "0.40.0-rc1");
  EXPECT_EQ(ollama.lastHeaderNames("/api/version"), Strings{"Host"});
  EXPECT_EQ(OllamaClient(ollama.host() + "/").version(), "0.40.0-rc1");

  ollama.answer("/api/version", 200, R"({"version": 40})");
  EXPECT_EQ(failureOf([&] { client.version(); }), OllamaClient::Failure::badReply("no version"));
}

TEST(OllamaClientModels, ListsTheStringNamesInTheDaemonsOrder) {
  ImitationOllama ollama;
  const OllamaClient client(ollama.host());
  ollama.setModels({"qwen3.5:4b", kEmbedding, "llava:latest"});
  EXPECT_EQ(client.models(), (Strings{"qwen3.5:4b", kEmbedding, "llava:latest"}));
  ollama.answer("/api/tags", 200,
                R"({"models": [{"name": "a"}, {"name": 3}, {}, "b", {"name": "c"}]})");
  EXPECT_EQ(client.models(), (Strings{"a", "c"}));
  ollama.answer("/api/tags", 200, "{}");
  EXPECT_TRUE(client.models().empty());
}

TEST(OllamaClientHas, TakesANameWithoutATagAsLatest) {
  EXPECT_TRUE(OllamaClient::has("qwen3.5", {"llava:latest", "qwen3.5:latest"}));
  EXPECT_FALSE(OllamaClient::has("qwen3.5:4b", {"qwen3.5"}));
  EXPECT_FALSE(OllamaClient::has("qwen3.5", {"qwen3.5:4b"}));
}

TEST(OllamaClientGenerate, SendsTheWholeBodyWithContentTypeAsItsOnlyHeader) {
  ImitationOllama ollama;
  ollama.setModels({kVision});
  ollama.setReply(R"({"title": "A kept page"})");
  const OllamaClient client(ollama.host());

  const std::vector<Bytes> images = {Bytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, Bytes{'a'},
                                     Bytes{'a', 'b'}};
  EXPECT_EQ(
      client.generate(kVision, "Describe this.", "You describe screens.", images, true, 700, 180),
      R"({"title": "A kept page"})");

  const json body = lastJson(ollama, "/api/generate");
  EXPECT_EQ(body, json::parse(R"({
      "model": "qwen3.5:4b",
      "prompt": "Describe this.",
      "system": "You describe screens.",
      "images": ["iVBORw0KGgo=", "YQ==", "YWI="],
      "format": "json",
      "stream": false,
      "think": false,
      "keep_alive": "10m",
      "options": {"temperature": 0.2, "num_predict": 700, "num_ctx": 8192}})"));
  // The daemon refuses 700.0 where it expects an integer.
  EXPECT_TRUE(body["options"]["num_predict"].is_number_integer());
  EXPECT_TRUE(body["options"]["num_ctx"].is_number_integer());
  EXPECT_EQ(sortedHeaderNames(ollama, "/api/generate"),
            (Strings{"Content-Length", "Content-Type", "Host"}));
  EXPECT_EQ(ollama.lastHeader("/api/generate", "Content-Type"), "application/json");

  ollama.setReply("Recipes");
  EXPECT_EQ(client.generate(kVision, "Name it.", std::nullopt, {}, false, 80, 120), "Recipes");
  EXPECT_EQ(lastJson(ollama, "/api/generate"), json::parse(R"({
      "model": "qwen3.5:4b", "prompt": "Name it.", "stream": false, "think": false,
      "keep_alive": "10m", "options": {"temperature": 0.2, "num_predict": 80, "num_ctx": 8192}})"));
}

TEST(OllamaClientGenerate, FailsOnAMissingModelOrAMissingResponse) {
  ImitationOllama ollama;
  const OllamaClient client(ollama.host());
  const OllamaClient::Failure missing =
      failureOf([&] { client.generate(kVision, "p", std::nullopt, {}, false, 80, 120); });
  EXPECT_EQ(missing.kind(), OllamaClient::Failure::Kind::server);
  EXPECT_STREQ(missing.what(),
               "Ollama answered 404: model \"qwen3.5:4b\" not found, try pulling it first");

  ollama.answer("/api/generate", 200, R"({"done": true, "response": null})");
  EXPECT_EQ(failureOf([&] { client.generate(kVision, "p", std::nullopt, {}, false, 80, 120); }),
            OllamaClient::Failure::badReply("no response text"));
}

TEST(OllamaClientGenerate, CarriesLargeBodiesWholeBothWays) {
  ImitationOllama ollama;
  ollama.setModels({kVision});
  std::string text;
  for (int i = 0; text.size() < 10'000'000; ++i) text += "line " + std::to_string(i) + " «é»\n";
  ollama.setReply(text);
  const std::string prompt = text.substr(0, 3'000'000);
  EXPECT_EQ(OllamaClient(ollama.host()).generate(kVision, prompt, std::nullopt, {}, false, 80, 120),
            text);
  EXPECT_EQ(lastJson(ollama, "/api/generate")["prompt"], prompt);
  // A body this large is where libcurl would otherwise ask "Expect: 100-continue".
  EXPECT_EQ(sortedHeaderNames(ollama, "/api/generate"),
            (Strings{"Content-Length", "Content-Type", "Host"}));
}

TEST(OllamaClientEmbed, SendsOneArrayAndGivesUnitVectorsInTheDaemonsDirectionsKeepingZeros) {
  ImitationOllama ollama;
  ollama.setModels({kEmbedding});
  ollama.setDimension(32);
  const std::vector<OllamaClient::EmbedInput> inputs = {
      {.text = "red apples and green pears"},
      {},
      {.text = "a caption", .image = Bytes{'a'}},
      {.image = Bytes{0xFF, 0xFE, 0xFD, 0x00, 0x01}},
  };
  const auto vectors = OllamaClient(ollama.host()).embed(kEmbedding, inputs, 60);
  EXPECT_EQ(lastJson(ollama, "/api/embed"), json::parse(R"({
      "model": "embeddinggemma-2:440m",
      "input": ["red apples and green pears", {}, {"image": "YQ==", "text": "a caption"}, {"image": "//79AAE="}],
      "keep_alive": "10m"})"));
  EXPECT_EQ(ollama.lastHeader("/api/embed", "Content-Type"), "application/json");

  ASSERT_EQ(vectors.size(), 4u);
  const std::vector<float> sent = ImitationOllama::embeddingOf("red apples and green pears", 32);
  const double length = lengthOf(sent);
  ASSERT_GT(length, 2.0);  // so that the client had something to normalise
  ASSERT_EQ(vectors[0].size(), 32u);
  for (std::size_t k = 0; k < 32; ++k) EXPECT_NEAR(vectors[0][k], sent[k] / length, 1e-6);
  EXPECT_EQ(vectors[1], std::vector<float>(32, 0.0f));
}

TEST(OllamaClientEmbed, FailsUnlessThereIsOneArrayOfNumbersPerInput) {
  ImitationOllama ollama;
  const OllamaClient client(ollama.host());
  const auto expected = OllamaClient::Failure::badReply("expected 2 embeddings");
  for (const char* reply : {R"({"embeddings": [[1], [1], [1]]})",
                            R"({"embeddings": [[1, 0], [1, "0"]]})", R"({"embeddings": "[]"})"}) {
    ollama.answer("/api/embed", 200, reply);
    EXPECT_EQ(failureOf([&] {
                client.embed(kEmbedding, {{.text = "a"}, {.text = "b"}}, 60);
              }),
              expected)
        << reply;
  }
  EXPECT_STREQ(expected.what(), "Unexpected reply from Ollama: expected 2 embeddings");
}

TEST(OllamaClientRequest, AServerErrorCarriesTheDaemonsErrorOrTheStartOfTheBodyAsUtf8) {
  ImitationOllama ollama;
  const OllamaClient client(ollama.host());
  ollama.answer("/api/version", 500, R"({"error": "boom"})");
  EXPECT_STREQ(failureOf([&] { client.version(); }).what(), "Ollama answered 500: boom");

  // An error member that is not text is no message: the body is.
  ollama.answer("/api/tags", 503, R"({"error": 7})");
  EXPECT_EQ(failureOf([&] { client.models(); }),
            OllamaClient::Failure::server(503, R"({"error": 7})"));

  // A stray byte, an overlong start, a truncated four-byte character and an
  // encoded surrogate, between valid characters that must survive.
  ollama.answer("/api/version", 500, "\xFFok\xE0\x80 \xF0\x90\x80z \xED\xA0\x80 é€😀", "text/plain");
  EXPECT_EQ(failureOf([&] { client.version(); }).message(),
            "\uFFFDok\uFFFD\uFFFD \uFFFDz \uFFFD\uFFFD\uFFFD é€😀");

  // The 200-byte cut falls inside "é": its first byte alone is repaired.
  ollama.answer("/api/version", 502, std::string(199, 'a') + "é and more", "text/html");
  EXPECT_EQ(failureOf([&] { client.version(); }),
            OllamaClient::Failure::server(502, std::string(199, 'a') + "\uFFFD"));
}

TEST(OllamaClientRequest, AReplyThatIsNotAJsonObjectOrNestsTooDeepIsABadReply) {
  ImitationOllama ollama;
  const OllamaClient client(ollama.host());
  std::string deep;
  for (int i = 0; i < 100'000; ++i) deep += R"({"a":)";
  deep += "1" + std::string(100'000, '}');
  const auto expected = OllamaClient::Failure::badReply("not a JSON object");
  for (const std::string& reply :
       {std::string("[1,2]"), std::string("{\"version\": \"1\""), deep}) {
    ollama.answer("/api/version", 200, reply);
    EXPECT_EQ(failureOf([&] { client.version(); }), expected) << reply.substr(0, 20);
  }
  EXPECT_STREQ(expected.what(), "Unexpected reply from Ollama: not a JSON object");
  ollama.answer("/api/version", 500, deep);
  EXPECT_EQ(failureOf([&] { client.version(); }),
            OllamaClient::Failure::server(500, deep.substr(0, 200)));
}

TEST(OllamaClientRequest, RefusesAReplyLargerThanItHolds) {
  ImitationOllama ollama;
  ollama.answer("/api/tags", 200, "{\"models\": []" + std::string(65 << 20, ' ') + "}");
  EXPECT_EQ(failureOf([&] { OllamaClient(ollama.host()).models(); }),
            OllamaClient::Failure::badReply("reply larger than 64 MiB"));
}

TEST(OllamaClientRequest, AClosedPortIsUnreachableInLibcurlsWords) {
  const ClosedPort closed;
  const OllamaClient::Failure failure = failureOf([&] { OllamaClient(closed.host()).version(); });
  EXPECT_EQ(failure.kind(), OllamaClient::Failure::Kind::unreachable);
  const std::string port = closed.host().substr(closed.host().rfind(':') + 1);
  EXPECT_TRUE(failure.message().starts_with("Failed to connect to 127.0.0.1 port " + port))
      << failure.message();
  EXPECT_EQ(failure.what(), "Ollama is not reachable (" + failure.message() + ")");

  // A pull lets the transport failure pass as libcurl says it.
  try {
    OllamaClient(closed.host()).pull(kVision, [](auto...) {});
    ADD_FAILURE() << "the pull did not fail";
  } catch (const OllamaClient::Failure& failure) {
    ADD_FAILURE() << "a transport failure became " << failure.what();
  } catch (const Failure& failure) {
    EXPECT_TRUE(
        std::string(failure.what()).starts_with("Failed to connect to 127.0.0.1 port " + port))
        << failure.what();
  }
}

TEST(OllamaClientRequest, GivesUpAfterTheCallersTimeout) {
  ImitationOllama ollama;
  ollama.setModels({kVision});
  ollama.setDelay(std::chrono::seconds(20));
  const OllamaClient::Failure failure = failureOf([&] {
    OllamaClient(ollama.host()).generate(kVision, "p", std::nullopt, {}, false, 80, 0.5);
  });
  EXPECT_EQ(failure.kind(), OllamaClient::Failure::Kind::unreachable);
  EXPECT_NE(failure.message().find("timed out"), std::string::npos) << failure.message();
}

TEST(OllamaClient, ServesOverlappingCallsFromManyThreads) {
  ImitationOllama ollama;
  ollama.setModels({kVision});
  ollama.setReply(
      [](const json& request) { return "re: " + request["prompt"].get<std::string>(); });
  const OllamaClient client(ollama.host());
  std::vector<std::thread> threads;
  std::vector<int> right(8, 0);
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 5; ++i) {
        const std::string prompt = "prompt " + std::to_string(t) + "." + std::to_string(i);
        right[t] +=
            client.generate(kVision, prompt, std::nullopt, {}, false, 80, 60) == "re: " + prompt;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, std::vector<int>(8, 5));
}

TEST(OllamaClientPull, ReportsEachObjectLineWithTheDaemonsNumbers) {
  ImitationOllama ollama;
  EXPECT_EQ(pulled(ollama), (std::vector<Call>{{0, 0, "pulling manifest"},
                                               {0, 3000, "pulling 8eeb52dfb3bb"},
                                               {1500, 3000, "pulling 8eeb52dfb3bb"},
                                               {3000, 3000, "pulling 8eeb52dfb3bb"},
                                               {0, 0, "success"}}));
  EXPECT_EQ(lastJson(ollama, "/api/pull"),
            json::parse(R"({"model": "qwen3.5:4b", "stream": true})"));
  EXPECT_EQ(ollama.lastHeader("/api/pull", "Content-Type"), "application/json");

  ollama.setPullLines({
      "pulling, and this is not JSON",
      R"({"status": "one", "completed": 5, "total": 10})",
      "[1, 2]",
      std::string(100'000, '['),
      "",
      R"({"status": 2, "completed": "7", "total": 1.5})",
      R"({"status": "two", "completed": 2e3, "total": 4000})",
  });
  EXPECT_EQ(pulled(ollama), (std::vector<Call>{{5, 10, "one"}, {0, 0, ""}, {2000, 4000, "two"}}));
}

TEST(OllamaClientPull, FailsAtALineThatReportsAnErrorOrOnAnyStatusButTwoHundred) {
  ImitationOllama ollama;
  ollama.setPullLines({R"({"status": "pulling manifest"})", R"({"error": "no space"})",
                       R"({"status": "success"})"});
  std::vector<Call> calls;
  const auto pull = [&] {
    OllamaClient(ollama.host()).pull(kVision, [&](auto... call) { calls.emplace_back(call...); });
  };
  EXPECT_STREQ(failureOf(pull).what(), "Ollama answered 200: no space");
  EXPECT_EQ(calls, (std::vector<Call>{{0, 0, "pulling manifest"}}));

  calls.clear();
  ollama.answer("/api/pull", 500, R"({"error": "disk on fire"})");
  EXPECT_EQ(failureOf(pull), OllamaClient::Failure::server(500, "pull qwen3.5:4b"));
  EXPECT_TRUE(calls.empty());
}

TEST(OllamaClientPull, ReportsLinesWhileTheStreamIsStillComing) {
  ImitationOllama ollama;
  ollama.holdPullAfter(1);
  std::vector<bool> heldAtCall;
  OllamaClient(ollama.host()).pull(kVision, [&](auto...) {
    heldAtCall.push_back(ollama.pullHeld());
    ollama.releasePull();
  });
  ASSERT_EQ(heldAtCall.size(), 5u);
  EXPECT_TRUE(heldAtCall[0]) << "the first line was reported only after the stream ended";
}

}  // namespace
}  // namespace brindlemoor
