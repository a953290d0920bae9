#include "core/understanding/embedding_text.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(EmbeddingText, DocumentMeaningAndQueryTexts) {
  std::string flags;  // a flag is one user-perceived character of eight bytes
  for (int i = 0; i < 1300; ++i) flags += "🇩🇪";
  Capture capture;
  capture.app = "Safari";
  capture.title = "Espresso";
  capture.summary = "How to pull a shot.";
  capture.tags = {"coffee", "espresso"};
  capture.note = "";
  capture.transcript = flags;
  capture.ocrText = "18 g in, 36 g out";
  EXPECT_EQ(EmbeddingText::document(capture),
            "title: Safari — Espresso | text: How to pull a shot.\ncoffee, espresso\n" +
                flags.substr(0, 1200 * 8) + "\n18 g in, 36 g out");

  // The meaning holds title, topics and note alone; a query follows the
  // search convention.
  capture.note = "try this";
  EXPECT_EQ(EmbeddingText::meaning(capture),
            "title: none | text: Espresso. Topics: coffee, espresso. try this");
  EXPECT_EQ(EmbeddingText::query("refund policy"), "task: search result | query: refund policy");
}

}  // namespace
}  // namespace brindlemoor
