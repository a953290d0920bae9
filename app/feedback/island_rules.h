// The island's rules that don't need a screen: what its two lines and its
// trailing chip say in the mode that tells of a keep, and what the
// dismissal timer does when it fires.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "core/model/capture.h"

namespace brindlemoor::IslandRules {

// How long the island stays, in seconds.
inline constexpr double kShown = 4.5;
inline constexpr double kHeld = 1.5;        // again, while the pointer rests or a note is open
inline constexpr double kAfterNote = 1.2;   // after a note is saved
inline constexpr double kLeaving = 0.45;    // its way out, before it is hidden

// What the island of a keep knows.
struct Kept {
  std::string captureID;
  std::string heading;  // "Kept · the window"
  std::string detail;   // the window's title, or its application
  // The last capture kept from the screen as last read from the library,
  // the library's total and its newest capture's id.
  std::optional<Capture> lastKept;
  std::int64_t total = 0;
  std::optional<std::string> newestID;
  // The name of a loaded collection, by id; nothing for one not loaded.
  std::function<std::optional<std::string>(const std::string&)> collectionName;
};

struct Lines {
  std::string upper;
  bool milestone = false;  // the upper line is a milestone, drawn in the accent
  std::string lower;
  // The collection it was filed in, as "→ " and its name; none until then.
  std::optional<std::string> chip;
  bool operator==(const Lines&) const = default;
};

Lines lines(const Kept& kept);

enum class AfterDismissal { stay, holdOn, leave };
// A recording stays until the next answer; a pointer on the island or an
// open note hold it kHeld more; otherwise it leaves.
AfterDismissal afterDismissal(bool recording, bool hovering, bool editingNote);

}  // namespace brindlemoor::IslandRules
