#include "core/search/search_reason.h"

#include "core/model/raw_values.h"

namespace brindlemoor {

const std::array<SearchReason, 4>& SearchReason::all() {
  static const std::array<SearchReason, 4> values{words, look, meaning, collection};
  return values;
}

std::optional<SearchReason> SearchReason::fromRaw(std::string_view raw) {
  return internal::fromRawValue<SearchReason>(raw);
}

std::string_view SearchReason::raw() const {
  static constexpr std::string_view names[] = {"words", "look", "meaning", "collection"};
  return names[m_value];
}

}  // namespace brindlemoor
