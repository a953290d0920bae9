#include "core/media/internal/linear_kernel.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace brindlemoor {

LinearKernel::LinearKernel(int from, int to) {
  if (to < 1 || to > from) {
    throw std::invalid_argument("LinearKernel: no reduction of " + std::to_string(from) + " to " +
                                std::to_string(to));
  }
  const double shrink = static_cast<double>(from) / to;
  // Samples closer than `shrink` to an output sample's centre weigh on it, at
  // most floor(2 * shrink) + 1 of them.
  m_taps = (static_cast<int>(std::floor(2 * shrink)) + 2) / 2 * 2;
  m_first.resize(static_cast<std::size_t>(to));
  m_weights.assign(static_cast<std::size_t>(to) * static_cast<std::size_t>(m_taps), 0);
  std::vector<double> weights(static_cast<std::size_t>(m_taps));
  for (int i = 0; i < to; ++i) {
    const double centre = (i + 0.5) * shrink - 0.5;
    const int low = static_cast<int>(std::floor(centre - shrink)) + 1;
    const int count = static_cast<int>(std::ceil(centre + shrink)) - low;
    double sum = 0;
    for (int k = 0; k < count; ++k) {
      weights[static_cast<std::size_t>(k)] = 1 - std::abs(low + k - centre) / shrink;
      sum += weights[static_cast<std::size_t>(k)];
    }
    std::int16_t* fixed =
        &m_weights[static_cast<std::size_t>(i) * static_cast<std::size_t>(m_taps)];
    int total = 0;
    int largest = 0;
    for (int k = 0; k < count; ++k) {
      fixed[k] =
          static_cast<std::int16_t>(std::lround(weights[static_cast<std::size_t>(k)] / sum * kOne));
      total += fixed[k];
      if (fixed[k] > fixed[largest]) largest = k;
    }
    // Rounding's remainder goes where it changes the shape least.
    fixed[largest] = static_cast<std::int16_t>(fixed[largest] + kOne - total);
    m_first[static_cast<std::size_t>(i)] = low;
  }
}

}  // namespace brindlemoor
