// ContactSheet is the geometry of a video's contact sheet: its key frames in
// reading order, in cells kCellWidth wide and all of one height, kGap apart,
// at most kMaxColumns to a row. MediaImporter draws sheets by it, and the
// detail view cuts the frames out again with cells(). Pure and stateless.
#pragma once

#include <optional>
#include <vector>

namespace brindlemoor::ContactSheet {

inline constexpr int kCellWidth = 640;
inline constexpr int kGap = 8;
inline constexpr int kMaxColumns = 3;

// A cell of a sheet in pixels, with the origin at the top left.
struct Rect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool operator==(const Rect&) const = default;
};

// The columns and rows of a sheet of `frames` frames (at least 1).
int columns(int frames);
int rows(int frames);

// The size of a sheet of `frames` frames whose cells are `cellHeight` high.
int width(int frames);
int height(int frames, int cellHeight);

// Where frame `index` of `frames` lies when cells are `cellHeight` high.
Rect cell(int index, int frames, int cellHeight);

// The cells of a sheet of `width` by `height` pixels that holds `frames`
// frames (at least 1), in reading order; nothing when no such sheet has
// that size.
std::optional<std::vector<Rect>> cells(int width, int height, int frames);

}  // namespace brindlemoor::ContactSheet
