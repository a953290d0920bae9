// CaptureMedia says how a capture was made: from the screen, or imported as a
// photo or a video. The raw strings are stored and sent to agents; `title` is
// a shelf's label and `symbol` the name of its icon.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace brindlemoor {

class CaptureMedia {
 public:
  enum Value : std::uint8_t { screen, photo, video };

  constexpr CaptureMedia(Value value) : m_value(value) {}
  constexpr operator Value() const { return m_value; }

  // screen, photo, video.
  static const std::array<CaptureMedia, 3>& all();
  static std::optional<CaptureMedia> fromRaw(std::string_view raw);
  std::string_view raw() const;
  std::string_view title() const;
  std::string_view symbol() const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
