// WindowEntry is one window of the desktop's list, as the platform layer
// reads it, in the terms the window choice needs. A plain value.
#pragma once

#include <cstdint>
#include <string>

#include "core/capture/rect.h"

namespace brindlemoor {

struct WindowEntry {
  std::int64_t number = 0;  // the window system's id of the window
  int pid = 0;              // the owning process
  std::string owner;        // the owning application's name
  std::string title;        // often empty
  int layer = 0;            // 0 for ordinary document windows; docks, desktops and
                            // notifications stand on other layers
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  Rect bounds() const { return {x, y, width, height}; }

  bool operator==(const WindowEntry&) const = default;
};

}  // namespace brindlemoor
