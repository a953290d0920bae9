// Rect is a rectangle in screen points with the origin at the top left, the
// way windows and accessibility elements give their frames. A plain value.
#pragma once

#include <algorithm>

namespace brindlemoor {

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  // The area that both rectangles cover: 0 when they are apart or only touch.
  double overlap(const Rect& other) const {
    const double across = std::min(x + width, other.x + other.width) - std::max(x, other.x);
    const double down = std::min(y + height, other.y + other.height) - std::max(y, other.y);
    return across > 0 && down > 0 ? across * down : 0;
  }

  bool operator==(const Rect&) const = default;
};

}  // namespace brindlemoor
