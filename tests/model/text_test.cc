#include "core/model/text.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(Text, CountsCutsAndTrimsUserPerceivedCharacters) {
  const std::string family = "👨‍👩‍👧";
  const std::string text = "e\u0301" + family + "ab";  // é as e + combining accent
  EXPECT_FALSE(Text::longerThan(text, 4));
  EXPECT_TRUE(Text::longerThan(text, 3));
  EXPECT_EQ(Text::prefix(text, 2), "e\u0301" + family);
  EXPECT_EQ(Text::prefix(text, 10), text);
  EXPECT_EQ(Text::trimmed("\u00a0 hi there\n\t"), "hi there");
  EXPECT_EQ(Text::trimmed("# #tag# ", U"#"), "tag");
  EXPECT_EQ(Text::lowercased("ÉCOLE İstanbul"), "école i̇stanbul");
}

}  // namespace
}  // namespace brindlemoor
