// Pictures made for tests: text drawn by libvips on a plain background and
// encoded, so that text recognition has something real to read.
#pragma once

#include <string>

#include "core/model/bytes.h"

namespace brindlemoor::testing {

// A PNG of `text` in black on white, in a sans face at a screen's size, with
// a margin around it.
Bytes textPicture(const std::string& text);

}  // namespace brindlemoor::testing
