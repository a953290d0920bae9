#include "core/capture/page_browsers.h"

#include <gtest/gtest.h>

namespace brindlemoor {
namespace {

TEST(PageBrowsers, ChromiumAndFirefoxByExactClassName) {
  for (const char* name :
       {"Chromium", "Google-chrome", "Brave-browser", "firefox", "Firefox-esr"}) {
    EXPECT_TRUE(PageBrowsers::contains(name)) << name;
  }
  EXPECT_FALSE(ChromiumBrowsers::contains("firefox")) << "Firefox needs no restart";
  EXPECT_FALSE(PageBrowsers::contains("google-chrome ")) << "class names are exact";
}

}  // namespace
}  // namespace brindlemoor
