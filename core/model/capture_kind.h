// CaptureKind is what the vision model judged a capture to be. The order of
// all() is also the order in which the vision prompt offers the kinds. Raw
// strings are stored and sent to agents; `title` labels a shelf and `symbol`
// names its icon.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace brindlemoor {

class CaptureKind {
 public:
  enum Value : std::uint8_t {
    article,
    code,
    design,
    chat,
    email,
    document,
    spreadsheet,
    slides,
    product,
    receipt,
    recipe,
    food,
    place,
    video,
    social,
    data,
    idea,
    other,
  };

  constexpr CaptureKind(Value value) : m_value(value) {}
  constexpr operator Value() const { return m_value; }

  // All eighteen kinds in their declared order.
  static const std::array<CaptureKind, 18>& all();
  // The kind whose raw string is exactly `raw`, or nothing.
  static std::optional<CaptureKind> fromRaw(std::string_view raw);
  // Whatever a model answered, read as a kind: trimmed and lower-cased, then a
  // raw string or one of a fixed set of aliases by exact equality; anything
  // else, nothing included, is `other`. Never fails.
  static CaptureKind parse(std::optional<std::string_view> answer);

  std::string_view raw() const;
  std::string_view title() const;
  std::string_view symbol() const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
