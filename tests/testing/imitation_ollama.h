// ImitationOllama is a small HTTP server of our own that answers like a
// local Ollama daemon, so that tests and benchmarks exercise the real client
// over real HTTP without a daemon or a model on the machine. It listens on a
// free loopback port from construction to destruction.
//
// It answers /api/version ("0.40.0"), /api/tags (the models it has),
// /api/generate (the reply it was given), /api/embed (embeddingOf() of each
// input in 768 dimensions, never of unit length, so that the client's
// normalisation shows) and /api/pull (a chunked stream: a manifest line, three
// of progress, "success", kPullPause apart). generate and embed answer 404 with the daemon's
// words for a model it does not have ("x" stands for "x:latest").
//
// Every member may be called from any thread, also while requests are being
// served; each request sees the settings as they were when it arrived.
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

  // Starts serving; throws std::runtime_error when no port can be had.
  ImitationOllama();
  // Stops serving; requests still waiting (a delay, a pull) end at once.
  ~ImitationOllama();
  ImitationOllama(const ImitationOllama&) = delete;
  ImitationOllama& operator=(const ImitationOllama&) = delete;

  // "http://127.0.0.1:<port>".
  std::string host() const;

  // The installed models, in the order /api/tags lists them; none unless set.
  void setModels(std::vector<std::string> names);
  // The text of every generation, or one made from each request; "" unless set.
  void setReply(std::string text);
  void setReply(Responder responder);

  // The vector /api/embed gives for `text`: each word (letters and digits,
  // lower-cased) adds a weight of 2 to 4 at a place given by its hash, so
  // shared words make vectors alike and the empty text gives zeros. An image
  // input adds one word made from its base64 text.
  static std::vector<float> embeddingOf(std::string_view text, int dimension);

  // Every later request to `path` is answered with exactly this.
  void answer(std::string path, int status, std::string body,
              std::string contentType = "application/json; charset=utf-8");
  // Every later request waits this long before it is answered.
  void setDelay(std::chrono::milliseconds delay);

  // The body of the last request to `path`; nothing if none came.
  std::optional<std::string> lastBody(const std::string& path) const;
  // The headers of the last request to `path` by their names as sent, less
  // the ones the server library adds of its own.
  std::map<std::string, std::string> lastHeaders(const std::string& path) const;
  // How many requests came to `path`.
  int requestCount(const std::string& path) const;

 private:
  struct Fixed {
    int status;
    std::string body;
    std::string contentType;
  };

  // Records the request, waits out the delay, and gives the fixed answer if
  // there is one; false when the request is still to be answered.
  bool answered(const httplib::Request& request, httplib::Response& response);
  // Waits up to `duration`, less if the server stops; false if it stopped.
  bool pause(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds duration);
  // The JSON body of a request that names a model the imitation has; else
  // the daemon's refusal is answered and nothing is returned.
  std::optional<nlohmann::json> bodyForModel(const httplib::Request& request,
                                             httplib::Response& response);
  void servePull(httplib::Response& response);

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
  std::map<std::string, std::string> m_bodies;
  std::map<std::string, std::map<std::string, std::string>> m_headers;
  std::map<std::string, int> m_counts;
};

// ClosedPort is a loopback port on which nothing listens: connecting to it
// is refused at once. The port stays bound, unlistened, while the value
// lives, so no other server can take it meanwhile.
class ClosedPort {
 public:
  ClosedPort();
  ~ClosedPort();
  ClosedPort(const ClosedPort&) = delete;
  ClosedPort& operator=(const ClosedPort&) = delete;

  // "http://127.0.0.1:<port>".
  std::string host() const;

 private:
  int m_socket;
  int m_port;
};

}  // namespace brindlemoor::testing
