// ModelReply reads what a model says in reply to a prompt that asked for one
// JSON object: the object itself, and its strings made safe to store and
// show. The describer and collection naming both read their replies so.
// Pure functions, safe from any thread; none of them throws.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace brindlemoor::ModelReply {

// The JSON object that spans from the first "{" to the last "}" of `text`,
// so chatter or a code fence around it does no harm. Nothing when there is
// no such stretch, when it is not one well-formed JSON object (two objects
// in a row are not), or when it nests deeper than untrusted JSON may.
std::optional<nlohmann::json> jsonObject(std::string_view text);

// `text` on one line and bounded: every run of white space (line ends
// included) becomes one blank; white space and double quotes are trimmed
// from both ends. Nothing when `text` is absent or that leaves nothing. A
// result longer than `max` characters is cut to `max` - 1, trimmed of
// blanks at the cut and ended with "…", so it never exceeds `max`; a `max`
// of 0 leaves nothing.
std::optional<std::string> clean(std::optional<std::string_view> text, std::size_t max);

}  // namespace brindlemoor::ModelReply
