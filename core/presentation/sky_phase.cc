#include "core/presentation/sky_phase.h"

namespace brindlemoor {
namespace {

constexpr std::array<std::string_view, 6> kNames{"night", "dawn",   "morning",
                                                 "day",   "golden", "dusk"};

}  // namespace

SkyPhase SkyPhase::at(int hour, int minute) {
  const double time = hour + minute / 60.0;
  if (time >= 5 && time < 7) return dawn;
  if (time >= 7 && time < 10) return morning;
  if (time >= 10 && time < 17) return day;
  if (time >= 17 && time < 19) return golden;
  if (time >= 19 && time < 21) return dusk;
  return night;
}

std::optional<SkyPhase> SkyPhase::named(std::string_view name) {
  for (const Value phase : all) {
    if (kNames[phase] == name) return phase;
  }
  return std::nullopt;
}

std::string_view SkyPhase::name() const {
  return kNames[m_value];
}

}  // namespace brindlemoor
