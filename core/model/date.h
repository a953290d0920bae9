// Date is a moment as seconds since 1970 in a 64-bit float, the form in which
// the library stores every date, so a value survives the database unchanged.
#pragma once

#include <chrono>

namespace brindlemoor {

using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<double>>;

inline double secondsSince1970(Date date) {
  return date.time_since_epoch().count();
}

inline Date dateFromSeconds(double seconds) {
  return Date(std::chrono::duration<double>(seconds));
}

inline Date now() {
  return std::chrono::time_point_cast<Date::duration>(std::chrono::system_clock::now());
}

}  // namespace brindlemoor
