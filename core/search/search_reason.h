// SearchReason says why a capture is a result of a search: which judge named
// it, or that it came in only to complete a collection the search covered.
// The order of the values is the order in which the judges' lists are merged,
// and the order in which a hit's reasons are listed. The raw strings are sent
// to agents, so they never change.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "core/model/vector_space.h"

namespace brindlemoor {

class SearchReason {
 public:
  enum Value : std::uint8_t { words, look, meaning, collection };

  constexpr SearchReason(Value value) : m_value(value) {}
  // The reason of a standout in `space`: `look` for look, `meaning` for meaning.
  constexpr explicit SearchReason(VectorSpace space)
      : m_value(space == VectorSpace::look ? look : meaning) {}
  constexpr operator Value() const { return m_value; }

  // Every reason, in merge order.
  static const std::array<SearchReason, 4>& all();
  // The reason named by `raw`, or nothing for a string that names none.
  static std::optional<SearchReason> fromRaw(std::string_view raw);
  std::string_view raw() const;

 private:
  Value m_value;
};

}  // namespace brindlemoor
