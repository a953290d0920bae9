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
}

TEST(Capture, SourceNameIsTheHostWithoutLeadingWwwOrElseMediaOrApp) {
  Capture capture = screenCapture();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"https://www.example.com/a/b?c=d", "example.com"},
      {"https://news.www.example.com/", "news.www.example.com"},
      {"http://127.0.0.1:8080/x", "127.0.0.1"},
      {"not a url at all", "Firefox"},
      {"file:///home/user/notes.txt", "Firefox"}};  // parses, but has no host
  for (const auto& [url, source] : cases) {
    capture.url = url;
    EXPECT_EQ(capture.sourceName(), source) << url;
  }
  capture.media = CaptureMedia::video;
  EXPECT_EQ(capture.sourceName(), "Videos");
  capture.media = CaptureMedia::photo;
  capture.url = "https://www.photos.example/p/1";
  EXPECT_EQ(capture.sourceName(), "photos.example");
}

TEST(CaptureKind, ParseReadsRawStringsAndAliasesOnly) {
  EXPECT_EQ(CaptureKind::parse(std::nullopt), CaptureKind::other);
  EXPECT_EQ(CaptureKind::parse(" Slack \n"), CaptureKind::chat);
  EXPECT_EQ(CaptureKind::parse("VIDEO"), CaptureKind::video);
  EXPECT_EQ(CaptureKind::parse("food and drink"), CaptureKind::food);
  EXPECT_EQ(CaptureKind::parse("Food & Drink"), CaptureKind::other) << "a title is no alias";
  for (CaptureKind kind : CaptureKind::all()) EXPECT_EQ(CaptureKind::fromRaw(kind.raw()), kind);
  EXPECT_EQ(CaptureKind(CaptureKind::food).title(), "Food & drink");
}

TEST(RawValues, UnknownStringsGiveNothing) {
  EXPECT_FALSE(CaptureStage::fromRaw("Read"));
  EXPECT_EQ(CaptureStage::fromRaw("organized"), CaptureStage::organized);
  EXPECT_FALSE(CaptureMedia::fromRaw(""));
  EXPECT_FALSE(VectorSpace::fromRaw("looks"));
}

TEST(Text, CountsCutsAndTrimsUserPerceivedCharacters) {
  const std::string family =
      "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7";
  const std::string text = "e\xCC\x81" + family + "ab";  // é as e + combining accent
  EXPECT_FALSE(Text::longerThan(text, 4));
  EXPECT_TRUE(Text::longerThan(text, 3));
  EXPECT_EQ(Text::prefix(text, 2), "e\xCC\x81" + family);
  EXPECT_EQ(Text::prefix(text, 10), text);

  EXPECT_EQ(Text::trimmed("\u00a0 hi there\n\t"), "hi there");
  EXPECT_EQ(Text::trimmed("# #tag# ", U"#"), "tag");
  EXPECT_EQ(Text::lowercased("ÉCOLE İstanbul"), "école i̇stanbul");
}

}  // namespace
}  // namespace brindlemoor
