#include "core/presentation/capture_text.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/testing/sample_captures.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

const std::string kID = sampleID(1);

class CaptureTexts : public ::testing::Test {
 protected:
  std::string listing(const Capture& capture) const {
    return CaptureText::listing(capture, m_collections, m_locale, *m_utc);
  }
  std::string full(const Capture& capture) const {
    return CaptureText::full(capture, m_collections, m_locale, *m_utc);
  }

  std::vector<CaptureCollection> m_collections{
      {sampleID(100), "Tart Evenings", "🥧", {}, {}, 2, 2, false},
  };
  icu::Locale m_locale{"en_US"};
  std::unique_ptr<icu::TimeZone> m_utc{icu::TimeZone::createTimeZone("UTC")};
  Capture m_capture = sampleCapture(1, 1700000000);  // Nov 14, 2023, 22:13:20 UTC
};

TEST_F(CaptureTexts, ListingHasItsLinesInOrderAndSkipsWhatIsMissing) {
  Capture recipe = m_capture;
  recipe.url = "https://www.example.com/tart";
  recipe.title = "Lemon tart";
  recipe.summary = "A tart with cream.";
  recipe.kind = CaptureKind::recipe;
  recipe.note = "Bake on Sunday";
  recipe.tags = {"baking", "lemon"};
  recipe.collectionID = sampleID(100);
  EXPECT_EQ(listing(recipe), "Lemon tart — Recipes\nid " + kID +
                                 " · https://www.example.com/tart · Nov 14, 2023, 10:13\u202fPM · "
                                 "🥧 Tart Evenings\nA tart with cream.\nNote: Bake on Sunday\n"
                                 "Tags: baking, lemon");

  Capture photo = m_capture;
  photo.media = CaptureMedia::photo;
  photo.windowTitle = "IMG_0001";
  photo.takenAt = dateFromSeconds(1625389500);  // Jul 4, 2021, 09:05 UTC
  photo.collectionID = sampleID(7);             // gone from the collections
  EXPECT_EQ(listing(photo),
            "IMG_0001 — Photos\nid " + kID + " · Photos · Jul 4, 2021, 9:05\u202fAM");
}

TEST_F(CaptureTexts, FullTextAddsEachBlockThatAppliesInOrder) {
  Capture video = m_capture;
  video.media = CaptureMedia::video;
  video.stage = CaptureStage::organized;
  video.duration = 12.5;
  video.highlights = {"Zest two lemons", "Bake 30 minutes"};
  video.links = {"https://example.com/a", "https://example.com/b"};
  video.transcript = "please show me the library";
  video.ocrText = "Lemon tart\nBake";
  EXPECT_EQ(full(video), listing(video) +
                             "\n\nVideo, 13 seconds."
                             "\n\nWorth keeping:\n“Zest two lemons”\n“Bake 30 minutes”"
                             "\n\nLinks:\nhttps://example.com/a\nhttps://example.com/b"
                             "\n\nSaid in it:\nplease show me the library"
                             "\n\nText on it:\nLemon tart\nBake");

  // Cut at 4000 characters, each "é" being e and a combining accent: three bytes, one character.
  std::string exactly;
  for (int i = 0; i < 4000; ++i) exactly += "e\u0301";
  m_capture.stage = CaptureStage::read;
  m_capture.ocrText = exactly + "👨‍👩‍👧";  // one more character, of 18 bytes
  m_capture.transcript = "";
  m_capture.duration = 3;  // a screen capture has no video block, whatever it holds
  EXPECT_EQ(full(m_capture), listing(m_capture) + "\n\nText on it:\n" + exactly + "…" +
                                 "\n\n(Still being read: the description may be incomplete.)");
}

}  // namespace
}  // namespace brindlemoor
