#include "core/capture/sound_level.h"

#include <algorithm>
#include <cmath>

namespace brindlemoor {

float soundLevel(std::span<const float> samples) {
  if (samples.empty()) return 0;
  double squares = 0;
  for (const float sample : samples) squares += static_cast<double>(sample) * sample;
  const double rms = std::sqrt(squares / static_cast<double>(samples.size()));
  const double decibels = 20 * std::log10(std::max(rms, 0.000001));
  return static_cast<float>(std::clamp((decibels + 50) / 50, 0.0, 1.0));
}

}  // namespace brindlemoor
