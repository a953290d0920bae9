// SkyPhase is the part of the day that the sky behind the library shows,
// from the hour and minute on the user's clock. A plain value; its name is
// how it is stored.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace brindlemoor {

class SkyPhase {
 public:
  enum Value { night, dawn, morning, day, golden, dusk };
  // Every phase, in this order.
  static constexpr std::array<Value, 6> all{night, dawn, morning, day, golden, dusk};

  constexpr SkyPhase(Value value) : m_value(value) {}  // NOLINT: a phase is its value

  // Dawn from 5:00, morning from 7:00, day from 10:00, golden from 17:00,
  // dusk from 19:00, night from 21:00 until dawn.
  static SkyPhase at(int hour, int minute);
  static std::optional<SkyPhase> named(std::string_view name);

  constexpr operator Value() const { return m_value; }  // NOLINT: so that it switches
  std::string_view name() const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
