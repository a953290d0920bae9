// Utf8 turns bytes that ought to be UTF-8 into text that is. Replies of the
// model daemon are shown to the user and stored, so whatever they hold must
// be valid before it goes on. Pure functions, safe from any thread.
#pragma once

#include <string>
#include <string_view>

namespace brindlemoor::Utf8 {

// `bytes` with every ill-formed sequence replaced by U+FFFD, one replacement
// for each maximal subpart of an ill-formed sequence, as Unicode recommends
// and as decoders in browsers do. A multi-byte character cut off at the end
// becomes one U+FFFD. Valid input comes back unchanged.
std::string repaired(std::string_view bytes);

}  // namespace brindlemoor::Utf8
