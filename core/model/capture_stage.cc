#include "core/model/capture_stage.h"

#include "core/model/raw_values.h"

namespace brindlemoor {

const std::array<CaptureStage, 5>& CaptureStage::all() {
  static const std::array<CaptureStage, 5> values{captured, read, described, embedded, organized};
  return values;
}

std::optional<CaptureStage> CaptureStage::fromRaw(std::string_view raw) {
  return internal::fromRawValue<CaptureStage>(raw);
}

std::string_view CaptureStage::raw() const {
  static constexpr std::string_view names[] = {"captured", "read", "described", "embedded",
                                               "organized"};
  return names[m_value];
}

}  // namespace brindlemoor
