// AccessibilityPlace reads, through the desktop's accessibility bus, where
// the focused window of an application stands: its title, the address of
// the page it shows, and the file when that address is one. Every read is
// bounded: each call by AT-SPI's time limit, the search for the page by the
// number of elements it looks at, since a browser's tree can be huge. A
// read that fails leaves its field empty and is never an error.
//
// Threads: as AtSpi's, one thread for all accessibility calls.
#pragma once

#include <optional>
#include <string>

namespace brindlemoor::AccessibilityPlace {

struct Place {
  std::optional<std::string> title;
  std::optional<std::string> url;           // the page's address, as the browser gives it
  std::optional<std::string> documentPath;  // the file, when that address is a file: URL

  bool operator==(const Place&) const = default;
};

// The place of the focused window of process `pid`: the window its
// application calls active, else its only window. All empty when the
// application isn't on the accessibility bus or has no such window.
Place read(int pid);

}  // namespace brindlemoor::AccessibilityPlace
