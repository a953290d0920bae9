#include "core/understanding/utf8.h"

#include <cstdint>

namespace brindlemoor::Utf8 {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The length of the well-formed character that begins at `i`, or, when the
// character is ill-formed, of its maximal subpart (at least 1) as a negative
// number.
int characterLength(std::string_view s, std::size_t i) {
  const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(s[at]); };
  const std::uint8_t lead = byte(i);
  if (lead < 0x80) return 1;
  int length;
  std::uint8_t low = 0x80, high = 0xBF;  // the range allowed for the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlong forms
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // no overlong forms
    if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return -1;
  }
  for (int k = 1; k < length; ++k) {
    if (i + k >= s.size()) return -k;
    const std::uint8_t b = byte(i + k);
    const bool fits = k == 1 ? (b >= low && b <= high) : (b >= 0x80 && b <= 0xBF);
    if (!fits) return -k;
  }
  return length;
}

}  // namespace

std::string repaired(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  std::size_t i = 0;
  while (i < bytes.size()) {
    const int length = characterLength(bytes, i);
    if (length > 0) {
      out.append(bytes.substr(i, length));
      i += length;
    } else {
      out.append(kReplacement);
      i += -length;
    }
  }
  return out;
}

}  // namespace brindlemoor::Utf8
