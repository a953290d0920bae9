#include "core/capture/both_sides_gesture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brindlemoor {
namespace {

using G = BothSidesGesture;

// Flags as the platform sends them for the Super keys: a side bit with the
// device-independent bit beside it; kKey stands for a key press in a row.
constexpr std::uint64_t L = G::leftCommand | G::command, R = G::rightCommand | G::command,
                        kShift = G::shift, kCapsLock = 0x10000, kKey = ~std::uint64_t{0};

enum class State { idle, armed, fired, spoiled, spoiledAfterFiring };

State stateOf(const G& gesture) {
  if (!gesture.holding()) return State::idle;
  if (gesture.spoiled()) return gesture.fired() ? State::spoiledAfterFiring : State::spoiled;
  return gesture.fired() ? State::fired : State::armed;
}

// Every transition, and what a hand really does; a mark an event: '+' fired, '-' not, '.' a key.
TEST(BothSidesGesture, FollowsEveryTransition) {
  const struct {
    const char* what;
    std::vector<std::uint64_t> events;
    std::string marks;
    State end;
  } rows[] = {
      {"one side down arms", {L}, "-", State::armed},
      {"one side with another modifier spoils", {L | kShift}, "-", State::spoiled},
      {"both in one event fire at once", {L | R}, "+", State::fired},
      {"shift while both are up leaves nothing", {kShift, 0, L, L | R}, "---+", State::fired},
      {"a key while idle leaves nothing", {kKey, L, L | R}, ".-+", State::fired},
      {"left then right", {L, L | R}, "-+", State::fired},
      {"another modifier while armed spoils", {L, L | G::option}, "--", State::spoiled},
      {"a key while armed spoils", {L, kKey}, "-.", State::spoiled},
      {"letting the side go disarms", {L, 0}, "--", State::idle},
      {"the held side changes over", {L, R, R | L}, "--+", State::fired},
      {"one side up after firing", {L | R, L}, "+-", State::fired},
      {"one side lifted and pressed again", {L | R, L, L | R}, "+--", State::fired},
      {"a key after firing", {L | R, kKey}, "+.", State::spoiledAfterFiring},
      {"shift after firing", {L | R, L | R | kShift}, "+-", State::spoiledAfterFiring},
      {"both up after firing, then again right first", {L | R, 0, R, R | L}, "+--+", State::fired},
      {"spoiled stays spoiled", {L, kKey, L | R, L, L | R}, "-.---", State::spoiled},
      {"both up clears spoiling", {L, kKey, 0, L, L | R}, "-.--+", State::fired},
      {"spoiled after firing stays so", {L | R, kKey, L, L | R}, "+.--", State::spoiledAfterFiring},
      {"both up clears spoiled after firing", {L | R, kShift | L | R, 0}, "+--", State::idle},
      {"shift let go before the second side", {L, L | kShift, L, L | R}, "----", State::spoiled},
      {"shift held first", {kShift, kShift | L, kShift | L | R}, "---", State::spoiled},
      {"caps lock on throughout", {kCapsLock | L, kCapsLock | L | R}, "-+", State::fired},
  };
  for (const auto& row : rows) {
    G gesture(G::leftCommand, G::rightCommand, G::shift | G::control | G::option | G::function);
    std::string marks;
    for (const std::uint64_t event : row.events) {
      if (event == kKey) gesture.keyDown();
      marks += event == kKey ? '.' : gesture.flagsChanged(event) ? '+' : '-';
    }
    EXPECT_EQ(marks, row.marks) << row.what;
    EXPECT_EQ(stateOf(gesture), row.end) << row.what;
  }
}

}  // namespace
}  // namespace brindlemoor
