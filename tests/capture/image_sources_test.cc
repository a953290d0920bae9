#include "core/capture/image_sources.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

TEST(ImageSources, WikimediaThumbnailsLeadToTheFullFile) {
  const struct {
    std::string url;
    std::string full;
  } rows[] = {
      {"https://upload.wikimedia.org/wikipedia/commons/thumb/a/ab/Fox.jpg/330px-Fox.jpg",
       "https://upload.wikimedia.org/wikipedia/commons/a/ab/Fox.jpg"},
      {"http://UPLOAD.Wikimedia.org/wikipedia/en/thumb/c/cd/Caf%C3%A9.png/120px-Caf%C3%A9.png?x=1",
       "https://upload.wikimedia.org/wikipedia/en/c/cd/Caf%C3%A9.png"},
      {"https://upload.wikimedia.org/wikipedia/commons/thumb/330px-Fox.jpg", ""},
      {"https://upload.wikimedia.org/wikipedia/commons/a/ab/Fox.jpg", ""},
      {"https://example.com/wikipedia/commons/thumb/a/ab/Fox.jpg/330px-Fox.jpg", ""},
      {"https://upload.wikimedia.org.example.com/thumb/a/ab/Fox.jpg/330px-Fox.jpg", ""},
      {"not an address", ""},
  };
  for (const auto& row : rows) {
    std::vector<std::string> expected{row.url};
    if (!row.full.empty()) expected.insert(expected.begin(), row.full);
    EXPECT_EQ(ImageSources::candidates(row.url), expected) << row.url;
  }
}

}  // namespace
}  // namespace brindlemoor
