// Reading a full-screen picture of an application window: light and dark
// panels, text of the sizes interfaces use (12 to 16 px). Reports the time of
// one Reader::text and the share of the drawn words found in its result
// ("found"); the goal for an ordinary window is at most 2 s and at least
// 0.85 on one core. Recognition time grows with the amount of text, so a
// window filled to the brim is measured too.
#include <benchmark/benchmark.h>

#include <cctype>
#include <map>
#include <random>
#include <string>
#include <vector>
#include <vips/vips8>

#include "core/media/ocr_thread_limit.h"
#include "core/media/reader.h"

namespace {

using brindlemoor::Bytes;
using vips::VImage;

using Colour = std::vector<double>;

const std::vector<std::string> kVocabulary{
    "account",  "activity", "address",  "archive",  "billing", "browser",  "calendar", "channel",
    "comment",  "contact",  "country",  "created",  "current", "customer", "default",  "delete",
    "details",  "display",  "document", "download", "editor",  "export",   "feature",  "filter",
    "folder",   "general",  "history",  "import",   "invoice", "language", "library",  "message",
    "network",  "notes",    "number",   "options",  "order",   "password", "payment",  "picture",
    "preview",  "privacy",  "profile",  "project",  "publish", "question", "recent",   "record",
    "release",  "report",   "request",  "review",   "search",  "security", "server",   "session",
    "settings", "share",    "status",   "storage",  "summary", "support",  "system",   "template",
    "terminal", "theme",    "timeline", "update",   "upload",  "version",  "window",   "workspace",
    "morning",  "garden",   "winter",   "travel",   "market",  "kitchen",  "river",    "planet",
    "yellow",   "simple",   "quickly",  "between",  "because", "without",  "another",  "answer",
    "button",   "change",   "follow",   "little",   "people",  "should",   "through",  "weather"};

// A picture of an application window with the words drawn on it.
struct Screen {
  Bytes png;
  std::vector<std::string> words;
};

class ScreenPainter {
 public:
  explicit ScreenPainter(bool dense)
      : m_canvas(VImage::black(1920, 1080, VImage::option()->set("bands", 3)).copy_memory()),
        m_dense(dense) {}

  void panel(int left, int top, int width, int height, const Colour& colour) {
    m_canvas.draw_rect(colour, left, top, width, height, VImage::option()->set("fill", true));
  }

  // Lines of random words from `top` down, each at most `width` wide. On a
  // dense screen every line is full; otherwise lines are ragged and every
  // fourth is left blank, as between paragraphs and list groups.
  void lines(int left, int top, int width, int bottom, int spacing, const std::string& font,
             const Colour& ink, const Colour& ground) {
    for (int y = top, row = 1; y + spacing <= bottom; y += spacing, ++row) {
      if (!m_dense && row % 4 == 0) continue;
      const int room = m_dense ? width : width * static_cast<int>(40 + m_random() % 61) / 100;
      std::vector<std::string> line;
      while (true) {
        line.push_back(kVocabulary[m_random() % kVocabulary.size()]);
        if (render(line, font).width() > room) {
          line.pop_back();
          break;
        }
      }
      if (!line.empty()) draw(line, font, left, y, ink, ground);
    }
  }

  Screen finish() {
    void* buffer = nullptr;
    std::size_t size = 0;
    m_canvas.write_to_buffer(".png", &buffer, &size);
    Screen screen{
        Bytes(static_cast<std::uint8_t*>(buffer), static_cast<std::uint8_t*>(buffer) + size),
        m_words};
    g_free(buffer);
    return screen;
  }

 private:
  static VImage render(const std::vector<std::string>& words, const std::string& font) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return VImage::text(text.c_str(), VImage::option()->set("font", font.c_str()));
  }

  void draw(const std::vector<std::string>& words, const std::string& font, int x, int y,
            const Colour& ink, const Colour& ground) {
    const VImage mask = render(words, font);
    const VImage ground_image =
        (VImage::black(mask.width(), mask.height()) + ground).cast(VIPS_FORMAT_UCHAR);
    const VImage patch = mask.ifthenelse(ink, ground_image, VImage::option()->set("blend", true));
    m_canvas.draw_image(patch.copy_memory(), x, y);
    m_words.insert(m_words.end(), words.begin(), words.end());
  }

  VImage m_canvas;
  bool m_dense;
  std::mt19937 m_random{1080};
  std::vector<std::string> m_words;
};

Screen applicationWindow(bool dense) {
  const Colour white{255, 255, 255}, ink{34, 34, 34};
  const Colour bar{40, 40, 40}, sidebar{30, 30, 46}, code{30, 30, 30}, aside{243, 243, 243},
      status{0, 122, 204};
  ScreenPainter painter(dense);
  painter.panel(0, 0, 1920, 1080, white);
  painter.panel(0, 0, 1920, 36, bar);
  painter.lines(12, 10, 900, 36, 26, "DejaVu Sans 13", {220, 220, 220}, bar);
  painter.panel(0, 36, 300, 1014, sidebar);
  painter.lines(20, 52, 260, 1040, 28, "DejaVu Sans 14", {205, 214, 244}, sidebar);
  painter.lines(330, 56, 1100, 90, 30, "DejaVu Sans Bold 16", ink, white);
  painter.lines(330, 100, 1140, 600, 24, "DejaVu Sans 15", ink, white);
  painter.panel(320, 610, 1160, 290, code);
  painter.lines(340, 624, 1100, 890, 20, "DejaVu Sans Mono 13", {212, 212, 212}, code);
  painter.lines(330, 915, 1140, 1040, 22, "DejaVu Sans 14", ink, white);
  painter.panel(1500, 36, 420, 1014, aside);
  painter.lines(1516, 52, 380, 1040, 20, "DejaVu Sans 12", {85, 85, 85}, aside);
  painter.panel(0, 1050, 1920, 30, status);
  painter.lines(12, 1058, 1200, 1080, 20, "DejaVu Sans 12", white, status);
  return painter.finish();
}

// The share of `drawn` that appears among the words of `text`, each found
// word counted once.
double shareFound(const std::vector<std::string>& drawn, const std::string& text) {
  std::map<std::string, int> read;
  std::string word;
  for (const char c : text + " ") {
    if (std::isalnum(static_cast<unsigned char>(c))) {
      word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else if (!word.empty()) {
      ++read[word];
      word.clear();
    }
  }
  int found = 0;
  for (const std::string& each : drawn) {
    if (read[each] > 0) {
      --read[each];
      ++found;
    }
  }
  return static_cast<double>(found) / static_cast<double>(drawn.size());
}

void readScreen(benchmark::State& state, bool dense) {
  const Screen screen = applicationWindow(dense);
  std::string text = brindlemoor::Reader::text(screen.png);  // makes this thread's engine
  for (auto _ : state) {
    text = brindlemoor::Reader::text(screen.png);
    benchmark::DoNotOptimize(text);
  }
  state.counters["words"] = static_cast<double>(screen.words.size());
  state.counters["found"] = shareFound(screen.words, text);
}

void BM_ReaderWindow(benchmark::State& state) {
  readScreen(state, false);
}
BENCHMARK(BM_ReaderWindow)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_ReaderDenseWindow(benchmark::State& state) {
  readScreen(state, true);
}
BENCHMARK(BM_ReaderDenseWindow)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  brindlemoor::requireOcrThreadLimit(argv);
  if (VIPS_INIT(argv[0]) != 0) return 1;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
