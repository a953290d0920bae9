// newIdentifier gives a fresh random identifier in the canonical 36-character
// UUID form, lower-cased: the id of a capture or a collection, and the
// unique part of a temporary file's name. Safe from any thread.
#pragma once

#include <string>

namespace brindlemoor {

std::string newIdentifier();

}  // namespace brindlemoor
