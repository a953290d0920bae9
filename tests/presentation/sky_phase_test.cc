#include "core/presentation/sky_phase.h"

#include <gtest/gtest.h>

#include <string>

namespace brindlemoor {
namespace {

TEST(SkyPhase, ThePartOfTheDayChangesOnTheHourAndIsStoredByName) {
  for (const auto& [hour, minute, phase] : {std::tuple{4, 59, SkyPhase::night},
                                            {5, 0, SkyPhase::dawn},
                                            {6, 59, SkyPhase::dawn},
                                            {7, 0, SkyPhase::morning},
                                            {10, 0, SkyPhase::day},
                                            {16, 59, SkyPhase::day},
                                            {17, 0, SkyPhase::golden},
                                            {19, 0, SkyPhase::dusk},
                                            {20, 59, SkyPhase::dusk},
                                            {21, 0, SkyPhase::night},
                                            {0, 0, SkyPhase::night}}) {
    EXPECT_EQ(SkyPhase::at(hour, minute), phase) << hour << ":" << minute;
  }
  std::string names;
  for (const SkyPhase phase : SkyPhase::all) {
    names += std::string(phase.name()) + " ";
    EXPECT_EQ(SkyPhase::named(phase.name()), phase);
  }
  EXPECT_EQ(names, "night dawn morning day golden dusk ");
  EXPECT_FALSE(SkyPhase::named("noon"));
}

}  // namespace
}  // namespace brindlemoor
