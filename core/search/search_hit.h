// SearchHit is one result of a search: the capture and why it came up. A
// plain value, identified by its capture's id.
#pragma once

#include <set>

#include "core/model/capture.h"
#include "core/search/search_reason.h"

namespace brindlemoor {

struct SearchHit {
  Capture capture;
  // In the order of SearchReason's values. `collection` only ever comes alone.
  std::set<SearchReason> reasons;

  bool operator==(const SearchHit&) const = default;
};

}  // namespace brindlemoor
