#include "core/understanding/ollama_client.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>

#include "core/model/http_transfer.h"
#include "core/understanding/base64.h"
#include "core/understanding/internal/ollama_reply.h"

namespace brindlemoor {

using nlohmann::json;
namespace OllamaReply = internal::OllamaReply;

namespace {

// The most of one line of a pull stream we hold; the daemon's lines are tiny.
constexpr std::size_t kMaxPullLineBytes = std::size_t{1} << 20;

constexpr double kVersionTimeout = 3;
constexpr double kModelsTimeout = 5;
constexpr double kPullTimeout = 3600;

// ---- The daemon's address ----

std::string_view trimmed(std::string_view s, std::string_view characters) {
  const std::size_t first = s.find_first_not_of(characters);
  if (first == std::string_view::npos) return {};
  return s.substr(first, s.find_last_not_of(characters) - first + 1);
}

// Go's net.SplitHostPort: "host:port" or "[v6]:port"; false without a port.
bool splitHostPort(std::string_view hostport, std::string& host, std::string& port) {
  std::size_t colon;
  if (hostport.starts_with('[')) {
    const std::size_t close = hostport.find(']');
    if (close == std::string_view::npos || close + 1 >= hostport.size() ||
        hostport[close + 1] != ':')
      return false;
    host = hostport.substr(1, close - 1);
    colon = close + 1;
  } else {
    colon = hostport.rfind(':');
    if (colon == std::string_view::npos) return false;
    host = hostport.substr(0, colon);
    if (host.find(':') != std::string::npos) return false;
  }
  port = hostport.substr(colon + 1);
  return true;
}

// A numeric address in its canonical spelling, or nothing for a name.
std::optional<std::string> canonicalAddress(std::string_view text) {
  const std::string address(text);
  for (const int family : {AF_INET, AF_INET6}) {
    unsigned char binary[sizeof(in6_addr)];
    char spelled[INET6_ADDRSTRLEN];
    if (inet_pton(family, address.c_str(), binary) == 1 &&
        inet_ntop(family, binary, spelled, sizeof spelled) != nullptr)
      return std::string(spelled);
  }
  return std::nullopt;
}

bool isPort(std::string_view port) {
  return !port.empty() && port.size() <= 5 &&
         std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; }) &&
         std::stoi(std::string(port)) <= 65535;
}

// OLLAMA_HOST read the way Ollama's own command line reads it, so that the
// program and `ollama` always talk to the same daemon.
std::string hostFromSetting(std::string_view setting) {
  constexpr std::string_view kSpace = " \t\n\v\f\r";
  setting = trimmed(trimmed(trimmed(setting, kSpace), "\"'"), kSpace);
  std::string scheme = "http";
  std::string defaultPort = "11434";
  std::string_view hostport = setting;
  if (const std::size_t cut = setting.find("://"); cut != std::string_view::npos) {
    scheme = setting.substr(0, cut);
    hostport = setting.substr(cut + 3);
    if (scheme == "http") defaultPort = "80";
    if (scheme == "https") defaultPort = "443";
  }
  std::string_view path;
  if (const std::size_t slash = hostport.find('/'); slash != std::string_view::npos) {
    path = hostport.substr(slash + 1);
    hostport = hostport.substr(0, slash);
  }
  std::string host, port;
  if (!splitHostPort(hostport, host, port)) {
    port = defaultPort;
    if (auto address = canonicalAddress(trimmed(hostport, "[]")))
      host = *address;
    else
      host = hostport.empty() ? "127.0.0.1" : std::string(hostport);
  }
  if (!isPort(port)) port = defaultPort;
  if (host.find(':') != std::string::npos) host = "[" + host + "]";
  std::string url = scheme + "://" + host + ":" + port;
  if (!path.empty()) url += "/" + std::string(path);
  return url;
}

// `path` less its leading "/" appended to `host` as one more path component.
std::string urlFor(const std::string& host, std::string_view path) {
  std::string url = host;
  while (url.ends_with('/')) url.pop_back();
  if (path.starts_with('/')) path.remove_prefix(1);
  return url + "/" + std::string(path);
}

// Bodies go out compact. Text that is not valid UTF-8 is repaired on the way
// rather than refused, so that a stray byte in what was read off a picture
// can't block a capture for ever.
std::string encoded(const json& body) {
  return body.dump(-1, ' ', false, json::error_handler_t::replace);
}

// The common request of every call but pull: the reply's JSON object.
json request(const std::string& host, std::string_view path, const std::optional<json>& body,
             double timeoutSeconds) {
  std::string reply;
  bool tooLarge = false;
  const HttpTransfer::Outcome outcome = HttpTransfer::run(
      {urlFor(host, path), body ? std::optional(encoded(*body)) : std::nullopt, timeoutSeconds, {}},
      [&](std::string_view chunk, long) {
        tooLarge = reply.size() + chunk.size() > OllamaReply::kMaxBytes;
        if (!tooLarge) reply.append(chunk);
        return !tooLarge;
      });
  if (outcome.code != CURLE_OK && !tooLarge)
    throw OllamaClient::Failure::unreachable(outcome.words);
  return OllamaReply::object(reply, outcome.status, tooLarge);
}

}  // namespace

