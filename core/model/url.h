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

// The path of `url` as it stands, percent-encoding kept, "/" for an address
// with none; nothing when `url` doesn't parse as an absolute URL.
std::optional<std::string> path(std::string_view url);

// The last non-empty piece of the decoded path ("clip.MP4" for
// ".../clip.MP4/"); empty when `url` doesn't parse or its path has none.
std::string lastPathPiece(std::string_view url);

// The extension of the last non-empty piece of the decoded path, without its
// dot and with its case kept: "MP4" for ".../clip.MP4/". Empty when `url`
// doesn't parse, when the piece has no dot, or when its only dot leads it, as
// in a hidden file's name. The query and fragment play no part.
std::string pathExtension(std::string_view url);

// `reference` resolved against `base`, as a page resolves the addresses it
// names: an absolute reference stays as it is. Nothing when the result
// doesn't parse as an absolute URL.
std::optional<std::string> resolved(std::string_view base, std::string_view reference);

// The decoded path of a file: URL ("/home/a b.html" for
// "file:///home/a%20b.html"); nothing for any other address.
std::optional<std::string> filePath(std::string_view url);

}  // namespace brindlemoor::Url
