// CaptureDescription is what the vision model's reply leaves once every field
// is bounded and checked: what the store records at stage `described`.
// Lengths are in user-perceived characters.
#pragma once

#include <string>
#include <vector>

#include "core/model/capture_kind.h"

namespace brindlemoor {

struct CaptureDescription {
  std::string title;    // at most 90 characters, never empty
  std::string summary;  // at most 400 characters, may be empty
  CaptureKind kind = CaptureKind::other;
  std::vector<std::string> tags;        // at most 5, lower case, at most 32 characters, distinct
  std::vector<std::string> highlights;  // at most 3, each at most 280 characters
  std::vector<std::string> links;       // at most 6

  bool operator==(const CaptureDescription&) const = default;
};

}  // namespace brindlemoor
