// TimeShelf is a period that ends now: today, this week, this month. Its
// start is computed in the calendar the caller passes in, so the locale's
// first day of the week and the time zone are the caller's, and a test can
// fix them.
#pragma once

#include <unicode/calendar.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "core/model/date.h"

namespace brindlemoor {

class TimeShelf {
 public:
  enum Value : std::uint8_t { today, thisWeek, thisMonth };

  constexpr TimeShelf(Value value) : m_value(value) {}
  constexpr operator Value() const { return m_value; }

  // today, thisWeek, thisMonth.
  static const std::array<TimeShelf, 3>& all();
  static std::optional<TimeShelf> fromRaw(std::string_view raw);
  std::string_view raw() const;
  std::string_view title() const;

  // The start of the day, calendar week or calendar month that holds `now`,
  // in `calendar` (which is not changed). Where the calendar can't tell, the
  // start of the day of `now`.
  Date start(Date now, const icu::Calendar& calendar) const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
