#include "core/model/identifier.h"

#include <array>
#include <cstdint>
#include <random>

namespace brindlemoor {

std::string newIdentifier() {
  // One generator per thread, seeded from the system's entropy, so ids made
  // at once on several threads never share a sequence.
  thread_local std::mt19937_64 random{[] {
    std::random_device device;
    std::seed_seq seed{device(), device(), device(), device(), device(), device()};
    return std::mt19937_64(seed);
  }()};
  std::array<std::uint8_t, 16> bytes;
  for (std::size_t i = 0; i < bytes.size(); i += 8) {
    const std::uint64_t value = random();
    for (std::size_t j = 0; j < 8; ++j) bytes[i + j] = static_cast<std::uint8_t>(value >> (8 * j));
  }
  bytes[6] = (bytes[6] & 0x0f) | 0x40;  // version 4: random
  bytes[8] = (bytes[8] & 0x3f) | 0x80;  // the variant of RFC 4122
  static constexpr char kHex[] = "0123456789abcdef";
  std::string id;
  id.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) id += '-';
    id += kHex[bytes[i] >> 4];
    id += kHex[bytes[i] & 0x0f];
  }
  return id;
}

}  // namespace brindlemoor
