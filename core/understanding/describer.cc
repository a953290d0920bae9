#include "core/understanding/describer.h"

#include <unicode/datefmt.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <vector>

#include "core/model/capture_kind.h"
#include "core/model/icu_regex.h"
#include "core/model/text.h"
#include "core/model/url.h"
#include "core/understanding/model_reply.h"
#include "core/understanding/untrusted_json.h"
#include "core/understanding/utf8.h"

namespace brindlemoor {
namespace {

using IcuRegex::compiled;
using IcuRegex::replacedAll;
using IcuRegex::unicode;
using IcuRegex::utf8;

constexpr std::size_t kExcerptCharacters = 3000;
constexpr std::size_t kErrorCharacters = 200;
constexpr std::size_t kTitleCharacters = 90;
constexpr std::size_t kSummaryCharacters = 400;
constexpr std::size_t kTagCharacters = 32;
constexpr std::size_t kHighlightCharacters = 280;
constexpr std::size_t kMaxTags = 5;
constexpr std::size_t kMaxHighlights = 3;
constexpr std::size_t kMaxLinks = 6;
constexpr int kMaxTokens = 700;
// A reply of kMaxTokens tokens holds a few hundred list elements at most, so
// a model that followed the prompt never reaches this; reading no further
// keeps a hostile reply of a million invented passages, each of which would
// have to be looked for in the capture's text, from taking minutes.
constexpr std::size_t kMaxListElements = 1000;
constexpr double kTimeoutSeconds = 180;

const icu::RegexPattern& preamble() {
  static const auto pattern = compiled(
      u"^(?i)(a |this |the )?(screenshot|screen ?shot|webpage|web page|page|image)"
      u"( of| from| shows| displays| showing)?( the| a| an)?\\s+");
  return *pattern;
}

const icu::RegexPattern& trailingPageWord() {
  static const auto pattern = compiled(u"(?i)\\s+(article|page)$");
  return *pattern;
}

// `word` as a literal inside a pattern: every ASCII character other than a
// letter or digit is quoted, which ICU allows for any of them.
icu::UnicodeString escapedForPattern(std::string_view word) {
  const icu::UnicodeString text = unicode(word);
  icu::UnicodeString result;
  for (int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
    const UChar32 c = text.char32At(i);
    if (c < 0x80 && !u_isalnum(c)) result += u'\\';
    result.append(c);
  }
  return result;
}

// The strings among the first kMaxListElements elements of the array
// `name`; other elements, and a member that is no array, count as absent.
std::vector<std::string_view> stringsOf(const nlohmann::json& object, const char* name) {
  std::vector<std::string_view> strings;
  const auto member = object.find(name);
  if (member == object.end() || !member->is_array()) return strings;
  const std::size_t count = std::min(member->size(), kMaxListElements);
  for (std::size_t i = 0; i < count; ++i) {
    const auto& element = (*member)[i];
    if (element.is_string()) strings.push_back(element.get_ref<const std::string&>());
  }
  return strings;
}

bool occursIn(std::string_view seen, std::string_view squashedQuote) {
  return !squashedQuote.empty() && seen.find(squashedQuote) != std::string_view::npos;
}

// `text` without the occurrences of `part` that one pass from the start
// finds; pieces that meet where one was taken out don't form another.
std::string withoutAll(std::string_view text, std::string_view part) {
  std::string result;
  std::size_t from = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, from)) {
    result += text.substr(from, at - from);
    from = at + part.size();
  }
  result += text.substr(from);
  return result;
}

// " Taken March 5, 2024 at 3:07 PM." in the user's locale and time zone, or
// nothing without a date.
std::string takenSentence(const std::optional<Date>& takenAt, const icu::Locale& locale,
                          const icu::TimeZone& timeZone) {
  if (!takenAt) return "";
  std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
      icu::DateFormat::kLong, icu::DateFormat::kShort, locale));
  // ICU falls back to its root locale for any locale it lacks, so only
  // exhausted memory leaves no formatter.
  if (!format) throw std::bad_alloc();
  format->setTimeZone(timeZone);
  icu::UnicodeString written;
  format->format(secondsSince1970(*takenAt) * 1000.0, written);
  return " Taken " + utf8(written) + ".";
}

// " 13 seconds long", halves rounded away from zero; nothing without a length.
std::string lengthClause(const std::optional<double>& duration) {
  if (!duration) return "";
  char seconds[400];  // room for every digit of the largest double
  std::snprintf(seconds, sizeof seconds, "%.0f", std::round(*duration));
  return " " + std::string(seconds) + " seconds long";
}

// The transcript, set off as the read text is; nothing without one.
std::string saidSection(const std::optional<std::string>& transcript) {
  if (!transcript) return "";
  return "\nWhat is said in it:\n\"\"\"\n" + Describer::excerpt(*transcript) + "\n\"\"\"";
}

std::string screenHead(std::string_view app, std::string_view windowTitle,
                       const std::optional<std::string>& url) {
  std::string head = "App: " + std::string(app) + "\nWindow: " +
                     (windowTitle.empty() ? std::string("(untitled)") : std::string(windowTitle)) +
                     "\n";
  if (url) head += "URL: " + *url + "\n";
  return head + "Text read from the screen (may be partial):";
}

