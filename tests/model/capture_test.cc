#include "core/model/capture.h"

#include <gtest/gtest.h>

#include "core/model/text.h"
#include "core/model/vector_space.h"

namespace brindlemoor {
namespace {

Capture screenCapture() {
  Capture capture;
  capture.id = "0b5c4bb0-8a3e-4c6e-9d6e-0a9f8f1c2d3e";
  capture.app = "Firefox";
  capture.windowTitle = "Window";
  return capture;
}

TEST(Capture, DisplayTitleFallsFromTitleToWindowToApp) {
  Capture capture = screenCapture();
  capture.title = "";
  EXPECT_EQ(capture.displayTitle(), "Window");
  capture.title = "Given";
  EXPECT_EQ(capture.displayTitle(), "Given");
  capture.title.reset();
  capture.windowTitle.clear();
  EXPECT_EQ(capture.displayTitle(), "Firefox");
  capture.app.clear();
  EXPECT_EQ(capture.displayTitle(), "");
}

TEST(Capture, SourceNameIsTheHostWithoutLeadingWww) {
  Capture capture = screenCapture();
  capture.url = "https://www.example.com/a/b?c=d";
  EXPECT_EQ(capture.sourceName(), "example.com");
  capture.url = "https://news.www.example.com/";
  EXPECT_EQ(capture.sourceName(), "news.www.example.com");
  capture.url = "https://Docs.Example.COM/x";
  EXPECT_EQ(capture.sourceName(), "Docs.Example.COM");
  capture.url = "http://127.0.0.1:8080/x";
  EXPECT_EQ(capture.sourceName(), "127.0.0.1");
}

TEST(Capture, SourceNameWithoutAUsableUrlFallsToMediaOrApp) {
  Capture capture = screenCapture();
  capture.url = "not a url at all";
  EXPECT_EQ(capture.sourceName(), "Firefox");
  capture.url = "file:///home/user/notes.txt";  // parses, but has no host
  EXPECT_EQ(capture.sourceName(), "Firefox");
  capture.media = CaptureMedia::video;
  EXPECT_EQ(capture.sourceName(), "Videos");
  capture.media = CaptureMedia::photo;
  capture.url = "https://www.photos.example/p/1";
  EXPECT_EQ(capture.sourceName(), "photos.example");
}

TEST(Capture, EqualityCoversEveryField) {
  Capture a = screenCapture();
  Capture b = a;
  EXPECT_EQ(a, b);
  b.note = "mine";
  EXPECT_NE(a, b);
  b = a;
  b.note = "";
  EXPECT_NE(a, b) << "an empty note is not an absent one";
  b = a;
  b.transcript = "spoken";
  EXPECT_NE(a, b);
}

TEST(CaptureKind, ParseReadsRawStringsAndAliasesOnly) {
  EXPECT_EQ(CaptureKind::parse(std::nullopt), CaptureKind::other);
  EXPECT_EQ(CaptureKind::parse(""), CaptureKind::other);
  EXPECT_EQ(CaptureKind::parse(" Slack \n"), CaptureKind::chat);
  EXPECT_EQ(CaptureKind::parse("VIDEO"), CaptureKind::video);
  EXPECT_EQ(CaptureKind::parse("Food & Drink"), CaptureKind::other);
  EXPECT_EQ(CaptureKind::parse("food and drink"), CaptureKind::food);
  EXPECT_EQ(CaptureKind::parse("blog post"), CaptureKind::other);
  EXPECT_EQ(CaptureKind::parse("\tsocial media"), CaptureKind::social);
}

TEST(CaptureKind, AllIsInPromptOrderWithDistinctRawStrings) {
  const auto& all = CaptureKind::all();
  ASSERT_EQ(all.size(), 18u);
  EXPECT_EQ(all.front().raw(), "article");
  EXPECT_EQ(all.back().raw(), "other");
  for (CaptureKind kind : all) {
    EXPECT_EQ(CaptureKind::fromRaw(kind.raw()), kind);
    EXPECT_FALSE(kind.title().empty());
  }
  EXPECT_EQ(CaptureKind(CaptureKind::food).title(), "Food & drink");
  EXPECT_EQ(CaptureKind(CaptureKind::video).title(), "Video");
  EXPECT_EQ(CaptureMedia(CaptureMedia::video).title(), "Videos");
}

TEST(RawValues, UnknownStringsGiveNothing) {
  EXPECT_FALSE(CaptureStage::fromRaw("unknown"));
  EXPECT_FALSE(CaptureStage::fromRaw("Read"));
  EXPECT_EQ(CaptureStage::fromRaw("organized"), CaptureStage::organized);
  EXPECT_FALSE(CaptureMedia::fromRaw(""));
  EXPECT_EQ(VectorSpace::fromRaw("meaning"), VectorSpace::meaning);
  EXPECT_FALSE(VectorSpace::fromRaw("looks"));
}

TEST(Text, CountsAndCutsUserPerceivedCharacters) {
  const std::string family =
      "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
  const std::string text = "e\xCC\x81" + family + "ab";  // é as e + combining accent
  EXPECT_FALSE(Text::longerThan(text, 4));
  EXPECT_TRUE(Text::longerThan(text, 3));
  EXPECT_EQ(Text::prefix(text, 2), "e\xCC\x81" + family);
  EXPECT_EQ(Text::prefix(text, 10), text);
  EXPECT_EQ(Text::prefix("", 3), "");
}

TEST(Text, TrimsUnicodeSpaceAndExtras) {
  EXPECT_EQ(Text::trimmed("\u00a0 hi there\n\t"), "hi there");
  EXPECT_EQ(Text::trimmed("# #tag# ", U"#"), "tag");
  EXPECT_EQ(Text::trimmed("a#b", U"#"), "a#b");
  EXPECT_EQ(Text::lowercased("ÉCOLE İstanbul"), "école i̇stanbul");
}

}  // namespace
}  // namespace brindlemoor
