#include "core/media/contact_sheet.h"

#include <algorithm>

namespace brindlemoor::ContactSheet {

int columns(int frames) {
  return std::min(frames, kMaxColumns);
}

int rows(int frames) {
  const int across = columns(frames);
  return across < 1 ? 0 : (frames + across - 1) / across;
}

int width(int frames) {
  return columns(frames) * kCellWidth + (columns(frames) - 1) * kGap;
}

int height(int frames, int cellHeight) {
  return rows(frames) * cellHeight + (rows(frames) - 1) * kGap;
}

Rect cell(int index, int frames, int cellHeight) {
  const int row = index / columns(frames);
  const int column = index % columns(frames);
  return {column * (kCellWidth + kGap), row * (cellHeight + kGap), kCellWidth, cellHeight};
}

std::optional<std::vector<Rect>> cells(int sheetWidth, int sheetHeight, int frames) {
  const int down = rows(frames);
  if (down < 1 || sheetWidth != width(frames)) return std::nullopt;
  const int cellHeight = (sheetHeight - (down - 1) * kGap) / down;
  if (cellHeight < 1 || height(frames, cellHeight) != sheetHeight) return std::nullopt;
  std::vector<Rect> found;
  for (int i = 0; i < frames; ++i) found.push_back(cell(i, frames, cellHeight));
  return found;
}

}  // namespace brindlemoor::ContactSheet
