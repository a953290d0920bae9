// ImitationOllama is a small HTTP server of our own that answers like a
// local Ollama daemon, so that tests and benchmarks exercise the real client
// over real HTTP without a daemon or a model on the machine. It listens on a
// free loopback port chosen by the system from construction to destruction.
//
// It speaks the shapes of the daemon's API:
//   GET  /api/version   {"version": ...}
//   GET  /api/tags      {"models": [{"name": ...}, ...]} for the models it has
//   POST /api/generate  {"response": ...} with the reply it was given
//   POST /api/embed     {"embeddings": [...]}, one vector per input, made by
//                       embeddingOf() from the input's words; never of unit
//                       length, so that the client's normalisation shows
//   POST /api/pull      a chunked stream of JSON lines; a pull that reports
//                       no error adds the model to the models it has
// generate and embed answer 404 with {"error": "model \"x\" not found, try
// pulling it first"} for a model it does not have ("x" stands for
// "x:latest"). Switches make it fail: a fixed answer for a path, and a delay
// before every answer.
//
// Every member may be called from any thread, also while requests are being
// served; each request sees the settings as they were when it arrived.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
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

  // Starts serving; throws std::runtime_error when no port can be had.
  ImitationOllama();
  // Stops serving. Requests still waiting (a delay, a held pull) are cut
  // short and answered at once.
  ~ImitationOllama();
  ImitationOllama(const ImitationOllama&) = delete;
  ImitationOllama& operator=(const ImitationOllama&) = delete;

  // The address to give the client: "http://127.0.0.1:<port>".
  std::string host() const;

  // ---- What the daemon has and says ----

  // The version text; "0.40.0" unless set.
  void setVersion(std::string version);
  // The installed models, in the order /api/tags lists them; none unless set.
  void setModels(std::vector<std::string> names);
  // The text of every generation; "" unless set.
  void setReply(std::string text);
  // A reply made for each generation from its request.
  void setReply(Responder responder);
  // The length of the embedding vectors; 768 unless set.
  void setDimension(int dimension);
  // The lines of every pull stream, each sent as its own chunk with a line
  // feed after it. Unless set: a manifest line, three lines of download
  // progress, and "success".
  void setPullLines(std::vector<std::string> lines);
  // Pull streams stop after `lines` lines (at least 1) and wait until
  // releasePull(), or for ten seconds at most. pullHeld() is true from just
  // before the last line before the stop is sent until the stream goes on.
  void holdPullAfter(std::size_t lines);
  void releasePull();
  bool pullHeld() const;

  // The vector /api/embed gives for the text `text`: each word (a run of
  // letters and digits, lower-cased) adds a weight of 2 to 4 at a place given
  // by its hash. The same words give the same vector; shared words make
  // vectors alike; the empty text gives zeros. An image input adds one word
  // made from its base64 text.
  static std::vector<float> embeddingOf(std::string_view text, int dimension);

  // ---- Ways to fail ----

  // Every later request to `path` (e.g. "/api/tags") is answered with exactly
  // this status and body, whatever it asked.
  void answer(std::string path, int status, std::string body,
              std::string contentType = "application/json; charset=utf-8");
  // Every later request waits this long before it is answered.
  void setDelay(std::chrono::milliseconds delay);

  // ---- What it was asked ----

  // The body of the last request to `path`; nothing if none came.
  std::optional<std::string> lastBody(const std::string& path) const;
  // The header names of the last request to `path`, spelled as sent and in
  // alphabetical order, less the ones the server library adds of its own.
  std::vector<std::string> lastHeaderNames(const std::string& path) const;
  // The header `name` of the last request to `path`; nothing if absent.
  std::optional<std::string> lastHeader(const std::string& path, const std::string& name) const;
  // How many requests came to `path`.
  int requestCount(const std::string& path) const;

 private:
  struct Fixed {
    int status;
    std::string body;
    std::string contentType;
  };
  struct Received {
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
  };

  // Records the request, waits out the delay, and gives a fixed answer if
  // there is one; true when the request has been answered.
  bool prepare(const httplib::Request& request, httplib::Response& response);
  // Waits up to `duration`, less if the server stops; false if it stopped.
  bool pause(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds duration,
             const std::function<bool()>& done = nullptr);
  bool hasModel(const std::string& model) const;  // m_mutex held
  // The JSON body of a request that names a model the imitation has; else
  // the daemon's refusal is answered and nothing is returned.
  std::optional<nlohmann::json> bodyForModel(const httplib::Request& request,
                                             httplib::Response& response);
  void serveVersion(httplib::Response& response);
  void serveTags(httplib::Response& response);
  void serveGenerate(const httplib::Request& request, httplib::Response& response);
  void serveEmbed(const httplib::Request& request, httplib::Response& response);
  void servePull(const httplib::Request& request, httplib::Response& response);

  std::unique_ptr<httplib::Server> m_server;
  std::thread m_thread;
  int m_port = 0;

  mutable std::mutex m_mutex;
  std::condition_variable m_changed;  // stopping, or a held pull released
  bool m_stopping = false;            // guarded by m_mutex, as is all below
  std::string m_version = "0.40.0";
  std::vector<std::string> m_models;
  Responder m_responder;
  int m_dimension = 768;
  std::vector<std::string> m_pullLines;
  std::optional<std::size_t> m_holdPullAfter;
  bool m_pullHeld = false;
  bool m_pullReleased = false;
  std::map<std::string, Fixed> m_fixed;
  std::chrono::milliseconds m_delay{0};
  std::map<std::string, Received> m_received;
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
