#include "core/understanding/untrusted_json.h"

namespace brindlemoor::UntrustedJson {

namespace {

struct TooDeep {};

}  // namespace

std::optional<nlohmann::json> parse(std::string_view text) {
  // The callback sees each array or object as it opens, with the depth at
  // which it stands; leaving by an exception stops the parse at once instead
  // of reading the rest of a hostile reply.
  const auto limit = [](int depth, nlohmann::json::parse_event_t event, nlohmann::json&) {
    const bool opens = event == nlohmann::json::parse_event_t::object_start ||
                       event == nlohmann::json::parse_event_t::array_start;
    if (opens && depth >= kMaxDepth) throw TooDeep{};
    return true;
  };
  try {
    nlohmann::json value = nlohmann::json::parse(text, limit, /*allow_exceptions=*/false);
    if (value.is_discarded()) return std::nullopt;
    return value;
  } catch (const TooDeep&) {
    return std::nullopt;
  }
}

std::optional<std::string_view> stringMember(const nlohmann::json& object, const char* name) {
  const auto member = object.find(name);
  if (member == object.end() || !member->is_string()) return std::nullopt;
  return member->get_ref<const std::string&>();
}

}  // namespace brindlemoor::UntrustedJson
