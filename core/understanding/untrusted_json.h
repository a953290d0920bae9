// UntrustedJson reads JSON that comes from outside the program, such as the
// replies of the model daemon, without letting its shape hurt us: nesting is
// bounded, so a reply nested a hundred thousand levels deep is refused
// instead of being built into a tree that takes time and memory to tear
// down. Pure functions, safe from any thread.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

namespace brindlemoor::UntrustedJson {

// Deeper than any reply we read needs, yet far from what a stack minds.
inline constexpr int kMaxDepth = 64;

// The JSON value that `text` holds, or nothing when `text` is not one
// well-formed JSON value (invalid UTF-8 inside strings included) or nests
// arrays and objects more than kMaxDepth levels deep. Never throws.
std::optional<nlohmann::json> parse(std::string_view text);

// The member `name` of `object` when it is a string; nothing when it is
// absent or of another type.
std::optional<std::string_view> stringMember(const nlohmann::json& object, const char* name);

}  // namespace brindlemoor::UntrustedJson
