#include "core/capture/image_sources.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

TEST(ImageSources, WikimediaThumbnailsLeadToTheFullFile) {
  const std::string thumb =
      "https://upload.wikimedia.org/wikipedia/commons/thumb/a/ab/Fox.jpg/330px-Fox.jpg";
  const std::string full = "https://upload.wikimedia.org/wikipedia/commons/a/ab/Fox.jpg";
  EXPECT_EQ(ImageSources::candidates(thumb), (std::vector<std::string>{full, thumb}));

  const std::string shouting =
      "http://UPLOAD.Wikimedia.org/wikipedia/en/thumb/c/cd/Caf%C3%A9.png/120px-Caf%C3%A9.png?x=1";
  EXPECT_EQ(ImageSources::candidates(shouting),
            (std::vector<std::string>{
                "https://upload.wikimedia.org/wikipedia/en/c/cd/Caf%C3%A9.png", shouting}));
}

TEST(ImageSources, EveryOtherAddressStandsAlone) {
  for (const char* url : {
           "https://upload.wikimedia.org/wikipedia/commons/thumb/330px-Fox.jpg",
           "https://upload.wikimedia.org/wikipedia/commons/a/ab/Fox.jpg",
           "https://example.com/wikipedia/commons/thumb/a/ab/Fox.jpg/330px-Fox.jpg",
           "https://upload.wikimedia.org.example.com/thumb/a/ab/Fox.jpg/330px-Fox.jpg",
           "not an address",
       }) {
    EXPECT_EQ(ImageSources::candidates(url), std::vector<std::string>{url}) << url;
  }
}

}  // namespace
}  // namespace brindlemoor