std::string kindList() {
  std::vector<std::string> raws;
  for (const CaptureKind kind : CaptureKind::all()) raws.emplace_back(kind.raw());
  return Text::joined(raws, ", ");
}

std::string tail(std::string_view ocrExcerpt) {
  return "\n\"\"\"\n" + std::string(ocrExcerpt) +
         "\n\"\"\"\n"
         "\n"
         "Answer with this JSON object:\n"
         "{\"title\": \"the subject itself in 2 to 7 words, like a good bookmark (e.g. 'Espresso', "
         "'Refunding Stripe payments'); not the site or app name\",\n"
         " \"summary\": \"one or two sentences about the content itself; never start with 'A "
         "screenshot' or 'A page'\",\n"
         " \"kind\": \"one of: " +
         kindList() +
         "\",\n"
         " \"tags\": [\"2 to 5 short lowercase topic tags about the subject (not the website, app "
         "or 'screenshot')\"],\n"
         " \"highlights\": [\"up to 3 short passages copied exactly from the screen that are worth "
         "remembering\"],\n"
         " \"links\": [\"URLs visible on the screen, if any\"]}";
}

std::vector<std::string> tagsOf(const nlohmann::json& object) {
  std::vector<std::string> tags;
  for (const std::string_view candidate : stringsOf(object, "tags")) {
    if (tags.size() == kMaxTags) break;
    const std::string tag = Text::lowercased(Text::trimmed(candidate, U"#"));
    if (tag.empty() || Text::longerThan(tag, kTagCharacters)) continue;
    if (std::find(tags.begin(), tags.end(), tag) != tags.end()) continue;
    tags.push_back(tag);
  }
  return tags;
}

std::vector<std::string> highlightsOf(const nlohmann::json& object, std::string_view seen) {
  std::vector<std::string> highlights;
  for (const std::string_view candidate : stringsOf(object, "highlights")) {
    if (highlights.size() == kMaxHighlights) break;
    auto highlight = ModelReply::clean(candidate, kHighlightCharacters);
    if (highlight && occursIn(seen, Describer::squashed(*highlight))) {
      highlights.push_back(std::move(*highlight));
    }
  }
  return highlights;
}

std::vector<std::string> linksOf(const nlohmann::json& object, std::string_view seen,
                                 const std::optional<std::string>& url) {
  std::vector<std::string> links;
  // The capture's own address was not read off the screen and needs no proof.
  if (url && Describer::isWebLink(*url)) links.push_back(*url);
  for (const std::string_view raw : stringsOf(object, "links")) {
    if (links.size() == kMaxLinks) break;
    const std::string candidate = Text::trimmed(raw, U".,;)");
    if (!Describer::isWebLink(candidate) && !Describer::isWebLink("https://" + candidate)) continue;
    std::string link = candidate.starts_with("http") ? candidate : "https://" + candidate;
    const std::string bare = withoutAll(withoutAll(candidate, "https://"), "http://");
    if (!occursIn(seen, Describer::squashed(bare))) continue;
    if (std::find(links.begin(), links.end(), link) != links.end()) continue;
    links.push_back(std::move(link));
  }
  return links;
}

}  // namespace

Describer::Context::Context(const Capture& capture)
    : media(capture.media),
      app(capture.app),
      windowTitle(capture.windowTitle),
      url(capture.url),
      duration(capture.duration),
      takenAt(capture.takenAt),
      transcript(capture.transcript) {}

Describer::ParseError::ParseError(std::string text)
    : Failure("notJSON(\"" + text + "\")"), m_text(std::move(text)) {}

Describer::ParseError Describer::ParseError::notJSON(std::string_view reply) {
  return ParseError(Utf8::repaired(Text::prefix(reply, kErrorCharacters)));
}

Describer::Describer(OllamaClient client, std::string model)
    : m_client(std::move(client)),
      m_model(std::move(model)),
      m_locale(icu::Locale::getDefault()),
      m_timeZone(icu::TimeZone::createDefault()) {}

Describer::Describer(OllamaClient client, std::string model, const icu::Locale& locale,
                     const icu::TimeZone& timeZone)
    : m_client(std::move(client)),
      m_model(std::move(model)),
      m_locale(locale),
      m_timeZone(timeZone.clone()) {}

CaptureDescription Describer::describe(const Bytes& image, const Context& context,
                                       std::string_view ocrText) const {
  const std::string reply =
      m_client.generate(m_model, prompt(context, excerpt(ocrText), m_locale, *m_timeZone),
                        std::string(system), {image}, /*json=*/true, kMaxTokens, kTimeoutSeconds);
  const std::string known = std::string(ocrText) + "\n" + context.transcript.value_or("");
  return parse(reply, known, context.url,
               context.windowTitle.empty() ? context.app : context.windowTitle);
}

std::string Describer::excerpt(std::string_view text) {
  const std::string trimmed = Text::trimmed(text);
  if (trimmed.empty()) return "(none)";
  const std::string_view kept = Text::prefix(trimmed, kExcerptCharacters);
  return kept.size() < trimmed.size() ? std::string(kept) + "…" : trimmed;
}

