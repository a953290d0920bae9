// Bytes is the one type for the contents of a file or a message body: a
// picture's encoded bytes, an HTTP reply, a vector blob.
#pragma once

#include <cstdint>
#include <vector>

namespace brindlemoor {

using Bytes = std::vector<std::uint8_t>;

}  // namespace brindlemoor
