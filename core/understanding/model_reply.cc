#include "core/understanding/model_reply.h"

#include "core/model/icu_regex.h"
#include "core/model/text.h"
#include "core/understanding/untrusted_json.h"

namespace brindlemoor::ModelReply {

std::optional<nlohmann::json> jsonObject(std::string_view text) {
  const std::size_t open = text.find('{');
  const std::size_t close = text.rfind('}');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    return std::nullopt;
  }
  auto value = UntrustedJson::parse(text.substr(open, close - open + 1));
  if (!value || !value->is_object()) return std::nullopt;
  return value;
}

std::optional<std::string> clean(std::optional<std::string_view> text, std::size_t max) {
  if (!text || max == 0) return std::nullopt;
  static const auto whitespaceRuns = IcuRegex::compiled(u"\\s+");
  const std::string oneLine =
      IcuRegex::utf8(IcuRegex::replacedAll(*whitespaceRuns, IcuRegex::unicode(*text), u" "));
  std::string trimmed = Text::trimmed(oneLine, U"\"");
  if (trimmed.empty()) return std::nullopt;
  if (!Text::longerThan(trimmed, max)) return trimmed;
  return Text::trimmed(Text::prefix(trimmed, max - 1)) + "…";
}

}  // namespace brindlemoor::ModelReply
