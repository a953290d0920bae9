#include "app/feedback/island_rules.h"

#include "core/presentation/wording.h"

namespace brindlemoor::IslandRules {

Lines lines(const Kept& kept) {
  // What the pipeline understood of this capture, once a reload brought it.
  const Capture* understood =
      kept.lastKept && kept.lastKept->id == kept.captureID ? &*kept.lastKept : nullptr;
  Lines made;
  const std::optional<std::string> milestone = Wording::milestone(kept.total);
  if (milestone && understood && kept.newestID == kept.captureID) {
    made.upper = *milestone;
    made.milestone = true;
  } else {
    made.upper = kept.heading;
  }
  made.lower = understood && understood->title ? *understood->title : kept.detail;
  if (understood && understood->collectionID && kept.collectionName) {
    if (std::optional<std::string> name = kept.collectionName(*understood->collectionID)) {
      made.chip = "→ " + *name;
    }
  }
  return made;
}

AfterDismissal afterDismissal(bool recording, bool hovering, bool editingNote) {
  if (recording) return AfterDismissal::stay;
  if (hovering || editingNote) return AfterDismissal::holdOn;
  return AfterDismissal::leave;
}

}  // namespace brindlemoor::IslandRules
