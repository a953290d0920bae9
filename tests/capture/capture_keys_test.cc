#include "core/capture/capture_keys.h"

#include <gtest/gtest.h>

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
  constexpr std::uint64_t leftSuper = G::leftCommand | G::command,
                          rightSuper = G::rightCommand | G::command,
                          leftAlt = G::leftOption | G::option,
                          rightAlt = G::rightOption | G::option;
  const auto fires = [](CaptureKeys keys, std::uint64_t first, std::uint64_t second) {
    auto gesture = keys.gesture().value();
    gesture.flagsChanged(first);
    return gesture.flagsChanged(second);
  };
  EXPECT_TRUE(fires(CaptureKeys::bothCommands, leftSuper, leftSuper | rightSuper));
  EXPECT_FALSE(fires(CaptureKeys::bothCommands, leftSuper | leftAlt, leftSuper | rightSuper));
  EXPECT_TRUE(fires(CaptureKeys::bothOptions, rightAlt, rightAlt | leftAlt));
  EXPECT_FALSE(fires(CaptureKeys::bothOptions, leftAlt | rightSuper, leftAlt | rightAlt));
  EXPECT_FALSE(fires(CaptureKeys::bothOptions, leftAlt | G::function, leftAlt | rightAlt));
  EXPECT_FALSE(CaptureKeys(CaptureKeys::shortcut).gesture().has_value());
}

TEST(CaptureKeys, ShortcutIsKWithExactlyCtrlAltSuper) {
  constexpr std::uint64_t exact = G::control | G::option | G::command, capsLock = 0x10000;
  EXPECT_TRUE(CaptureKeys::isShortcut(40, exact));
  EXPECT_TRUE(CaptureKeys::isShortcut(40, exact | capsLock | G::leftCommand | G::rightOption));
  EXPECT_FALSE(CaptureKeys::isShortcut(40, exact | G::shift));
  EXPECT_FALSE(CaptureKeys::isShortcut(40, exact | G::function));
  EXPECT_FALSE(CaptureKeys::isShortcut(40, G::control | G::option));
  EXPECT_FALSE(CaptureKeys::isShortcut(41, exact));
}

}  // namespace
}  // namespace brindlemoor
