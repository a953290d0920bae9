#include "core/model/time_shelf.h"

#include <unicode/calendar.h>

#include <memory>

#include "core/model/raw_values.h"

namespace brindlemoor {
namespace {

struct Names {
  std::string_view raw, title;
};

constexpr Names kNames[] = {
    {"today", "Today"},
    {"thisWeek", "This Week"},
    {"thisMonth", "This Month"},
};

void toStartOfDay(icu::Calendar& calendar) {
  calendar.set(UCAL_HOUR_OF_DAY, 0);
  calendar.set(UCAL_MINUTE, 0);
  calendar.set(UCAL_SECOND, 0);
  calendar.set(UCAL_MILLISECOND, 0);
}

}  // namespace

const std::array<TimeShelf, 3>& TimeShelf::all() {
  static const std::array<TimeShelf, 3> values{today, thisWeek, thisMonth};
  return values;
}

std::optional<TimeShelf> TimeShelf::fromRaw(std::string_view raw) {
  return internal::fromRawValue<TimeShelf>(raw);
}

std::string_view TimeShelf::raw() const {
  return kNames[m_value].raw;
}
std::string_view TimeShelf::title() const {
  return kNames[m_value].title;
}

Date TimeShelf::start(Date now, const icu::Calendar& calendar) const {
  const UDate nowMillis = secondsSince1970(now) * 1000.0;
  auto startOfDay = [&]() -> UDate {
    std::unique_ptr<icu::Calendar> day(calendar.clone());
    UErrorCode status = U_ZERO_ERROR;
    day->setTime(nowMillis, status);
    toStartOfDay(*day);
    const UDate result = day->getTime(status);
    return U_SUCCESS(status) ? result : nowMillis;
  };

  std::unique_ptr<icu::Calendar> period(calendar.clone());
  UErrorCode status = U_ZERO_ERROR;
  period->setTime(nowMillis, status);
  switch (m_value) {
    case today:
      return dateFromSeconds(startOfDay() / 1000.0);
    case thisWeek: {
      const int32_t weekday = period->get(UCAL_DAY_OF_WEEK, status);
      const int32_t back = (weekday - period->getFirstDayOfWeek(status) + 7) % 7;
      period->add(UCAL_DATE, -back, status);
      break;
    }
    case thisMonth:
      period->set(UCAL_DATE, 1);
      break;
  }
  toStartOfDay(*period);
  const UDate result = period->getTime(status);
  return dateFromSeconds((U_SUCCESS(status) ? result : startOfDay()) / 1000.0);
}

}  // namespace brindlemoor
