// Url reads the parts of a web address through libcurl's URL parser, the one
// parser the whole core uses, so every part of the program agrees on what a
// URL is. Pure functions; safe from any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindlemoor::Url {

// The host exactly as it stands in `url`, percent-encoding and case kept;
// nothing when `url` doesn't parse as an absolute URL or has no host. A text
// holding a NUL is no URL, whatever stands before it.
std::optional<std::string> host(std::string_view url);

// The scheme of `url` in lower case, without its ":"; nothing when `url`
// doesn't parse as an absolute URL.
std::optional<std::string> scheme(std::string_view url);

}  // namespace brindlemoor::Url
