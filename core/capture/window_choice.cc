#include "core/capture/window_choice.h"

#include <algorithm>
#include <vector>

namespace brindlemoor::WindowChoice {
namespace {

// The first of the entries with the greatest value; max_element keeps the
// first of equals, which is the one nearer the front.
template <class Value>
const WindowEntry* greatest(const std::vector<const WindowEntry*>& entries, Value value) {
  const auto found = std::ranges::max_element(entries, {}, value);
  return found == entries.end() ? nullptr : *found;
}

}  // namespace

std::optional<WindowEntry> pick(std::span<const WindowEntry> entries,
                                std::optional<int> frontmostPID, std::optional<int> excludingPID,
                                std::optional<Rect> focusedFrame) {
  std::vector<const WindowEntry*> candidates;
  std::vector<const WindowEntry*> own;
  for (const WindowEntry& entry : entries) {
    if (entry.layer != 0 || entry.owner.empty() || entry.pid == excludingPID ||
        entry.width < minimumSide || entry.height < minimumSide) {
      continue;
    }
    candidates.push_back(&entry);
    if (entry.pid == frontmostPID) own.push_back(&entry);
  }

  if (focusedFrame) {
    const auto overlap = [&](const WindowEntry* entry) {
      return entry->bounds().overlap(*focusedFrame);
    };
    const WindowEntry* focused = greatest(own, overlap);
    if (focused && overlap(focused) > 0) return *focused;
  }

  const std::vector<const WindowEntry*>& pool = own.empty() ? candidates : own;
  for (const WindowEntry* entry : pool) {
    if (!entry->title.empty()) return *entry;
  }
  const WindowEntry* largest =
      greatest(pool, [](const WindowEntry* entry) { return entry->width * entry->height; });
  if (!largest) return std::nullopt;
  return *largest;
}

}  // namespace brindlemoor::WindowChoice
