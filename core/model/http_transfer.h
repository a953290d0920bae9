// HttpTransfer is one HTTP exchange through libcurl, for the model daemon
// on this machine and for an image a page shows. Only what the caller names
// is sent of our own: libcurl's default Accept and Expect headers are
// removed. Loopback never goes through a proxy, and the user's no_proxy is
// kept.
//
// Threads: any; each exchange has its own handle.
#pragma once

#include <curl/curl.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemoor::HttpTransfer {

// Receives the body as it arrives, with the HTTP status known so far; false
// stops the transfer. It may throw: the exception ends the transfer and is
// thrown again by run().
using Sink = std::function<bool(std::string_view chunk, long status)>;

struct Request {
  std::string url;
  // A POST of this JSON when set, else a GET.
  std::optional<std::string> jsonBody;
  // For the whole exchange; there is no other limit.
  double timeoutSeconds = 10;
  // Whole header lines to send besides, such as "User-Agent: ...".
  std::vector<std::string> headers;
  // Redirects to follow, to http and https only; a loop ends at this many.
  long mostRedirects = 0;
};

struct Outcome {
  CURLcode code;
  long status;              // 0 when no HTTP answer came
  std::string words;        // libcurl's description of a failed transfer
  std::string contentType;  // as the answer gave it; "" when it gave none
};

Outcome run(const Request& request, const Sink& sink);

}  // namespace brindlemoor::HttpTransfer
