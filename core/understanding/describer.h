// Describer asks the local vision model what a capture is, and believes only
// what can be checked of the answer. It sends one picture and one prompt, and
// turns the JSON object that comes back into a CaptureDescription in which
// every field is bounded, stock openings and trailing site names are gone,
// and every highlight and link was found in the text known to be on the
// capture. Only a reply without a JSON object is an error.
//
// Lengths are counted in user-perceived characters (extended grapheme
// clusters), never in bytes or code points.
//
// A Describer is a plain value: describe() blocks for the length of one model
// call and may run on any thread. The static functions are pure and safe from
// any thread.
#pragma once

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "core/model/bytes.h"
#include "core/model/capture.h"
#include "core/model/capture_description.h"
#include "core/model/capture_media.h"
#include "core/model/date.h"
#include "core/model/failure.h"
#include "core/understanding/ollama_client.h"

namespace brindlemoor {

class Describer {
 public:
  // What the prompt may know of a capture.
  struct Context {
    CaptureMedia media = CaptureMedia::screen;
    std::string app;
    std::string windowTitle;  // for an imported file, its name
    std::optional<std::string> url;
    std::optional<double> duration;  // seconds
    std::optional<Date> takenAt;
    std::optional<std::string> transcript;

    Context() = default;
    // Copies the seven fields of the same names from `capture`.
    explicit Context(const Capture& capture);
  };

  // The one error of parse(): the reply held no JSON object. Its single case
  // is notJSON, which carries the first 200 characters of the reply
  // (ill-formed UTF-8 repaired, so the words can be stored and shown);
  // what() is the plain printed form, `notJSON("` + text + `")`.
  class ParseError : public Failure {
   public:
    static ParseError notJSON(std::string_view reply);
    const std::string& text() const { return m_text; }

   private:
    explicit ParseError(std::string text);
    std::string m_text;
  };

  // The system prompt of every description.
  static constexpr std::string_view system =
      "You file screenshots, photos and videos into a person's personal library (a brindlemoor "
      "book). You look at one image and answer with JSON only. Describe what it shows, not an "
      "app's chrome. Never invent facts, names or links that are not visible or said.";

  // Describes with `model` through `client`, writing a photo's or video's
  // date in the user's locale and time zone (ICU's defaults).
  Describer(OllamaClient client, std::string model);
  // The same, with the locale and time zone in which dates are written.
  Describer(OllamaClient client, std::string model, const icu::Locale& locale,
            const icu::TimeZone& timeZone);

  const OllamaClient& client() const { return m_client; }
  const std::string& model() const { return m_model; }

  // Asks the model about `image` (the picture as it is to be sent) and
  // believes what parse() keeps of its answer. `ocrText` is the text read
  // from the picture; the context's transcript joins it as text known to be
  // on the capture, and its window title (or else its app) is the title
  // when the model gives none.
  // Throws OllamaClient::Failure from the model call and ParseError.
  CaptureDescription describe(const Bytes& image, const Context& context,
                              std::string_view ocrText) const;

  // The form of a long text that may enter a prompt: trimmed of white space
  // and line ends, cut to its first 3000 characters followed by "…" when
  // longer, "(none)" when empty.
  static std::string excerpt(std::string_view text);

  // The whole prompt for `context`: a head that depends on its media, then
  // `ocrExcerpt` (already an excerpt()) set off in triple quotes, and the
  // JSON object the model is to fill in. A photo's or video's date is written
  // as a long date with a short time in `locale` and `timeZone`.
  static std::string prompt(const Context& context, std::string_view ocrExcerpt,
                            const icu::Locale& locale, const icu::TimeZone& timeZone);

  // Reads a model's reply. `ocrText` is all the text known to be on the
  // capture (read text and transcript); highlights and links the model gives
  // are kept only when they occur in it. `url` is the capture's address: the
  // first link, and the site whose name is taken off the end of the title.
  // `fallbackTitle` stands in when the model gives no title, "Untitled" when
  // it is empty too. Of each list in the reply only the first 1000 elements
  // are read: far more than a reply within the token limit can hold, and a
  // bound on the time a hostile one takes. Throws ParseError when
  // jsonObject() finds no object; any other reply, however odd, gives a
  // description within every bound.
  static CaptureDescription parse(std::string_view raw, std::string_view ocrText,
                                  const std::optional<std::string>& url,
                                  std::string_view fallbackTitle);

  // `title` without a trailing site name ("Espresso - Larkspur" from a page
  // on larkspur.org gives "Espresso"), together with a following "article",
  // "page" or "entry". The site word is the host's label before the last
  // one; no list of public suffixes is consulted. The title stays whole when
  // `url` gives no host of two labels or more, when the site name is all of
  // it, or when the name is part of a phrase ("Refunds on Larkspur").
  static std::string withoutSiteName(std::string_view title, const std::optional<std::string>& url);

  // `text` without a stock opening such as "A screenshot of the " or "Page ",
  // its first remaining character upper-cased. Unchanged when no such
  // opening, followed by white space and more text, starts it.
  static std::string withoutPreamble(std::string_view text);

  // `text` lower-cased with only its letters, marks and digits kept: the form
  // in which a quote from the model is looked for in the capture's text, so
  // that case, spacing and punctuation on either side don't matter.
  static std::string squashed(std::string_view text);

  // Whether `text` parses as an http or https URL whose host holds a ".".
  static bool isWebLink(std::string_view text);

 private:
  OllamaClient m_client;
  std::string m_model;
  icu::Locale m_locale;
  std::shared_ptr<const icu::TimeZone> m_timeZone;
};

}  // namespace brindlemoor
