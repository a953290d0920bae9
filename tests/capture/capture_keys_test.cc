#include "core/capture/capture_keys.h"

#include <gtest/gtest.h>

#include <vector>

namespace brindlemoor {
namespace {

using G = BothSidesGesture;

TEST(CaptureKeys, StoredValueReadsBackOrFallsBackToBothSuperKeys) {
  for (const CaptureKeys keys : CaptureKeys::all()) {
    EXPECT_EQ(CaptureKeys::fromStored(keys.raw()), keys) << keys.raw();
  }
  for (const char* stored : {"", "BothOptions", "shortcut ", "bothAlts"}) {
    EXPECT_EQ(CaptureKeys::fromStored(stored), CaptureKeys::bothCommands) << stored;
  }
}

// Each pair fires with its own two keys and is spoiled by the other pair.
TEST(CaptureKeys, EachPairIsSpoiledByTheOther) {
  constexpr std::uint64_t leftSuper = G::leftCommand | G::command;
  constexpr std::uint64_t rightSuper = G::rightCommand | G::command;
  constexpr std::uint64_t leftAlt = G::leftOption | G::option;
  constexpr std::uint64_t rightAlt = G::rightOption | G::option;
  struct Case {
    CaptureKeys keys;
    std::uint64_t first, second;
    bool fires;
  };
  const std::vector<Case> cases = {
      {CaptureKeys::bothCommands, leftSuper, leftSuper | rightSuper, true},
      {CaptureKeys::bothCommands, leftSuper, leftSuper | rightSuper | leftAlt, false},
      {CaptureKeys::bothOptions, rightAlt, rightAlt | leftAlt, true},
      {CaptureKeys::bothOptions, leftAlt | rightSuper, leftAlt | rightAlt, false},
      {CaptureKeys::bothOptions, leftAlt | leftSuper, leftAlt | rightAlt, false},
      {CaptureKeys::bothOptions, leftAlt | G::function, leftAlt | rightAlt, false},
  };
  for (const Case& c : cases) {
    auto gesture = c.keys.gesture();
    ASSERT_TRUE(gesture.has_value()) << c.keys.raw();
    gesture->flagsChanged(c.first);
    EXPECT_EQ(gesture->flagsChanged(c.second), c.fires) << c.keys.raw() << " " << c.second;
  }
  EXPECT_FALSE(CaptureKeys(CaptureKeys::shortcut).gesture().has_value());
}

TEST(CaptureKeys, ShortcutIsKWithExactlyCtrlAltSuper) {
  constexpr std::uint64_t exact = G::control | G::option | G::command;
  constexpr std::uint64_t capsLock = 0x10000;
  EXPECT_TRUE(CaptureKeys::isShortcut(40, exact));
  EXPECT_TRUE(CaptureKeys::isShortcut(40, exact | capsLock | G::leftCommand | G::rightOption));
  EXPECT_FALSE(CaptureKeys::isShortcut(40, exact | G::shift));
  EXPECT_FALSE(CaptureKeys::isShortcut(40, exact | G::function));
  EXPECT_FALSE(CaptureKeys::isShortcut(40, G::control | G::option));
  EXPECT_FALSE(CaptureKeys::isShortcut(41, exact));
}

}  // namespace
}  // namespace brindlemoor
