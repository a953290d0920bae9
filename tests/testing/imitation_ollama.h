// An HTTP server on a free loopback port that answers like a local Ollama
// daemon: /api/version, /api/tags (the models set), /api/generate (the reply
// set), /api/embed (embeddingOf() each input, never of unit length) and
// /api/pull (five lines, kPullPause apart); generate and embed answer 404 for
// a model it lacks ("x" stands for "x:latest"). Any member, any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace brindlemoor::testing {

class ImitationOllama {
 public:
  // What /api/generate answers with, given the request's JSON body.
  using Responder = std::function<std::string(const nlohmann::json& request)>;
  static constexpr std::chrono::milliseconds kPullPause{25};

  ImitationOllama();   // throws std::runtime_error when no port can be had
  ~ImitationOllama();  // requests still waiting (a delay, a pull) end at once
  ImitationOllama(const ImitationOllama&) = delete;
  ImitationOllama& operator=(const ImitationOllama&) = delete;

  std::string host() const;  // "http://127.0.0.1:<port>"

  void setModels(std::vector<std::string> names) {
    std::lock_guard lock(m_mutex);
    m_models = std::move(names);
  }
  // The text of every generation, or one made from each request.
  void setReply(std::string text);
  void setReply(Responder responder) {
    std::lock_guard lock(m_mutex);
    m_responder = std::move(responder);
  }

  // Each word (letters and digits, lower-cased) adds 2 to 4 at a place given
  // by its hash: shared words make vectors alike, no words give zeros. An
  // image input adds one word made from its base64 text.
  static std::vector<float> embeddingOf(std::string_view text, int dimension);

  // Every later request to `path` gets exactly this.
  void answer(std::string path, int status, std::string body,
              std::string contentType = "application/json; charset=utf-8") {
    std::lock_guard lock(m_mutex);
    m_fixed[std::move(path)] = Fixed{status, std::move(body), std::move(contentType)};
  }
  void setDelay(std::chrono::milliseconds delay) {
    std::lock_guard lock(m_mutex);
    m_delay = delay;
  }

  // Of the requests to `path`: the last body, the last headers as sent (less
  // the server library's own), and how many came.
  std::optional<std::string> lastBody(const std::string& path) const;
  std::map<std::string, std::string> lastHeaders(const std::string& path) const;
  int requestCount(const std::string& path) const;

 private:
  struct Fixed {
    int status;
    std::string body, contentType;
  };
  struct Seen {
    std::string body;
    std::map<std::string, std::string> headers;
    int count = 0;
  };

  // Records the request, waits out the delay, and gives the fixed answer if any.
  bool answered(const httplib::Request& request, httplib::Response& response);
  // Waits up to `duration`, less if the server stops; false if it stopped.
  bool pause(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds duration);
  // The JSON body of a request for a model it has; else answers 404.
  std::optional<nlohmann::json> bodyForModel(const httplib::Request& request,
                                             httplib::Response& response);

  std::unique_ptr<httplib::Server> m_server;
  std::thread m_thread;
  int m_port = 0;

  mutable std::mutex m_mutex;
  std::condition_variable m_stoppingChanged;
  bool m_stopping = false;  // guarded by m_mutex, as is all below
  std::vector<std::string> m_models;
  Responder m_responder;
  std::map<std::string, Fixed> m_fixed;
  std::chrono::milliseconds m_delay{0};
  std::map<std::string, Seen> m_seen;
};

// A loopback port bound and never listening, so it refuses and no one takes it.
class ClosedPort {
 public:
  ClosedPort();
  ~ClosedPort();
  ClosedPort(const ClosedPort&) = delete;
  ClosedPort& operator=(const ClosedPort&) = delete;

  std::string host() const;  // "http://127.0.0.1:<port>"

 private:
  int m_socket;
  int m_port;
};

}  // namespace brindlemoor::testing
