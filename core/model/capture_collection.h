// CaptureCollection is one automatic collection of captures. `count` is
// computed by the query that reads it and is not stored; `namedAtCount` is
// the count when it was last named, and `userNamed` keeps the user's own name
// from being replaced.
#pragma once

#include <cstdint>
#include <string>

#include "core/model/date.h"

namespace brindlemoor {

struct CaptureCollection {
  std::string id;  // lower-cased UUID
  std::string name;
  std::string emoji;
  Date createdAt;
  Date updatedAt;
  std::int64_t count = 0;
  std::int64_t namedAtCount = 0;
  bool userNamed = false;

  bool operator==(const CaptureCollection&) const = default;
};

}  // namespace brindlemoor
