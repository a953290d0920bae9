// Pictures made for tests with libvips: plain colours, halves, and text
// drawn on a plain background, encoded as a test needs.
#pragma once

#include <string>
#include <vector>
#include <vips/vips8>

#include "core/model/bytes.h"

namespace brindlemoor::testing {

// A picture of one colour: grey for one band, sRGB for three or more.
vips::VImage filled(int width, int height, std::vector<double> colour);

// Red on the left half, blue on the right.
vips::VImage halves(int width, int height);

// `image` encoded in the format of `suffix` (".png", ".jpg[Q=90]", ...).
Bytes encoded(const vips::VImage& image, const char* suffix, vips::VOption* options = nullptr);

// A PNG of `text` in black on white, in a sans face at a screen's size, with
// a margin around it.
Bytes textPicture(const std::string& text);

}  // namespace brindlemoor::testing