std::string Describer::prompt(const Context& context, std::string_view ocrExcerpt,
                              const icu::Locale& locale, const icu::TimeZone& timeZone) {
  std::string head;
  switch (context.media) {
    case CaptureMedia::screen:
      head = screenHead(context.app, context.windowTitle, context.url);
      break;
    case CaptureMedia::photo:
      head = "This is a photo (file \"" + context.windowTitle + "\")." +
             takenSentence(context.takenAt, locale, timeZone) +
             " Describe what it shows: the subject, the place, the moment, any text in it.\n"
             "Text read from the photo (may be empty):";
      break;
    case CaptureMedia::video:
      head = "This is a video (file \"" + context.windowTitle + "\")" +
             lengthClause(context.duration) + "." +
             takenSentence(context.takenAt, locale, timeZone) +
             " The image shows key frames in order, left to right, top to bottom. Describe what "
             "happens in it." +
             saidSection(context.transcript) + "\nText read from the frames (may be empty):";
      break;
  }
  return head + tail(ocrExcerpt);
}

CaptureDescription Describer::parse(std::string_view raw, std::string_view ocrText,
                                    const std::optional<std::string>& url,
                                    std::string_view fallbackTitle) {
  const auto object = ModelReply::jsonObject(raw);
  if (!object) throw ParseError::notJSON(raw);

  auto title = ModelReply::clean(UntrustedJson::stringMember(*object, "title"), kTitleCharacters);
  if (!title) title = ModelReply::clean(fallbackTitle, kTitleCharacters);
  const std::string summary =
      ModelReply::clean(UntrustedJson::stringMember(*object, "summary"), kSummaryCharacters)
          .value_or("");
  const std::string seen = squashed(ocrText);
  return CaptureDescription{
      withoutSiteName(title.value_or("Untitled"), url),
      withoutPreamble(summary),
      CaptureKind::parse(UntrustedJson::stringMember(*object, "kind")),
      tagsOf(*object),
      highlightsOf(*object, seen),
      linksOf(*object, seen, url),
  };
}

std::string Describer::withoutSiteName(std::string_view title,
                                       const std::optional<std::string>& url) {
  static constexpr std::array<std::string_view, 10> kPhraseWords = {
      "on", "at", "from", "in", "via", "for", "of", "to", "by", "with"};
  const std::string whole(title);
  const auto host = url ? Url::host(*url) : std::nullopt;
  if (!host) return whole;
  const std::string lowerHost = Text::lowercased(*host);
  const std::vector<std::string_view> labels = Text::pieces(lowerHost, '.');
  if (labels.size() < 2) return whole;
  const std::string site(labels[labels.size() - 2]);

  const auto pattern = compiled(icu::UnicodeString(u"(?i)\\s*[-–—|:·]?\\s*") +
                                escapedForPattern(site) + u"(\\s+(article|page|entry))?\\s*$");
  const icu::UnicodeString text = unicode(title);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
  if (!matcher->find(status) || U_FAILURE(status)) return whole;
  const int32_t start = matcher->start(status);
  if (start == 0) return whole;

  const std::string before = Text::trimmed(utf8(text.tempSubString(0, start)));
  const std::string kept = utf8(replacedAll(trailingPageWord(), unicode(before), u""));
  const std::vector<std::string_view> words = Text::pieces(kept, ' ');
  if (words.empty()) return whole;
  const std::string last = Text::lowercased(words.back());
  // A title that ends in "on" or "via" once the site is gone named the site
  // as part of its phrase.
  for (const std::string_view word : kPhraseWords) {
    if (last == word) return whole;
  }
  return kept;
}

std::string Describer::withoutPreamble(std::string_view text) {
  const icu::UnicodeString unicodeText = unicode(text);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::RegexMatcher> matcher(preamble().matcher(unicodeText, status));
  if (!matcher->lookingAt(status) || U_FAILURE(status)) return std::string(text);
  const int32_t end = matcher->end(status);
  if (end >= unicodeText.length()) return std::string(text);
  const std::string rest = utf8(unicodeText.tempSubString(end));
  const std::string_view first = Text::prefix(rest, 1);
  return utf8(unicode(first).toUpper(icu::Locale::getRoot())) + rest.substr(first.size());
}

std::string Describer::squashed(std::string_view text) {
  constexpr uint32_t kAlphanumeric = U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK;
  icu::UnicodeString lower = unicode(text);
  lower.toLower(icu::Locale::getRoot());
  icu::UnicodeString kept;
  for (int32_t i = 0; i < lower.length(); i = lower.moveIndex32(i, 1)) {
    const UChar32 c = lower.char32At(i);
    if (U_GET_GC_MASK(c) & kAlphanumeric) kept.append(c);
  }
  return utf8(kept);
}

bool Describer::isWebLink(std::string_view text) {
  const auto scheme = Url::scheme(text);
  if (!scheme || (*scheme != "http" && *scheme != "https")) return false;
  const auto host = Url::host(text);
  return host && host->find('.') != std::string::npos;
}

}  // namespace brindlemoor
