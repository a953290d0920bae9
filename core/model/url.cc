#include "core/model/url.h"

#include <curl/curl.h>

#include <memory>

namespace brindlemoor::Url {
namespace {

struct UrlDeleter {
  void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
};

// Parses `url` with any scheme allowed; nothing when libcurl refuses it.
std::unique_ptr<CURLU, UrlDeleter> parsed(std::string_view url) {
  if (url.find('\0') != std::string_view::npos) return nullptr;
  std::unique_ptr<CURLU, UrlDeleter> handle(curl_url());
  const std::string text(url);
  if (!handle || curl_url_set(handle.get(), CURLUPART_URL, text.c_str(),
                              CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
    return nullptr;
  }
  return handle;
}

std::optional<std::string> part(CURLU* handle, CURLUPart which) {
  char* value = nullptr;
  if (curl_url_get(handle, which, &value, 0) != CURLUE_OK || value == nullptr) return std::nullopt;
  std::string result(value);
  curl_free(value);
  return result;
}

}  // namespace

std::optional<std::string> host(std::string_view url) {
  auto handle = parsed(url);
  if (!handle) return std::nullopt;
  auto result = part(handle.get(), CURLUPART_HOST);
  if (result && result->empty()) return std::nullopt;
  return result;
}

std::optional<std::string> scheme(std::string_view url) {
  auto handle = parsed(url);
  if (!handle) return std::nullopt;
  return part(handle.get(), CURLUPART_SCHEME);
}

}  // namespace brindlemoor::Url
