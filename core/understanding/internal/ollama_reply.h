// OllamaReply reads the bodies the daemon sends back, apart from the HTTP
// that carries them, so that what a hostile or broken daemon can say is
// checked in one place. Pure functions, safe from any thread; each throws
// OllamaClient::Failure for a reply it can't believe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/understanding/ollama_client.h"

namespace brindlemoor::internal::OllamaReply {

// The most of a reply body the client holds.
inline constexpr std::size_t kMaxBytes = std::size_t{64} << 20;

// The JSON object of a whole reply `body` that came with HTTP `status`.
// `tooLarge` says the body was cut at kMaxBytes. A status outside 2xx is a
// server failure with the reply's "error" string, or else the first 200
// characters of the body; a body that is too large or no JSON object is a
// bad reply.
nlohmann::json object(std::string_view body, long status, bool tooLarge);

// The "version" of /api/version; badReply("no version") without one.
std::string version(const nlohmann::json& reply);
// The names of /api/tags, skipping entries that have none.
std::vector<std::string> modelNames(const nlohmann::json& reply);
// The "response" of /api/generate; badReply("no response text") without one.
std::string response(const nlohmann::json& reply);
// The `count` vectors of /api/embed, each made unit length. Throws
// badReply("expected N embeddings") for any other shape and badReply when a
// vector holds a value that is not a finite number.
std::vector<std::vector<float>> embeddings(const nlohmann::json& reply, std::size_t count);

// One line of /api/pull's stream.
struct PullStep {
  std::int64_t completed = 0;
  std::int64_t total = 0;
  std::string status;
};
// The step a pull line tells, or nothing for a line that is no JSON object.
// A line with an "error" string is a server failure (status 200) with it.
std::optional<PullStep> pullStep(std::string_view line);

}  // namespace brindlemoor::internal::OllamaReply
