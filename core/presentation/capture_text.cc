#include "core/presentation/capture_text.h"

#include <unicode/datefmt.h>
#include <unicode/unistr.h>

#include <cmath>
#include <memory>

#include "core/model/text.h"

namespace brindlemoor::CaptureText {

namespace {

// The abbreviated date and short time of the locale ("Mar 5, 2024, 2:30 PM"
// in en_US); empty if ICU can't make the format.
std::string dateText(Date date, const icu::Locale& locale, const icu::TimeZone& timeZone) {
  std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
      icu::DateFormat::kMedium, icu::DateFormat::kShort, locale));
  if (!format) return "";
  format->setTimeZone(timeZone);
  icu::UnicodeString text;
  format->format(secondsSince1970(date) * 1000.0, text);
  std::string utf8;
  return text.toUTF8String(utf8);
}

bool present(const std::optional<std::string>& text) {
  return text && !text->empty();
}

// `text`, cut to kTextLimit characters with "…" when it is longer.
std::string bounded(const std::string& text) {
  if (!Text::longerThan(text, kTextLimit)) return text;
  return std::string(Text::prefix(text, kTextLimit)) + "…";
}

}  // namespace

std::string listing(const Capture& capture, const std::vector<CaptureCollection>& collections,
                    const icu::Locale& locale, const icu::TimeZone& timeZone) {
  const std::string_view kindTitle = capture.kind ? capture.kind->title() : capture.media.title();
  std::vector<std::string> lines{capture.displayTitle() + " — " + std::string(kindTitle)};

  std::vector<std::string> facts{"id " + capture.id,
                                 present(capture.url) ? *capture.url : capture.sourceName()};
  const std::string date = dateText(capture.takenAt.value_or(capture.createdAt), locale, timeZone);
  if (!date.empty()) facts.push_back(date);
  if (capture.collectionID) {
    for (const auto& collection : collections) {
      if (collection.id == *capture.collectionID) {
        facts.push_back(collection.emoji + " " + collection.name);
        break;
      }
    }
  }
  lines.push_back(Text::joined(facts, " · "));

  if (present(capture.summary)) lines.push_back(*capture.summary);
  if (present(capture.note)) lines.push_back("Note: " + *capture.note);
  if (!capture.tags.empty()) lines.push_back("Tags: " + Text::joined(capture.tags, ", "));
  return Text::joined(lines, "\n");
}

std::string full(const Capture& capture, const std::vector<CaptureCollection>& collections,
                 const icu::Locale& locale, const icu::TimeZone& timeZone) {
  std::vector<std::string> blocks{listing(capture, collections, locale, timeZone)};
  if (capture.media == CaptureMedia::video && capture.duration &&
      std::isfinite(*capture.duration)) {
    blocks.push_back("Video, " + std::to_string(std::llround(*capture.duration)) + " seconds.");
  }
  if (!capture.highlights.empty()) {
    std::vector<std::string> quoted;
    for (const auto& highlight : capture.highlights) quoted.push_back("“" + highlight + "”");
    blocks.push_back("Worth keeping:\n" + Text::joined(quoted, "\n"));
  }
  if (!capture.links.empty()) blocks.push_back("Links:\n" + Text::joined(capture.links, "\n"));
  if (present(capture.transcript)) blocks.push_back("Said in it:\n" + bounded(*capture.transcript));
  if (present(capture.ocrText)) blocks.push_back("Text on it:\n" + bounded(*capture.ocrText));
  if (capture.stage != CaptureStage::organized) {
    blocks.push_back("(Still being read: the description may be incomplete.)");
  }
  return Text::joined(blocks, "\n\n");
}

}  // namespace brindlemoor::CaptureText
