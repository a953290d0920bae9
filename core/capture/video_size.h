// The pixel size of a video of an area given in points: the area times the
// scale, cut to whole pixels and made even, since H.264 in 4:2:0 has one
// colour sample per two by two pixels. Pure.
#pragma once

#include "core/capture/rect.h"

namespace brindlemoor {

struct VideoSize {
  int width = 0;
  int height = 0;
  bool operator==(const VideoSize&) const = default;
};

inline VideoSize videoSize(const Rect& area, double scale) {
  return {static_cast<int>(area.width * scale) & ~1, static_cast<int>(area.height * scale) & ~1};
}

}  // namespace brindlemoor
