// CaptureStage is how far the pipeline has carried a capture, in pipeline
// order. Its raw strings are stored in the database, so they never change.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace brindlemoor {

class CaptureStage {
 public:
  enum Value : std::uint8_t { captured, read, described, embedded, organized };

  constexpr CaptureStage(Value value) : m_value(value) {}
  constexpr operator Value() const { return m_value; }

  // Every stage, in pipeline order.
  static const std::array<CaptureStage, 5>& all();
  // The stage named by `raw`, or nothing for a string that names none.
  static std::optional<CaptureStage> fromRaw(std::string_view raw);
  std::string_view raw() const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
