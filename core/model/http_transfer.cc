#include "core/model/http_transfer.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>

namespace brindlemoor::HttpTransfer {
namespace {

struct WriteContext {
  CURL* curl;
  const Sink* sink;
  std::exception_ptr thrown;
};

// libcurl is C: nothing may be thrown through it.
std::size_t writeBody(char* data, std::size_t size, std::size_t count, void* context) {
  auto* write = static_cast<WriteContext*>(context);
  const std::size_t length = size * count;
  try {
    long status = 0;
    curl_easy_getinfo(write->curl, CURLINFO_RESPONSE_CODE, &status);
    return (*write->sink)(std::string_view(data, length), status) ? length : 0;
  } catch (...) {
    write->thrown = std::current_exception();
    return 0;
  }
}

// The option replaces the user's no_proxy, so that list is carried over.
std::string noProxyList() {
  std::string list = "localhost,127.0.0.1,::1";
  for (const char* name : {"no_proxy", "NO_PROXY"}) {
    if (const char* value = std::getenv(name); value != nullptr && *value != '\0') {
      list += ",";
      list += value;
      break;
    }
  }
  return list;
}

}  // namespace

Outcome run(const Request& request, const Sink& sink) {
  // curl_global_init is not safe to race with itself; a local static runs it
  // once, before the first transfer, whichever thread gets there first.
  static const CURLcode global = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (global != CURLE_OK) return {global, 0, curl_easy_strerror(global), ""};

  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(),
                                                                 curl_easy_cleanup);
  if (!curl) return {CURLE_FAILED_INIT, 0, curl_easy_strerror(CURLE_FAILED_INIT), ""};
  std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(nullptr, curl_slist_free_all);
  const auto addHeader = [&](const std::string& header) {
    headers.reset(curl_slist_append(headers.release(), header.c_str()));
  };
  addHeader("Accept:");
  if (request.jsonBody) {
    addHeader("Content-Type: application/json");
    addHeader("Expect:");
  }
  for (const std::string& header : request.headers) addHeader(header);

  // 0 would mean no limit at all to libcurl.
  const double milliseconds = std::clamp(request.timeoutSeconds * 1000, 1.0, 1e12);
  char errors[CURL_ERROR_SIZE] = "";
  WriteContext context{curl.get(), &sink, nullptr};
  CURL* handle = curl.get();
  curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(milliseconds));
  curl_easy_setopt(handle, CURLOPT_NOPROXY, noProxyList().c_str());
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errors);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, writeBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &context);
  if (request.mostRedirects > 0) {
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, request.mostRedirects);
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  }
  if (request.jsonBody) {
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.jsonBody->data());
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(request.jsonBody->size()));
  }

  const CURLcode code = curl_easy_perform(handle);
  if (context.thrown) std::rethrow_exception(context.thrown);
  long status = 0;
  curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
  const char* type = nullptr;
  curl_easy_getinfo(handle, CURLINFO_CONTENT_TYPE, &type);
  return {code, status, errors[0] != '\0' ? errors : curl_easy_strerror(code), type ? type : ""};
}

}  // namespace brindlemoor::HttpTransfer
