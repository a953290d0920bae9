#include "tests/testing/imitation_ollama.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <stdexcept>

namespace brindlemoor::testing {

using nlohmann::json;

namespace {

constexpr const char* kJson = "application/json; charset=utf-8";
constexpr std::chrono::seconds kLongestHold{10};

// Headers the server library adds to every request of its own accord.
bool addedByServer(const std::string& name) {
  return name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" ||
         name == "LOCAL_PORT";
}

std::uint64_t hashOf(std::string_view word) {
  std::uint64_t hash = 14695981039346656037ull;  // FNV-1a
  for (const char c : word) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  return hash;
}

void addWord(std::vector<float>& vector, std::string_view word) {
  if (vector.empty()) return;
  const std::uint64_t hash = hashOf(word);
  vector[hash % vector.size()] += 2.0f + static_cast<float>((hash >> 32) % 3);
}

void addWords(std::vector<float>& vector, std::string_view text) {
  std::string word;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    const unsigned char c = i < text.size() ? static_cast<unsigned char>(text[i]) : ' ';
    if (std::isalnum(c) || c >= 0x80) {
      word += static_cast<char>(std::tolower(c));
    } else if (!word.empty()) {
      addWord(vector, word);
      word.clear();
    }
  }
}

void reply(httplib::Response& response, int status, const json& body) {
  response.status = status;
  response.set_content(body.dump(), kJson);
}

}  // namespace

