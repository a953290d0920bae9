// WindowChoice says which window the user means when the capture keys fire:
// the focused window of the frontmost application where the accessibility
// interface can tell which that is, else that application's first titled
// window, else its largest; other applications' windows only when the
// frontmost has none that counts. Pure, safe from any thread.
#pragma once

#include <optional>
#include <span>

#include "core/capture/rect.h"
#include "core/capture/window_entry.h"

namespace brindlemoor::WindowChoice {

// The shortest side, in points, of a window worth keeping: smaller ones are
// tool tips, badges and the like. A side of exactly this length counts.
inline constexpr double minimumSide = 100.0;

// The window to keep from `entries`, which are in the desktop's order, front
// to back; nothing when no window counts. A window counts when it is on
// layer 0, has an owner, is at least minimumSide on both sides, and isn't of
// `excludingPID` (our own process, so the program never keeps itself).
// `focusedFrame` is the frontmost application's focused window as the
// accessibility interface reports it, if it could: the window of that
// application that overlaps it most wins, title or none. Every tie goes to
// the window nearer the front.
std::optional<WindowEntry> pick(std::span<const WindowEntry> entries,
                                std::optional<int> frontmostPID, std::optional<int> excludingPID,
                                std::optional<Rect> focusedFrame);

}  // namespace brindlemoor::WindowChoice
