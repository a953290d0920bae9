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

const std::vector<std::string> kPullLines = {
    R"({"status":"pulling manifest"})",
    R"({"status":"pulling 8eeb52dfb3bb","digest":"sha256:8eeb52dfb3bb","total":3000,"completed":0})",
    R"({"status":"pulling 8eeb52dfb3bb","digest":"sha256:8eeb52dfb3bb","total":3000,"completed":1500})",
    R"({"status":"pulling 8eeb52dfb3bb","digest":"sha256:8eeb52dfb3bb","total":3000,"completed":3000})",
    R"({"status":"success"})",
};

void addWord(std::vector<float>& vector, std::string_view word) {
  if (vector.empty()) return;
  std::uint64_t hash = 14695981039346656037ull;  // FNV-1a
  for (const char c : word) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  vector[hash % vector.size()] += 2.0f + static_cast<float>((hash >> 32) % 3);
}

void reply(httplib::Response& response, int status, const json& body) {
  response.status = status;
  response.set_content(body.dump(), "application/json; charset=utf-8");
}

}  // namespace

ImitationOllama::ImitationOllama() : m_server(std::make_unique<httplib::Server>()) {
  using Request = httplib::Request;
  using Response = httplib::Response;
  httplib::Server& server = *m_server;
  server.set_keep_alive_timeout(1);
  server.Get("/api/version", [this](const Request& request, Response& response) {
    if (!answered(request, response)) reply(response, 200, {{"version", "0.40.0"}});
  });
  server.Get("/api/tags", [this](const Request& request, Response& response) {
    if (answered(request, response)) return;
    std::lock_guard lock(m_mutex);
    json models = json::array();
    for (const std::string& name : m_models) models.push_back({{"name", name}});
    reply(response, 200, {{"models", models}});
  });
  server.Post("/api/generate", [this](const Request& request, Response& response) {
    std::optional<json> body;
    if (answered(request, response) || !(body = bodyForModel(request, response))) return;
    Responder responder;
    {
      std::lock_guard lock(m_mutex);
      responder = m_responder;
    }
    // Unlocked: a responder may ask the imitation about itself.
    reply(response, 200, {{"response", responder ? responder(*body) : ""}, {"done", true}});
  });
  server.Post("/api/embed", [this](const Request& request, Response& response) {
    std::optional<json> body;
    if (answered(request, response) || !(body = bodyForModel(request, response))) return;
    json embeddings = json::array();
    for (const json& input : body->value("input", json::array())) {
      const bool plain = input.is_string();
      std::vector<float> vector =
          embeddingOf(plain ? input.get<std::string>() : input.value("text", ""), 768);
      if (!plain && input.contains("image")) addWord(vector, input["image"].get<std::string>());
      embeddings.push_back(vector);
    }
    reply(response, 200, {{"embeddings", embeddings}});
  });
  server.Post("/api/pull", [this](const Request& request, Response& response) {
    if (answered(request, response)) return;
    response.set_chunked_content_provider(
        "application/x-ndjson", [this](std::size_t, httplib::DataSink& sink) {
          for (const std::string& line : kPullLines) {
            if (!sink.write((line + "\n").data(), line.size() + 1)) return false;
            std::unique_lock lock(m_mutex);  // lines come apart, as a download's progress does
            if (!pause(lock, kPullPause)) return false;
          }
          sink.done();
          return true;
        });
  });

  int listening = -1;
  server.set_socket_options([&listening](int socket) {
    httplib::default_socket_options(socket);
    listening = socket;
  });
  m_port = server.bind_to_any_port("127.0.0.1");
  if (m_port <= 0) throw std::runtime_error("the imitation daemon found no free port");
  // Widen the library's backlog of 5, at which a burst of clients waits a second.
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
  m_stoppingChanged.notify_all();
  m_server->stop();
  m_thread.join();
}

std::string ImitationOllama::host() const {
  return "http://127.0.0.1:" + std::to_string(m_port);
}

void ImitationOllama::setReply(std::string text) {
  setReply([text = std::move(text)](const json&) { return text; });
}

std::vector<float> ImitationOllama::embeddingOf(std::string_view text, int dimension) {
  std::vector<float> vector(static_cast<std::size_t>(std::max(dimension, 0)), 0.0f);
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
  return vector;
}

std::optional<std::string> ImitationOllama::lastBody(const std::string& path) const {
  std::lock_guard lock(m_mutex);
  const auto it = m_seen.find(path);
  return it == m_seen.end() ? std::nullopt : std::optional(it->second.body);
}

std::map<std::string, std::string> ImitationOllama::lastHeaders(const std::string& path) const {
  std::lock_guard lock(m_mutex);
  const auto it = m_seen.find(path);
  return it == m_seen.end() ? std::map<std::string, std::string>{} : it->second.headers;
}

int ImitationOllama::requestCount(const std::string& path) const {
  std::lock_guard lock(m_mutex);
  const auto it = m_seen.find(path);
  return it == m_seen.end() ? 0 : it->second.count;
}

bool ImitationOllama::answered(const httplib::Request& request, httplib::Response& response) {
  std::unique_lock lock(m_mutex);
  Seen& seen = m_seen[request.path];
  seen.body = request.body;
  seen.headers.clear();
  for (const auto& [name, value] : request.headers) {
    if (!name.starts_with("REMOTE_") && !name.starts_with("LOCAL_")) seen.headers[name] = value;
  }
  ++seen.count;
  pause(lock, m_delay);
  const auto fixed = m_fixed.find(request.path);
  if (fixed == m_fixed.end()) return false;
  response.status = fixed->second.status;
  response.set_content(fixed->second.body, fixed->second.contentType);
  return true;
}

bool ImitationOllama::pause(std::unique_lock<std::mutex>& lock,
                            std::chrono::milliseconds duration) {
  m_stoppingChanged.wait_for(lock, duration, [this] { return m_stopping; });
  return !m_stopping;
}

std::optional<json> ImitationOllama::bodyForModel(const httplib::Request& request,
                                                  httplib::Response& response) {
  json body = json::parse(request.body, nullptr, false);
  const std::string model = body.is_object() ? body.value("model", "") : "";
  std::lock_guard lock(m_mutex);
  const auto has = [&](const std::string& name) {
    return std::find(m_models.begin(), m_models.end(), name) != m_models.end();
  };
  if (has(model) || (model.find(':') == std::string::npos && has(model + ":latest"))) return body;
  reply(response, 404, {{"error", "model \"" + model + "\" not found, try pulling it first"}});
  return std::nullopt;
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
