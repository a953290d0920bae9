#include "app/platform/x11/key_meaning.h"

#include "core/capture/both_sides_gesture.h"
#include "core/capture/capture_keys.h"

namespace brindlemoor {
namespace {

using G = BothSidesGesture;

// The keysyms that X itself counts as modifier keys.
bool isModifier(xkb_keysym_t keysym) {
  return (keysym >= XKB_KEY_Shift_L && keysym <= XKB_KEY_Hyper_R) ||
         (keysym >= XKB_KEY_ISO_Lock && keysym <= XKB_KEY_ISO_Level5_Lock) ||
         keysym == XKB_KEY_Mode_switch || keysym == XKB_KEY_Num_Lock;
}

std::uint64_t flagsOf(xkb_keysym_t keysym) {
  switch (keysym) {
    case XKB_KEY_Super_L:
      return G::leftCommand | G::command;
    case XKB_KEY_Super_R:
      return G::rightCommand | G::command;
    case XKB_KEY_Alt_L:
      return G::leftOption | G::option;
    // Layouts with a third level put that shift where the right Alt was.
    case XKB_KEY_Alt_R:
    case XKB_KEY_ISO_Level3_Shift:
      return G::rightOption | G::option;
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R:
      return G::shift;
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R:
      return G::control;
    default:
      return 0;
  }
}

}  // namespace

KeyMeaning KeyMeaning::of(xkb_keysym_t keysym) {
  if (isModifier(keysym)) return {.modifier = true, .flags = flagsOf(keysym)};
  const bool k = keysym == XKB_KEY_k || keysym == XKB_KEY_K;
  return {.keyCode = k ? CaptureKeys::shortcutKeyCode : kOtherKey};
}

}  // namespace brindlemoor
