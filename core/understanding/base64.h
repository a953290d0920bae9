// Base64 is the encoding in which pictures travel inside JSON to the model
// daemon. Pure functions, safe from any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace brindlemoor::Base64 {

// `bytes` in standard base64 (RFC 4648 alphabet, with "=" padding) on one
// line, without line breaks.
std::string encode(std::span<const std::uint8_t> bytes);

}  // namespace brindlemoor::Base64
