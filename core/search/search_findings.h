// SearchFindings is the whole answer to one search: the hits, best first, and
// the collections the search covered. A plain value. An empty one is also the
// answer to a search that failed: search never reports failure.
#pragma once

#include <string>
#include <vector>

#include "core/search/search_hit.h"

namespace brindlemoor {

struct SearchFindings {
  std::vector<SearchHit> hits;
  // Covered by the merged results before completion, in ascending order of id.
  std::vector<std::string> collectionIDs;

  bool operator==(const SearchFindings&) const = default;
};

}  // namespace brindlemoor
