// VectorSpace names the two spaces every capture is embedded in: `look`, the
// picture together with its text, and `meaning`, the text alone. The raw
// strings are stored with each vector.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace brindlemoor {

class VectorSpace {
 public:
  enum Value : std::uint8_t { look, meaning };

  constexpr VectorSpace(Value value) : m_value(value) {}
  constexpr operator Value() const { return m_value; }

  // Both spaces, `look` first.
  static const std::array<VectorSpace, 2>& all();
  static std::optional<VectorSpace> fromRaw(std::string_view raw);
  std::string_view raw() const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
