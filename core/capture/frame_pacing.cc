#include "core/capture/frame_pacing.h"

#include <cmath>

namespace brindlemoor {

std::optional<FramePacing::Placement> FramePacing::place(std::int64_t micros) {
  if (!m_first) m_first = micros;
  const std::int64_t frame =
      std::llround(static_cast<double>(micros - *m_first) * m_framesPerSecond / 1e6);
  if (frame < m_frames) return std::nullopt;
  const Placement placement{frame, frame - m_frames};
  m_frames = frame + 1;
  return placement;
}

}  // namespace brindlemoor
