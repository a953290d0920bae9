#include "core/organizing/collection_namer.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>

#include "core/model/text.h"
#include "core/understanding/model_reply.h"
#include "core/understanding/untrusted_json.h"

namespace brindlemoor {
namespace {

constexpr std::size_t kPromptCaptures = 12;
constexpr std::size_t kNameCharacters = 40;
constexpr int kMaxTokens = 80;
constexpr double kTimeoutSeconds = 120;
constexpr std::string_view kUntitled = "Untitled collection";
constexpr std::string_view kFolder = "📁";

constexpr std::string_view kPromptHead = "These items were saved together in a personal library:\n";
constexpr std::string_view kPromptTail =
    "\n\nName the collection they form. Answer with JSON only:\n"
    "{\"name\": \"2 to 4 words, title case, specific (not 'Miscellaneous' or 'Screenshots')\",\n"
    " \"emoji\": \"one emoji that fits\"}";

bool isRegionalIndicator(UChar32 c) {
  return c >= 0x1F1E6 && c <= 0x1F1FF;
}

// Whether the user-perceived character `character` shows as an emoji rather
// than as text: "✈" alone is text, "✈️" with its variation selector is not.
bool showsAsEmoji(std::string_view character) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(character.data());
  const auto length = static_cast<int32_t>(character.size());
  int codePoints = 0;
  bool allRegional = true;
  for (int32_t i = 0; i < length;) {
    UChar32 c;
    U8_NEXT(bytes, i, length, c);
    if (c == 0xFE0F || (c >= 0 && u_hasBinaryProperty(c, UCHAR_EMOJI_PRESENTATION))) return true;
    allRegional = allRegional && isRegionalIndicator(c);
    ++codePoints;
  }
  return codePoints == 2 && allRegional;
}

// The first user-perceived character of `text` that shows as an emoji.
std::optional<std::string_view> firstEmoji(std::string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::BreakIterator> characters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  // ICU's character rules are built into the library; only exhausted memory
  // leaves no iterator.
  if (U_FAILURE(status)) throw std::bad_alloc();
  UText utf8 = UTEXT_INITIALIZER;
  utext_openUTF8(&utf8, text.data(), static_cast<int64_t>(text.size()), &status);
  // The iterator works on a shallow clone of `utf8`, whose offsets are byte
  // offsets into `text`.
  characters->setText(&utf8, status);
  utext_close(&utf8);
  for (int32_t start = characters->first(), end = characters->next();
       end != icu::BreakIterator::DONE; start = end, end = characters->next()) {
    const std::string_view character = text.substr(start, end - start);
    if (showsAsEmoji(character)) return character;
  }
  return std::nullopt;
}

std::string line(const Capture& capture) {
  std::string result = "- " + capture.displayTitle() + ": " + capture.summary.value_or("");
  if (!capture.tags.empty()) result += " [" + Text::joined(capture.tags, ", ") + "]";
  return result;
}

}  // namespace

CollectionNamer::CollectionNamer(OllamaClient client, std::string model)
    : m_client(std::move(client)), m_model(std::move(model)) {}

CollectionNamer::Naming CollectionNamer::name(const std::vector<Capture>& captures) const {
  return parse(m_client.generate(m_model, prompt(captures), std::nullopt, {}, /*json=*/true,
                                 kMaxTokens, kTimeoutSeconds));
}

std::string CollectionNamer::prompt(const std::vector<Capture>& captures) {
  std::vector<std::string> lines;
  const std::size_t count = std::min(captures.size(), kPromptCaptures);
  for (std::size_t i = 0; i < count; ++i) lines.push_back(line(captures[i]));
  return std::string(kPromptHead) + Text::joined(lines, "\n") + std::string(kPromptTail);
}

CollectionNamer::Naming CollectionNamer::parse(std::string_view reply) {
  const nlohmann::json object = ModelReply::jsonObject(reply).value_or(nlohmann::json::object());
  Naming naming;
  naming.name = ModelReply::clean(UntrustedJson::stringMember(object, "name"), kNameCharacters)
                    .value_or(std::string(kUntitled));
  const auto emoji = UntrustedJson::stringMember(object, "emoji");
  naming.emoji = std::string(emoji ? firstEmoji(*emoji).value_or(kFolder) : kFolder);
  return naming;
}

}  // namespace brindlemoor
