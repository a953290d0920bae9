#include "core/model/capture_media.h"

#include "core/model/raw_values.h"

namespace brindlemoor {
namespace {

constexpr internal::Names kNames[] = {
    {"screen", "Screens", "macwindow"},
    {"photo", "Photos", "photo"},
    {"video", "Videos", "film"},
};

}  // namespace

const std::array<CaptureMedia, 3>& CaptureMedia::all() {
  static const std::array<CaptureMedia, 3> values{screen, photo, video};
  return values;
}

std::optional<CaptureMedia> CaptureMedia::fromRaw(std::string_view raw) {
  return internal::fromRawValue<CaptureMedia>(raw);
}

std::string_view CaptureMedia::raw() const {
  return kNames[m_value].raw;
}
std::string_view CaptureMedia::title() const {
  return kNames[m_value].title;
}
std::string_view CaptureMedia::symbol() const {
  return kNames[m_value].symbol;
}

}  // namespace brindlemoor
