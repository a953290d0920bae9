// OllamaClient is the only route from the program to a model: it speaks HTTP
// and JSON to a local Ollama daemon. It holds nothing but the daemon's
// address, keeps no cache and never retries; a failed call is reported once
// and the caller decides what to do about it.
//
// Calls block until the daemon has answered or the call's own timeout has
// run out. The client has no shared mutable state: one client may be used
// from several threads at once, as long as nobody calls setHost meanwhile,
// and copies are independent.
//
// Replies are untrusted. A reply body is held up to 64 MiB: a successful
// reply that is larger fails with badReply("reply larger than 64 MiB"). JSON
// is read at most UntrustedJson::kMaxDepth levels deep; deeper nesting counts
// as no JSON at all.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/bytes.h"
#include "core/model/failure.h"

namespace brindlemoor {

class OllamaClient {
 public:
  // The error of every call; what() holds the words shown to the user and
  // recorded on a capture.
  class Failure : public brindlemoor::Failure {
   public:
    enum class Kind { unreachable, server, badReply };

    // "Ollama is not reachable (" + detail + ")": nothing answered in HTTP,
    // with libcurl's own description of what went wrong.
    static Failure unreachable(std::string detail);
    // "Ollama answered " + status + ": " + message: an HTTP status outside
    // 200 to 299, or an error reported inside a pull stream (status 200).
    static Failure server(int status, std::string message);
    // "Unexpected reply from Ollama: " + detail: an answer we cannot use.
    static Failure badReply(std::string detail);

    Kind kind() const { return m_kind; }
    // The HTTP status of a server failure; 0 for the other kinds.
    int status() const { return m_status; }
    // The payload: the detail or the server's message.
    const std::string& message() const { return m_message; }

    bool operator==(const Failure& other) const;

   private:
    Failure(Kind kind, int status, std::string message, const std::string& description);

    Kind m_kind;
    int m_status;
    std::string m_message;
  };

  // One thing to embed. Text alone travels as a JSON string; anything with an
  // image as an object with the image and, if given, the text.
  struct EmbedInput {
    std::optional<std::string> text = std::nullopt;
    std::optional<Bytes> image = std::nullopt;
  };

  // Called once for each well-formed line of a pull, in order, on the thread
  // that called pull, with the daemon's numbers as they came (0 when absent).
  using Progress =
      std::function<void(std::int64_t completed, std::int64_t total, const std::string& status)>;

  explicit OllamaClient(std::string host = defaultHost());

  // The daemon's address: OLLAMA_HOST when it is set, read as Ollama's own
  // tools read it ("host", "host:port" or a URL; the port defaults to 11434,
  // or to 80 and 443 for an explicit http or https scheme), else
  // "http://127.0.0.1:11434".
  static std::string defaultHost();

  const std::string& host() const { return m_host; }
  void setHost(std::string host) { m_host = std::move(host); }

  // The daemon's version text (GET /api/version, 3 s).
  // Throws Failure; badReply("no version") when the reply has none.
  std::string version() const;

  // The names of the installed models in the daemon's order (GET /api/tags,
  // 5 s). A reply without a list of models gives the empty list.
  // Throws Failure.
  std::vector<std::string> models() const;

  // Whether `model` is among `names`, a name without a tag standing for its
  // ":latest": "qwen3.5" is found as "qwen3.5:latest", but "qwen3.5:4b" is
  // never found as "qwen3.5".
  static bool has(std::string_view model, const std::vector<std::string>& names);

  // The text of one generation (POST /api/generate, not streamed, thinking
  // off, the model kept loaded for ten minutes, temperature 0.2 and a context
  // of 8192). `system` is sent when given, `images` when there are any,
  // `json` asks for a JSON reply. Waits at most `timeoutSeconds`.
  // Throws Failure; badReply("no response text") when the reply has none.
  std::string generate(const std::string& model, const std::string& prompt,
                       const std::optional<std::string>& system, const std::vector<Bytes>& images,
                       bool json, int maxTokens, double timeoutSeconds) const;

  // One unit vector per input, in input order (POST /api/embed); a vector of
  // zeros from the daemon stays zeros. Dimensions are not checked. Waits at
  // most `timeoutSeconds`. Throws Failure; badReply("expected N embeddings")
  // unless the reply holds exactly one array of numbers per input, and
  // badReply when a vector holds a value that is not a finite number.
  std::vector<std::vector<float>> embed(const std::string& model,
                                        const std::vector<EmbedInput>& inputs,
                                        double timeoutSeconds) const;

  // Downloads `model` (POST /api/pull, streamed, 3600 s), calling `progress`
  // as each line of the stream arrives. Lines that are not JSON objects are
  // skipped; the end of the stream ends the pull.
  // Throws Failure::server(status, "pull " + model) for a status other than
  // 200, and Failure::server(200, error) for a line that reports an error.
  // A transport failure is not turned into Failure::unreachable: it is thrown
  // as a plain brindlemoor::Failure with libcurl's words. An exception thrown
  // by `progress` ends the pull and passes through.
  void pull(const std::string& model, const Progress& progress) const;

 private:
  std::string m_host;
};

}  // namespace brindlemoor
