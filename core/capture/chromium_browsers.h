// ChromiumBrowsers are the browsers built on Chromium. They keep a page out
// of the accessibility tree unless the desktop's accessibility was on when
// they started, so one that ran before it was turned on must be restarted
// before what lies under the pointer can be read.
//
// A browser is known by the bundle identifier it has on macOS and by the
// class name of its windows on X11 (the class of WM_CLASS), which the
// platform layer reads in its place. Class names are matched exactly, as X11
// gives them; where browsers have shipped more than one spelling, each is
// listed. Constant; safe from any thread.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace brindlemoor::ChromiumBrowsers {

inline constexpr std::array<std::string_view, 23> bundleIDs = {
    "com.google.Chrome",
    "com.google.Chrome.beta",
    "com.google.Chrome.canary",
    "ai.perplexity.comet",
    "company.thebrowser.Browser",
    "company.thebrowser.dia",
    "com.brave.Browser",
    "com.microsoft.edgemac",
    "com.vivaldi.Vivaldi",
    "com.operasoftware.Opera",
    "org.chromium.Chromium",
    "chromium",
    "Chromium",
    "Chromium-browser",
    "Google-chrome",
    "Google-chrome-beta",
    "Google-chrome-unstable",
    "Brave-browser",
    "Microsoft-edge",
    "Microsoft-edge-beta",
    "Microsoft-edge-dev",
    "Vivaldi-stable",
    "Opera",
};

constexpr bool contains(std::string_view id) {
  return std::ranges::find(bundleIDs, id) != bundleIDs.end();
}

}  // namespace brindlemoor::ChromiumBrowsers
