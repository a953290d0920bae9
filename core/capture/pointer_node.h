// PointerNode is one accessibility element on the way from the pointer up to
// its window, as the platform layer reads it: AT-SPI's roles are given the
// names that PageTarget decides on ("AXImage", "AXVideo", "AXWebArea", ...).
// A chain is a list of nodes with the element under the pointer first and
// its ancestors after it. Whatever can't be read stays empty, so a chain is
// never a failure. A plain value.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/capture/rect.h"

namespace brindlemoor {

// Every field has an initializer so that a node can be built naming only
// the fields that were read.
struct PointerNode {
  std::string role = {};
  std::string roleDescription = {};
  std::string title = {};
  std::string description = {};
  std::optional<std::string> url = {};  // the image's source or the link's target, absolute
  Rect frame = {};                      // a part that can't be read stays zero
  std::vector<std::string> domClasses = {};
  std::string domIdentifier = {};

  bool operator==(const PointerNode&) const = default;
};

}  // namespace brindlemoor
