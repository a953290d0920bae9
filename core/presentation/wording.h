// Wording makes the program's phrases of amounts and times, in words rather
// than figures where it can: "Twelve things kept today." Pure: the locale
// and time zone are ICU's defaults (the user's), and the present is given.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/model/date.h"

namespace brindlemoor::Wording {

// `n` followed by `singular` when it is exactly 1, else `plural`; `n`
// spelled out in American English up to 99 ("twenty-one"), in the locale's
// digits with its grouping above that.
std::string count(std::int64_t n, std::string_view singular, std::string_view plural,
                  bool capitalized);

// The day's line in two parts: "Twelve things," and "kept today."
struct Today {
  std::string lead;
  std::string close;
  bool operator==(const Today&) const = default;
};
Today today(std::int64_t kept, int hour);

// The head of a search's answers, before the words searched for: "Three
// things about".
std::string search(std::int64_t found);

// What reaching `total` kept is worth saying, if anything.
std::optional<std::string> milestone(std::int64_t total);

// When `date` was, seen from `now`, as a list shows it: "Just now",
// "5 min ago", the time of today, "Yesterday", else the day.
std::string shortRelative(Date date, Date now);

}  // namespace brindlemoor::Wording
