#include "core/model/url.h"

#include <curl/curl.h>

#include <memory>
#include <vector>

#include "core/model/text.h"

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

std::optional<std::string> part(CURLU* handle, CURLUPart which, unsigned int flags = 0) {
  char* value = nullptr;
  if (curl_url_get(handle, which, &value, flags) != CURLUE_OK || value == nullptr) {
    return std::nullopt;
  }
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

std::optional<std::string> path(std::string_view url) {
  auto handle = parsed(url);
  if (!handle) return std::nullopt;
  return part(handle.get(), CURLUPART_PATH);
}

std::string lastPathPiece(std::string_view url) {
  auto handle = parsed(url);
  if (!handle) return "";
  const auto decoded = part(handle.get(), CURLUPART_PATH, CURLU_URLDECODE);
  if (!decoded) return "";
  const std::vector<std::string_view> pieces = Text::pieces(*decoded, '/');
  return pieces.empty() ? "" : std::string(pieces.back());
}

std::string pathExtension(std::string_view url) {
  const std::string name = lastPathPiece(url);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) return "";
  return name.substr(dot + 1);
}

std::optional<std::string> resolved(std::string_view base, std::string_view reference) {
  if (reference.find('\0') != std::string_view::npos) return std::nullopt;
  // A base that doesn't parse leaves only an absolute reference.
  auto handle = parsed(base);
  if (!handle) handle = std::unique_ptr<CURLU, UrlDeleter>(curl_url());
  const std::string text(reference);
  if (!handle || curl_url_set(handle.get(), CURLUPART_URL, text.c_str(),
                              CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
    return std::nullopt;
  }
  return part(handle.get(), CURLUPART_URL);
}

std::optional<std::string> filePath(std::string_view url) {
  auto handle = parsed(url);
  if (!handle || part(handle.get(), CURLUPART_SCHEME) != "file") return std::nullopt;
  return part(handle.get(), CURLUPART_PATH, CURLU_URLDECODE);
}

}  // namespace brindlemoor::Url
