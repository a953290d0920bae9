// PageBrowsers are the browsers in which the capture keys look at what lies
// under the pointer: every Chromium browser, Firefox, and Safari by its macOS
// identifiers. In any other application the keys keep the window without
// reading the accessibility tree at all. Names as in ChromiumBrowsers.
// Constant; safe from any thread.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "core/capture/chromium_browsers.h"

namespace brindlemoor::PageBrowsers {

// The page browsers that are not built on Chromium; Firefox exposes its
// pages within seconds of the desktop's accessibility turning on.
inline constexpr std::array<std::string_view, 7> othersThanChromium = {
    "com.apple.Safari",
    "com.apple.SafariTechnologyPreview",
    "org.mozilla.firefox",
    "firefox",
    "Firefox",
    "firefox-esr",
    "Firefox-esr",
};

constexpr bool contains(std::string_view id) {
  return ChromiumBrowsers::contains(id) ||
         std::ranges::find(othersThanChromium, id) != othersThanChromium.end();
}

}  // namespace brindlemoor::PageBrowsers
