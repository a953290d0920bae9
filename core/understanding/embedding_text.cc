#include "core/understanding/embedding_text.h"

#include <vector>

#include "core/model/text.h"

namespace brindlemoor::EmbeddingText {
namespace {

constexpr std::size_t kLongTextCharacters = 1200;

std::string head(const Capture& capture) {
  std::vector<std::string> parts;
  for (std::string part : {capture.app, capture.displayTitle()}) {
    if (!part.empty()) parts.push_back(std::move(part));
  }
  return parts.empty() ? "none" : Text::joined(parts, " — ");
}

std::string body(const Capture& capture) {
  std::vector<std::string> lines;
  auto add = [&lines](std::string_view line) {
    if (!line.empty()) lines.emplace_back(line);
  };
  add(capture.summary.value_or(""));
  add(Text::joined(capture.tags, ", "));
  add(capture.note.value_or(""));
  add(Text::prefix(capture.transcript.value_or(""), kLongTextCharacters));
  add(Text::prefix(capture.ocrText.value_or(""), kLongTextCharacters));
  return Text::joined(lines, "\n");
}

}  // namespace

std::string document(const Capture& capture) {
  return "title: " + head(capture) + " | text: " + body(capture);
}

std::string meaning(const Capture& capture) {
  std::string text = capture.displayTitle();
  if (!capture.tags.empty()) text += ". Topics: " + Text::joined(capture.tags, ", ");
  if (capture.note && !capture.note->empty()) text += ". " + *capture.note;
  return "title: none | text: " + text;
}

std::string query(std::string_view text) {
  return "task: search result | query: " + std::string(text);
}

}  // namespace brindlemoor::EmbeddingText
