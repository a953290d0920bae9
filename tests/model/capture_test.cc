#include "core/model/capture.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(Capture, DisplayTitleAndSourceNameFallBackInTurn) {
  Capture capture;
  capture.app = "Firefox";
  capture.windowTitle = "Window";
  capture.title = "";
  EXPECT_EQ(capture.displayTitle(), "Window") << "an empty title is none";
  capture.windowTitle.clear();
  EXPECT_EQ(capture.displayTitle(), "Firefox");

  // The source is the host without a leading www, or else the media or app.
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"https://www.example.com/a/b?c=d", "example.com"},
      {"http://127.0.0.1:8080/x", "127.0.0.1"},
      {"not a url at all", "Firefox"},
      {"file:///home/user/notes.txt", "Firefox"}};  // parses, but has no host
  for (const auto& [url, source] : cases) {
    capture.url = url;
    EXPECT_EQ(capture.sourceName(), source) << url;
  }
  capture.media = CaptureMedia::video;
  EXPECT_EQ(capture.sourceName(), "Videos");
}

}  // namespace
}  // namespace brindlemoor
