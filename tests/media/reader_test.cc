#include "core/media/reader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>
#include <vips/vips8>

#include "tests/testing/pictures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

using testing::encoded;
using vips::VImage;
using Colour = std::vector<double>;

const Colour kWhite{255, 255, 255}, kInk{20, 20, 20}, kDark{32, 33, 36}, kLight{225, 225, 225};

// `text` in `ink` on `ground` with a margin, as a window shows it.
VImage panel(const std::string& text, const Colour& ink, const Colour& ground,
             const char* font = "DejaVu Sans 16") {
  const VImage mask = VImage::text(text.c_str(), VImage::option()->set("font", font));
  const VImage back =
      (VImage::black(mask.width() + 60, mask.height() + 60) + ground).cast(VIPS_FORMAT_UCHAR);
  return mask.embed(30, 30, back.width(), back.height())
      .ifthenelse(ink, back, VImage::option()->set("blend", true));
}

TEST(ReaderText, ReadsLinesInOrderAlikeOnEveryThreadLightOnDarkBesideDarkOnLightAndNoNonPicture) {
  const std::vector<Bytes> pictures{
      encoded(panel("Quarterly budget review\nMeeting notes tomorrow", kInk, kWhite), ".png"),
      encoded(panel("Terminal session closed", kLight, kDark), ".png"),
      encoded((VImage::black(203, 61) + 255).cast(VIPS_FORMAT_UCHAR), ".png"),
  };
  std::vector<std::string> here, there;
  const auto readAll = [&pictures](std::vector<std::string>& into) {
    for (const Bytes& picture : pictures) into.push_back(Reader::text(picture));
  };
  std::thread thread(readAll, std::ref(there));
  readAll(here);
  thread.join();
  EXPECT_EQ(here, (std::vector<std::string>{"Quarterly budget review\nMeeting notes tomorrow",
                                            "Terminal session closed", ""}));
  EXPECT_EQ(there, here);
  EXPECT_THROW(Reader::text(Bytes(pictures[0].begin(), pictures[0].begin() + 8)), Reader::Failure)
      << "a PNG signature with nothing after it";

  // A dark sidebar, a light page and a grey toolbar, as JPEG with its
  // compression noise; the dark panel alone would be unreadable uninverted.
  const VImage sidebar = panel("Downloads\nFavourites", {230, 230, 230}, kDark, "DejaVu Sans 14");
  const VImage page = panel("Invoice payment overdue", kInk, kWhite, "DejaVu Sans 15");
  const VImage toolbar = panel("Settings", kWhite, {90, 90, 90}, "DejaVu Sans 13");
  const VImage screen =
      VImage::black(sidebar.width() + page.width(), 260, VImage::option()->set("bands", 3))
          .insert(sidebar, 0, 0)
          .insert(page, sidebar.width(), 0)
          .insert(toolbar, sidebar.width(), 150);
  const std::string text = Reader::text(encoded(screen, ".jpg[Q=85]"));
  for (const char* word : {"Downloads", "Favourites", "Invoice payment overdue", "Settings"}) {
    EXPECT_NE(text.find(word), std::string::npos) << word << " not in:\n" << text;
  }
}

TEST(ReaderLanguages, AddsTheLocalesLanguageOnlyWhenItsFileIsInstalled) {
  const testing::TempDir tessdata;
  for (const char* installed : {"deu", "chi_tra", "chi_sim"}) {
    std::ofstream(tessdata.path() / (std::string(installed) + ".traineddata"));
  }
  EXPECT_EQ(Reader::languages("de_DE.UTF-8", tessdata.path()), "eng+deu");
  EXPECT_EQ(Reader::languages("fr_FR.UTF-8", tessdata.path()), "eng");
  // Tesseract names Chinese by script.
  EXPECT_EQ(Reader::languages("zh_TW.UTF-8", tessdata.path()), "eng+chi_tra");
}

}  // namespace
}  // namespace brindlemoor
