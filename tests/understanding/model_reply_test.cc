#include "core/understanding/model_reply.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(ModelReply, FindsOneWellFormedObjectAmidChatterAndPutsTextOnOneShortLine) {
  const auto object = ModelReply::jsonObject("Sure! ```json\n{\"title\": \"A {b}\"}\n``` Done.");
  ASSERT_TRUE(object.has_value());
  EXPECT_EQ((*object)["title"], "A {b}");

  EXPECT_EQ(ModelReply::jsonObject("{\"a\": 1} {\"b\": 2}"), std::nullopt);
  EXPECT_EQ(ModelReply::jsonObject("{\"a\": \"\xC3\x28\"}"), std::nullopt);
  std::string deep = "1";
  for (int i = 0; i < 100000; ++i) deep = "{\"a\":" + deep + "}";
  EXPECT_EQ(ModelReply::jsonObject(deep), std::nullopt);

  EXPECT_EQ(ModelReply::clean("  \"Refunds\n\n and\t\tdisputes\"\n", 90), "Refunds and disputes");
  EXPECT_EQ(ModelReply::clean(std::string(88, 'a') + " bbb", 90), std::string(88, 'a') + "…")
      << "a cut that falls after a blank loses the blank too";
}

}  // namespace
}  // namespace brindlemoor
