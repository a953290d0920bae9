#include "core/model/vector_space.h"

#include "core/model/raw_values.h"

namespace brindlemoor {

const std::array<VectorSpace, 2>& VectorSpace::all() {
  static const std::array<VectorSpace, 2> values{look, meaning};
  return values;
}

std::optional<VectorSpace> VectorSpace::fromRaw(std::string_view raw) {
  return internal::fromRawValue<VectorSpace>(raw);
}

std::string_view VectorSpace::raw() const {
  return m_value == look ? "look" : "meaning";
}

}  // namespace brindlemoor
