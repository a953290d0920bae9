#include "core/media/reader.h"

#include <tesseract/baseapi.h>
#include <unicode/locid.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <vector>
#include <vips/vips8>

#include "core/media/internal/pictures.h"

namespace brindlemoor::Reader {
namespace {

using vips::VImage;

// The background of each pixel is the median of the cells around it: text
// strokes, even of bold 48 px headings, cover less than half of a 28 px
// square, while bars and panels from about 28 px across fill it. Thinner
// bars and small buttons keep their polarity and may be lost.
constexpr int kCell = 4;
constexpr int kWindow = 7;
// Backgrounds darker than this (of 255) are dark panels.
constexpr double kDarkBackground = 128;

// One language file per locale language; Tesseract names a few languages by
// script, or under an older code than ICU's.
struct ScriptedLanguage {
  std::string_view iso3;
  std::string_view script;  // empty: any script
  std::string_view tesseract;
};
constexpr std::array kScriptedLanguages{
    ScriptedLanguage{"zho", "Hant", "chi_tra"},  ScriptedLanguage{"zho", "", "chi_sim"},
    ScriptedLanguage{"srp", "Latn", "srp_latn"}, ScriptedLanguage{"aze", "Cyrl", "aze_cyrl"},
    ScriptedLanguage{"uzb", "Cyrl", "uzb_cyrl"}, ScriptedLanguage{"nob", "", "nor"},
    ScriptedLanguage{"nno", "", "nor"},
};

// The decoded picture as one 8-bit grey band, transparency laid on white as a
// viewer shows it.
VImage greyOf(const Bytes& bytes) {
  VImage image = VImage::new_from_buffer(bytes.data(), bytes.size(), "");
  image = image.colourspace(VIPS_INTERPRETATION_sRGB);
  if (image.has_alpha()) {
    image = image.flatten(VImage::option()->set("background", std::vector<double>{255, 255, 255}));
  }
  return image.colourspace(VIPS_INTERPRETATION_B_W).cast(VIPS_FORMAT_UCHAR);
}

// `grey` as dark text on white everywhere: dark panels inverted, and every
// pixel divided by its background so that all panels end up equally white.
// Tesseract binarises the page with one threshold: light text on dark ground
// would come out as hollow blobs, and text on a mid-grey bar would vanish
// into it.
VImage lightened(const VImage& grey) {
  // The median needs a whole window of cells, also on the tiniest picture.
  constexpr int kLeast = kCell * kWindow;
  const VImage padded =
      grey.embed(0, 0, std::max(grey.width(), kLeast), std::max(grey.height(), kLeast),
                 VImage::option()->set("extend", VIPS_EXTEND_COPY));
  const VImage background = padded.shrink(kCell, kCell)
                                .rank(kWindow, kWindow, kWindow * kWindow / 2)
                                .zoom(kCell, kCell)
                                .embed(0, 0, grey.width(), grey.height(),
                                       VImage::option()->set("extend", VIPS_EXTEND_COPY));
  const VImage dark = background < kDarkBackground;
  const VImage ink = dark.ifthenelse(grey.invert(), grey);
  const VImage ground = dark.ifthenelse(background.invert(), background);  // at least 128
  return (ink * 255 / ground).cast(VIPS_FORMAT_UCHAR);
}

class Engine {
 public:
  Engine() {
    start("eng");
    // The locale and the installed files do not change while we run.
    static const std::string wanted =
        languages(icu::Locale::getDefault().getName(), m_api.GetDatapath());
    if (wanted != "eng") start(wanted);
  }
  ~Engine() { m_api.End(); }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // The lines Tesseract reads on `grey`, an 8-bit single-band picture in
  // memory.
  std::string read(const VImage& grey) {
    m_api.SetImage(static_cast<const unsigned char*>(grey.data()), grey.width(), grey.height(), 1,
                   grey.width());
    if (m_api.Recognize(nullptr) != 0) throw Failure("Text recognition failed on this picture.");

    std::string text;
    const std::unique_ptr<tesseract::ResultIterator> line(m_api.GetIterator());
    if (line != nullptr && !line->Empty(tesseract::RIL_TEXTLINE)) {
      do {
        const std::unique_ptr<char[]> utf8(line->GetUTF8Text(tesseract::RIL_TEXTLINE));
        if (utf8 == nullptr) continue;
        std::string_view words(utf8.get());
        words.remove_suffix(words.size() - (words.find_last_not_of(" \n") + 1));
        if (words.empty()) continue;
        if (!text.empty()) text += '\n';
        text += words;
      } while (line->Next(tesseract::RIL_TEXTLINE));
    }
    m_api.Clear();
    return text;
  }

 private:
  // Parameters are given to Init because it resets them on every change of
  // languages.
  void start(const std::string& languages) {
    static const std::vector<std::string> names{
        // A screen is panels side by side. Laid out as a page, their lines
        // run into each other across the panels; as sparse text every line
        // stays within its panel, and lines come top to bottom.
        "tessedit_pageseg_mode",
        // Dark panels are inverted beforehand; trying every doubtful line
        // inverted again costs time and finds nothing more.
        "invert_threshold",
        // Tesseract otherwise writes its guesses about resolution to stderr.
        "debug_file",
    };
    static const std::vector<std::string> values{std::to_string(tesseract::PSM_SPARSE_TEXT), "0",
                                                 "/dev/null"};
    if (m_api.Init(nullptr, languages.c_str(), tesseract::OEM_LSTM_ONLY, nullptr, 0, &names,
                   &values, false) != 0) {
      throw Failure("Text recognition cannot start: the Tesseract language data \"" + languages +
                    "\" is missing.");
    }
  }

  tesseract::TessBaseAPI m_api;
};

}  // namespace

std::string text(const Bytes& bytes) {
  if (bytes.empty()) throw Failure("The picture is empty.");
  try {
    Pictures::start();
  } catch (const Pictures::Failure&) {
    throw Failure("Pictures cannot be decoded: libvips did not start.");
  }
  VImage grey;
  try {
    // libvips decodes lazily, so a damaged file may only fail here, when the
    // pixels are first needed.
    grey = lightened(greyOf(bytes)).copy_memory();
  } catch (const vips::VError& error) {
    std::string_view why(error.what());
    why = why.substr(0, why.find('\n'));
    throw Failure("The picture cannot be read: " + std::string(why));
  }
  thread_local Engine engine;
  return engine.read(grey);
}

std::string languages(std::string_view locale, const std::filesystem::path& tessdata) {
  icu::Locale parsed = icu::Locale::createCanonical(std::string(locale).c_str());
  UErrorCode status = U_ZERO_ERROR;
  parsed.addLikelySubtags(status);
  const std::string_view iso3 = parsed.getISO3Language();
  const std::string_view script = U_SUCCESS(status) ? parsed.getScript() : "";

  std::string own(iso3);
  for (const ScriptedLanguage& known : kScriptedLanguages) {
    if (known.iso3 == iso3 && (known.script.empty() || known.script == script)) {
      own = known.tesseract;
      break;
    }
  }
  if (own.empty() || own == "eng" || !std::filesystem::exists(tessdata / (own + ".traineddata"))) {
    return "eng";
  }
  return "eng+" + own;
}

}  // namespace brindlemoor::Reader