ImitationOllama::ImitationOllama()
    : m_server(std::make_unique<httplib::Server>()),
      m_pullLines{
          R"({"status":"pulling manifest"})",
          R"({"status":"pulling 8eeb52dfb3bb","digest":"sha256:8eeb52dfb3bb","total":3000,"completed":0})",
          R"({"status":"pulling 8eeb52dfb3bb","digest":"sha256:8eeb52dfb3bb","total":3000,"completed":1500})",
          R"({"status":"pulling 8eeb52dfb3bb","digest":"sha256:8eeb52dfb3bb","total":3000,"completed":3000})",
          R"({"status":"success"})",
      } {
  httplib::Server& server = *m_server;
  server.set_keep_alive_timeout(1);
  server.Get("/api/version", [this](const httplib::Request& request, httplib::Response& response) {
    if (!prepare(request, response)) serveVersion(response);
  });
  server.Get("/api/tags", [this](const httplib::Request& request, httplib::Response& response) {
    if (!prepare(request, response)) serveTags(response);
  });
  server.Post("/api/generate",
              [this](const httplib::Request& request, httplib::Response& response) {
                if (!prepare(request, response)) serveGenerate(request, response);
              });
  server.Post("/api/embed", [this](const httplib::Request& request, httplib::Response& response) {
    if (!prepare(request, response)) serveEmbed(request, response);
  });
  server.Post("/api/pull", [this](const httplib::Request& request, httplib::Response& response) {
    if (!prepare(request, response)) servePull(request, response);
  });

  int listening = -1;
  server.set_socket_options([&listening](int socket) {
    httplib::default_socket_options(socket);
    listening = socket;
  });
  m_port = server.bind_to_any_port("127.0.0.1");
  if (m_port <= 0) throw std::runtime_error("the imitation daemon found no free port");
  // The server library listens with a backlog of 5, so a burst of parallel
  // clients would wait a second for a SYN sent again. Linux lets a second
  // listen() widen the backlog.
  ::listen(listening, SOMAXCONN);
  m_thread = std::thread([&server] { server.listen_after_bind(); });
  // stop() does nothing to a server that has not started listening yet.
  while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

ImitationOllama::~ImitationOllama() {
  {
    std::lock_guard lock(m_mutex);
    m_stopping = true;
  }
  m_changed.notify_all();
  m_server->stop();
  m_thread.join();
}

std::string ImitationOllama::host() const {
  return "http://127.0.0.1:" + std::to_string(m_port);
}

void ImitationOllama::setVersion(std::string version) {
  std::lock_guard lock(m_mutex);
  m_version = std::move(version);
}

void ImitationOllama::setModels(std::vector<std::string> names) {
  std::lock_guard lock(m_mutex);
  m_models = std::move(names);
}

void ImitationOllama::setReply(std::string text) {
  setReply([text = std::move(text)](const json&) { return text; });
}

void ImitationOllama::setReply(Responder responder) {
  std::lock_guard lock(m_mutex);
  m_responder = std::move(responder);
}

void ImitationOllama::setDimension(int dimension) {
  std::lock_guard lock(m_mutex);
  m_dimension = dimension;
}

void ImitationOllama::setPullLines(std::vector<std::string> lines) {
  std::lock_guard lock(m_mutex);
  m_pullLines = std::move(lines);
}

void ImitationOllama::holdPullAfter(std::size_t lines) {
  std::lock_guard lock(m_mutex);
  m_holdPullAfter = lines;
  m_pullReleased = false;
}

void ImitationOllama::releasePull() {
  {
    std::lock_guard lock(m_mutex);
    m_pullReleased = true;
  }
  m_changed.notify_all();
}

bool ImitationOllama::pullHeld() const {
  std::lock_guard lock(m_mutex);
  return m_pullHeld;
}

std::vector<float> ImitationOllama::embeddingOf(std::string_view text, int dimension) {
  std::vector<float> vector(static_cast<std::size_t>(std::max(dimension, 0)), 0.0f);
  addWords(vector, text);
  return vector;
}

void ImitationOllama::answer(std::string path, int status, std::string body,
                             std::string contentType) {
  std::lock_guard lock(m_mutex);
  m_fixed[std::move(path)] = Fixed{status, std::move(body), std::move(contentType)};
}

void ImitationOllama::setDelay(std::chrono::milliseconds delay) {
  std::lock_guard lock(m_mutex);
  m_delay = delay;
}

std::optional<std::string> ImitationOllama::lastBody(const std::string& path) const {
  std::lock_guard lock(m_mutex);
  const auto it = m_received.find(path);
  if (it == m_received.end()) return std::nullopt;
  return it->second.body;
}

std::vector<std::string> ImitationOllama::lastHeaderNames(const std::string& path) const {
  std::lock_guard lock(m_mutex);
  std::vector<std::string> names;
  if (const auto it = m_received.find(path); it != m_received.end()) {
    for (const auto& [name, value] : it->second.headers) names.push_back(name);
  }
  return names;
}

std::optional<std::string> ImitationOllama::lastHeader(const std::string& path,
                                                       const std::string& name) const {
  std::lock_guard lock(m_mutex);
  const auto it = m_received.find(path);
  if (it == m_received.end()) return std::nullopt;
  for (const auto& [key, value] : it->second.headers) {
    if (key == name) return value;
  }
  return std::nullopt;
}

int ImitationOllama::requestCount(const std::string& path) const {
  std::lock_guard lock(m_mutex);
  const auto it = m_counts.find(path);
  return it == m_counts.end() ? 0 : it->second;
}

bool ImitationOllama::prepare(const httplib::Request& request, httplib::Response& response) {
  std::unique_lock lock(m_mutex);
  Received& received = m_received[request.path];
  received.body = request.body;
  received.headers.clear();
  for (const auto& [name, value] : request.headers) {
    if (!addedByServer(name)) received.headers.emplace_back(name, value);
  }
  ++m_counts[request.path];

  pause(lock, m_delay);
  const auto fixed = m_fixed.find(request.path);
  if (fixed == m_fixed.end()) return false;
  response.status = fixed->second.status;
  response.set_content(fixed->second.body, fixed->second.contentType);
  return true;
}

bool ImitationOllama::pause(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds duration,
                            const std::function<bool()>& done) {
  m_changed.wait_for(lock, duration, [&] { return m_stopping || (done && done()); });
  return !m_stopping;
}

bool ImitationOllama::hasModel(const std::string& model) const {
  const auto has = [&](const std::string& name) {
    return std::find(m_models.begin(), m_models.end(), name) != m_models.end();
  };
  return has(model) || (model.find(':') == std::string::npos && has(model + ":latest"));
}

void ImitationOllama::serveVersion(httplib::Response& response) {
  std::lock_guard lock(m_mutex);
  reply(response, 200, {{"version", m_version}});
}

void ImitationOllama::serveTags(httplib::Response& response) {
  std::lock_guard lock(m_mutex);
  json models = json::array();
  for (const std::string& name : m_models) {
    models.push_back({{"name", name},
                      {"model", name},
                      {"modified_at", "2025-01-01T00:00:00Z"},
                      {"size", 1000},
                      {"digest", "8eeb52dfb3bb"},
                      {"details", {{"format", "gguf"}}}});
  }
  reply(response, 200, {{"models", models}});
}

std::optional<json> ImitationOllama::bodyForModel(const httplib::Request& request,
                                                  httplib::Response& response) {
  json body = json::parse(request.body, nullptr, false);
  if (!body.is_object() || !body.contains("model") || !body["model"].is_string()) {
    reply(response, 400, {{"error", "model is required"}});
    return std::nullopt;
  }
  const std::string model = body["model"];
  std::lock_guard lock(m_mutex);
  if (!hasModel(model)) {
    reply(response, 404, {{"error", "model \"" + model + "\" not found, try pulling it first"}});
    return std::nullopt;
  }
  return body;
}

void ImitationOllama::serveGenerate(const httplib::Request& request, httplib::Response& response) {
  const std::optional<json> body = bodyForModel(request, response);
  if (!body) return;
  Responder responder;
  {
    std::lock_guard lock(m_mutex);
    responder = m_responder;
  }
  // Outside the lock: a responder may ask the imitation about itself.
  const std::string text = responder ? responder(*body) : "";
  reply(response, 200,
        {{"model", (*body)["model"]},
         {"created_at", "2025-01-01T00:00:00Z"},
         {"response", text},
         {"done", true},
         {"done_reason", "stop"},
         {"context", {1, 2, 3}},
         {"total_duration", 1000000},
         {"prompt_eval_count", 12},
         {"eval_count", 34}});
}

void ImitationOllama::serveEmbed(const httplib::Request& request, httplib::Response& response) {
  const std::optional<json> body = bodyForModel(request, response);
  if (!body) return;
  int dimension;
  {
    std::lock_guard lock(m_mutex);
    dimension = m_dimension;
  }
  json inputs = body->value("input", json::array());
  if (inputs.is_string()) inputs = json::array({inputs});
  if (!inputs.is_array()) return reply(response, 400, {{"error", "invalid input type"}});

  json embeddings = json::array();
  for (const json& input : inputs) {
    std::vector<float> vector;
    if (input.is_string()) {
      vector = embeddingOf(input.get<std::string>(), dimension);
    } else if (input.is_object()) {
      const json text = input.value("text", json());
      const json image = input.value("image", json());
      if ((!text.is_null() && !text.is_string()) || (!image.is_null() && !image.is_string()))
        return reply(response, 400, {{"error", "invalid input type"}});
      vector = embeddingOf(text.is_string() ? text.get<std::string>() : "", dimension);
      if (image.is_string()) addWord(vector, image.get<std::string>());
    } else {
      return reply(response, 400, {{"error", "invalid input type"}});
    }
    embeddings.push_back(vector);
  }
  reply(response, 200,
        {{"model", (*body)["model"]},
         {"embeddings", embeddings},
         {"total_duration", 1000000},
         {"prompt_eval_count", static_cast<int>(inputs.size())}});
}

void ImitationOllama::servePull(const httplib::Request& request, httplib::Response& response) {
  const json body = json::parse(request.body, nullptr, false);
  const std::string model =
      body.is_object() && body.contains("model") && body["model"].is_string() ? body["model"] : "";
  std::vector<std::string> lines;
  std::optional<std::size_t> holdAfter;
  {
    std::lock_guard lock(m_mutex);
    lines = m_pullLines;
    holdAfter = m_holdPullAfter;
  }
  response.set_chunked_content_provider(
      "application/x-ndjson",
      [this, model, lines, holdAfter](std::size_t, httplib::DataSink& sink) {
        bool failed = false;
        for (std::size_t i = 0; i < lines.size(); ++i) {
          // Held before the line goes out, so that whoever reads the line
          // already sees the stream waiting.
          const bool holdAfterThis = holdAfter && i + 1 == *holdAfter;
          if (holdAfterThis) {
            std::lock_guard lock(m_mutex);
            m_pullHeld = true;
          }
          const std::string line = lines[i] + "\n";
          if (!sink.write(line.data(), line.size())) return false;
          const json parsed = json::parse(lines[i], nullptr, false);
          failed = failed || (parsed.is_object() && parsed.contains("error"));
          if (holdAfterThis) {
            std::unique_lock lock(m_mutex);
            const bool going = pause(lock, kLongestHold, [this] { return m_pullReleased; });
            m_pullHeld = false;
            if (!going) return false;
          }
        }
        sink.done();
        std::lock_guard lock(m_mutex);
        if (!failed && !model.empty() && !hasModel(model)) m_models.push_back(model);
        return true;
      });
}

ClosedPort::ClosedPort() : m_socket(::socket(AF_INET, SOCK_STREAM, 0)), m_port(0) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (m_socket < 0 || ::bind(m_socket, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    if (m_socket >= 0) ::close(m_socket);
    throw std::runtime_error("no loopback port to keep closed");
  }
  m_port = ntohs(address.sin_port);
}

ClosedPort::~ClosedPort() {
  ::close(m_socket);
}

std::string ClosedPort::host() const {
  return "http://127.0.0.1:" + std::to_string(m_port);
}

}  // namespace brindlemoor::testing
