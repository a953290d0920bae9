// The loudness of a stretch of sound as a bar shows it, from 0 to 1: its
// root mean square in decibels, where -50 dB and below show nothing and
// 0 dB shows full. Pure.
#pragma once

#include <span>

namespace brindlemoor {

// `samples` are floats of full scale 1; an empty stretch is silence.
float soundLevel(std::span<const float> samples);

}  // namespace brindlemoor
