// The plain texts of captures that agents and the terminal read, checked
// whole, in a fixed locale and time zone.
#include "core/presentation/capture_text.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/testing/sample_captures.h"

namespace brindlemoor {
namespace {

using testing::sampleCapture;
using testing::sampleID;

const std::string kID = sampleID(1);
const std::string kCollectionID = sampleID(100);

class CaptureTexts : public ::testing::Test {
 protected:
  std::string listing(const Capture& capture) const {
    return CaptureText::listing(capture, m_collections, m_locale, *m_utc);
  }
  std::string full(const Capture& capture) const {
    return CaptureText::full(capture, m_collections, m_locale, *m_utc);
  }

  // A page kept from a browser, described and filed.
  static Capture recipe() {
    Capture capture = sampleCapture(1, 1700000000);  // Nov 14, 2023, 22:13:20 UTC
    capture.url = "https://www.example.com/tart";
    capture.title = "Lemon tart";
    capture.summary = "A tart with cream.";
    capture.kind = CaptureKind::recipe;
    capture.note = "Bake on Sunday";
    capture.tags = {"baking", "lemon"};
    capture.collectionID = kCollectionID;
    capture.stage = CaptureStage::organized;
    return capture;
  }

  std::vector<CaptureCollection> m_collections{
      {sampleID(99), "Other", "📦", {}, {}, 1, 1, false},
      {kCollectionID, "Tart Evenings", "🥧", {}, {}, 2, 2, false},
  };
  icu::Locale m_locale{"en_US"};
  std::unique_ptr<icu::TimeZone> m_utc{icu::TimeZone::createTimeZone("UTC")};
};

TEST_F(CaptureTexts, ListingOfADescribedFiledPage) {
  EXPECT_EQ(listing(recipe()),
            "Lemon tart — Recipes\n"
            "id " +
                kID +
                " · https://www.example.com/tart · Nov 14, 2023, 10:13\u202fPM · "
                "🥧 Tart Evenings\n"
                "A tart with cream.\n"
                "Note: Bake on Sunday\n"
                "Tags: baking, lemon");
}

TEST_F(CaptureTexts, ListingsOfBareCapturesSkipWhatIsMissing) {
  Capture photo = sampleCapture(1, 1700000000);
  photo.media = CaptureMedia::photo;
  photo.app = "";
  photo.windowTitle = "IMG_0001";
  photo.takenAt = dateFromSeconds(1625389500);  // Jul 4, 2021, 09:05 UTC
  photo.summary = "";
  photo.note = "";
  photo.collectionID = sampleID(7);  // gone from the collections
  EXPECT_EQ(listing(photo),
            "IMG_0001 — Photos\nid " + kID + " · Photos · Jul 4, 2021, 9:05\u202fAM");

  // An empty address gives way to the source name; dates follow locale and zone.
  Capture screen = sampleCapture(1, 1700000000);
  screen.url = "";
  const std::unique_ptr<icu::TimeZone> berlin(icu::TimeZone::createTimeZone("Europe/Berlin"));
  EXPECT_EQ(CaptureText::listing(screen, {}, icu::Locale("de_DE"), *berlin),
            "Window 1 — Screens\nid " + kID + " · Firefox · 14.11.2023, 23:13");
}

TEST_F(CaptureTexts, FullTextOfAnOrganizedVideoHasEveryBlockInOrder) {
  Capture video = recipe();
  video.media = CaptureMedia::video;
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
}

TEST_F(CaptureTexts, FullTextOfACaptureStillBeingReadSaysSo) {
  Capture read = sampleCapture(1, 1700000000);
  read.stage = CaptureStage::read;
  read.ocrText = "Quarterly figures";
  read.transcript = "";
  read.duration = 3;  // a screen capture has no video block, whatever it holds
  EXPECT_EQ(full(read), listing(read) +
                            "\n\nText on it:\nQuarterly figures"
                            "\n\n(Still being read: the description may be incomplete.)");

  Capture video = sampleCapture(1, 1700000000);
  video.media = CaptureMedia::video;
  video.stage = CaptureStage::organized;
  EXPECT_EQ(full(video), listing(video)) << "a video without a length has no length block";
}

TEST_F(CaptureTexts, LongTextsAreCutAtFourThousandPerceivedCharacters) {
  // "é" as e and a combining accent: two code points, three bytes, one character.
  const std::string accented = "e\u0301";
  std::string exactly;
  for (int i = 0; i < 4000; ++i) exactly += accented;
  const std::string family = "👨‍👩‍👧";  // one character of 18 bytes

  Capture capture = sampleCapture(1, 1700000000);
  capture.stage = CaptureStage::organized;
  capture.transcript = exactly;
  capture.ocrText = exactly + family;
  EXPECT_EQ(full(capture),
            listing(capture) + "\n\nSaid in it:\n" + exactly + "\n\nText on it:\n" + exactly + "…");
}

}  // namespace
}  // namespace brindlemoor