// ---- Failure ----

OllamaClient::Failure::Failure(Kind kind, int status, std::string message,
                               const std::string& description)
    : brindlemoor::Failure(description),
      m_kind(kind),
      m_status(status),
      m_message(std::move(message)) {}

OllamaClient::Failure OllamaClient::Failure::unreachable(std::string detail) {
  const std::string description = "Ollama is not reachable (" + detail + ")";
  return Failure(Kind::unreachable, 0, std::move(detail), description);
}

OllamaClient::Failure OllamaClient::Failure::server(int status, std::string message) {
  const std::string description = "Ollama answered " + std::to_string(status) + ": " + message;
  return Failure(Kind::server, status, std::move(message), description);
}

OllamaClient::Failure OllamaClient::Failure::badReply(std::string detail) {
  const std::string description = "Unexpected reply from Ollama: " + detail;
  return Failure(Kind::badReply, 0, std::move(detail), description);
}

bool OllamaClient::Failure::operator==(const Failure& other) const {
  return m_kind == other.m_kind && m_status == other.m_status && m_message == other.m_message;
}

// ---- OllamaClient ----

OllamaClient::OllamaClient(std::string host) : m_host(std::move(host)) {}

std::string OllamaClient::defaultHost() {
  const char* setting = std::getenv("OLLAMA_HOST");
  return hostFromSetting(setting != nullptr ? setting : "");
}

std::string OllamaClient::version() const {
  return OllamaReply::version(request(m_host, "/api/version", std::nullopt, kVersionTimeout));
}

std::vector<std::string> OllamaClient::models() const {
  return OllamaReply::modelNames(request(m_host, "/api/tags", std::nullopt, kModelsTimeout));
}

bool OllamaClient::has(std::string_view model, const std::vector<std::string>& names) {
  const std::string name = model.find(':') != std::string_view::npos
                               ? std::string(model)
                               : std::string(model) + ":latest";
  return std::find(names.begin(), names.end(), name) != names.end() ||
         std::find(names.begin(), names.end(), model) != names.end();
}

std::string OllamaClient::generate(const std::string& model, const std::string& prompt,
                                   const std::optional<std::string>& system,
                                   const std::vector<Bytes>& images, bool json, int maxTokens,
                                   double timeoutSeconds) const {
  nlohmann::json body = {
      {"model", model},
      {"prompt", prompt},
      {"stream", false},
      {"think", false},
      {"keep_alive", "10m"},
      {"options", {{"temperature", 0.2}, {"num_predict", maxTokens}, {"num_ctx", 8192}}},
  };
  if (system) body["system"] = *system;
  if (!images.empty()) {
    nlohmann::json& encodedImages = body["images"] = nlohmann::json::array();
    for (const Bytes& image : images) encodedImages.push_back(Base64::encode(image));
  }
  if (json) body["format"] = "json";

  return OllamaReply::response(request(m_host, "/api/generate", body, timeoutSeconds));
}

std::vector<std::vector<float>> OllamaClient::embed(const std::string& model,
                                                    const std::vector<EmbedInput>& inputs,
                                                    double timeoutSeconds) const {
  json input = json::array();
  for (const EmbedInput& each : inputs) {
    if (!each.image) {
      // An input with neither text nor image is an empty object.
      input.push_back(each.text ? json(*each.text) : json::object());
      continue;
    }
    json object = {{"image", Base64::encode(*each.image)}};
    if (each.text) object["text"] = *each.text;
    input.push_back(std::move(object));
  }
  const json body = {{"model", model}, {"input", std::move(input)}, {"keep_alive", "10m"}};
  return OllamaReply::embeddings(request(m_host, "/api/embed", body, timeoutSeconds),
                                 inputs.size());
}

void OllamaClient::pull(const std::string& model, const Progress& progress) const {
  const auto handleLine = [&](std::string_view line) {
    if (const auto step = OllamaReply::pullStep(line)) {
      progress(step->completed, step->total, step->status);
    }
  };

  std::string pending;    // the start of a line whose end has not come yet
  bool skipping = false;  // inside a line too long to hold, which is dropped
  const HttpTransfer::Sink readLines = [&](std::string_view chunk, long status) {
    if (status != 200) return false;
    for (std::size_t end; (end = chunk.find('\n')) != std::string_view::npos;) {
      if (!skipping) {
        pending.append(chunk.substr(0, end));
        handleLine(pending);
      }
      pending.clear();
      skipping = false;
      chunk.remove_prefix(end + 1);
    }
    if (!skipping) pending.append(chunk);
    if (pending.size() > kMaxPullLineBytes) {
      pending.clear();
      skipping = true;
    }
    return true;
  };

  const json body = {{"model", model}, {"stream", true}};
  const HttpTransfer::Outcome outcome =
      HttpTransfer::run({urlFor(m_host, "/api/pull"), encoded(body), kPullTimeout, {}}, readLines);
  if (outcome.status != 0 && outcome.status != 200)
    throw Failure::server(static_cast<int>(outcome.status), "pull " + model);
  if (outcome.code != CURLE_OK) throw brindlemoor::Failure(outcome.words);
  if (!skipping && !pending.empty()) handleLine(pending);
}

}  // namespace brindlemoor
