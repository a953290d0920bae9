#include "core/model/capture_kind.h"

#include <string>

#include "core/model/raw_values.h"
#include "core/model/text.h"

namespace brindlemoor {
namespace {

constexpr internal::Names kNames[] = {
    {"article", "Articles", "doc.richtext"},
    {"code", "Code", "chevron.left.forwardslash.chevron.right"},
    {"design", "Design", "paintpalette"},
    {"chat", "Chats", "bubble.left.and.bubble.right"},
    {"email", "Email", "envelope"},
    {"document", "Documents", "doc.text"},
    {"spreadsheet", "Spreadsheets", "tablecells"},
    {"slides", "Slides", "rectangle.on.rectangle"},
    {"product", "Products", "bag"},
    {"receipt", "Receipts", "receipt"},
    {"recipe", "Recipes", "fork.knife"},
    {"food", "Food & drink", "cup.and.saucer"},
    {"place", "Places", "mappin.and.ellipse"},
    {"video", "Video", "play.rectangle"},
    {"social", "Social", "person.2"},
    {"data", "Charts & data", "chart.bar.xaxis"},
    {"idea", "Ideas", "lightbulb"},
    {"other", "Other", "square.dashed"},
};

struct Alias {
  std::string_view word;
  CaptureKind::Value kind;
};

// Words models often answer instead of a kind; only exact matches count.
constexpr Alias kAliases[] = {
    {"web page", CaptureKind::article},    {"webpage", CaptureKind::article},
    {"blog", CaptureKind::article},        {"news", CaptureKind::article},
    {"post", CaptureKind::article},        {"terminal", CaptureKind::code},
    {"source code", CaptureKind::code},    {"github", CaptureKind::code},
    {"message", CaptureKind::chat},        {"messages", CaptureKind::chat},
    {"slack", CaptureKind::chat},          {"pdf", CaptureKind::document},
    {"doc", CaptureKind::document},        {"notes", CaptureKind::document},
    {"note", CaptureKind::document},       {"chart", CaptureKind::data},
    {"dashboard", CaptureKind::data},      {"graph", CaptureKind::data},
    {"table", CaptureKind::data},          {"shopping", CaptureKind::product},
    {"listing", CaptureKind::product},     {"drink", CaptureKind::food},
    {"meal", CaptureKind::food},           {"dish", CaptureKind::food},
    {"pastry", CaptureKind::food},         {"coffee", CaptureKind::food},
    {"food and drink", CaptureKind::food}, {"invoice", CaptureKind::receipt},
    {"order", CaptureKind::receipt},       {"map", CaptureKind::place},
    {"location", CaptureKind::place},      {"tweet", CaptureKind::social},
    {"social media", CaptureKind::social}, {"presentation", CaptureKind::slides},
};

}  // namespace

const std::array<CaptureKind, 18>& CaptureKind::all() {
  static const std::array<CaptureKind, 18> values{
      article, code,   design, chat,  email, document, spreadsheet, slides, product,
      receipt, recipe, food,   place, video, social,   data,        idea,   other};
  return values;
}

std::optional<CaptureKind> CaptureKind::fromRaw(std::string_view raw) {
  return internal::fromRawValue<CaptureKind>(raw);
}

CaptureKind CaptureKind::parse(std::optional<std::string_view> answer) {
  const std::string word = Text::lowercased(Text::trimmed(answer.value_or("")));
  if (auto kind = fromRaw(word)) return *kind;
  for (const Alias& alias : kAliases) {
    if (alias.word == word) return alias.kind;
  }
  return other;
}

std::string_view CaptureKind::raw() const {
  return kNames[m_value].raw;
}
std::string_view CaptureKind::title() const {
  return kNames[m_value].title;
}
std::string_view CaptureKind::symbol() const {
  return kNames[m_value].symbol;
}

}  // namespace brindlemoor
