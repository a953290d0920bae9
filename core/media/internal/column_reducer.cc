#include "core/media/internal/column_reducer.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstring>

namespace brindlemoor {

ColumnReducer::ColumnReducer(int from, int to, std::size_t rowBytes)
    : m_from(from),
      m_rowBytes(rowBytes),
      m_stride((rowBytes + 15) / 16 * 16),
      m_kernel(from, to),
      m_rows(static_cast<std::size_t>(m_kernel.taps()) * m_stride),
      m_sources(static_cast<std::size_t>(m_kernel.taps())),
      m_out(m_stride) {}

int ColumnReducer::lastRowFor(int y) const {
  return std::min(m_kernel.first(y) + m_kernel.taps() - 1, m_from - 1);
}

void ColumnReducer::add(const std::uint8_t* row) {
  std::memcpy(&m_rows[static_cast<std::size_t>(m_added % m_kernel.taps()) * m_stride], row,
              m_rowBytes);
  ++m_added;
}

const std::uint8_t* ColumnReducer::reduce(int y) {
  const int taps = m_kernel.taps();
  for (int k = 0; k < taps; ++k) {
    // The rows at the top and bottom stand for those beyond them.
    const int row = std::clamp(m_kernel.first(y) + k, 0, m_from - 1);
    m_sources[static_cast<std::size_t>(k)] =
        &m_rows[static_cast<std::size_t>(row % taps) * m_stride];
  }
  const std::int16_t* weights = m_kernel.weights(y);
#if !defined(__SSE2__)
  // The same sums one sample at a time, where there is no SSE2.
  for (std::size_t i = 0; i < m_rowBytes; ++i) {
    std::int32_t sum = LinearKernel::kOne / 2;
    for (int k = 0; k < taps; ++k) sum += weights[k] * m_sources[static_cast<std::size_t>(k)][i];
    m_out[i] = static_cast<std::uint8_t>(std::clamp(sum >> 14, 0, 255));
  }
#else
  const __m128i zero = _mm_setzero_si128();
  const __m128i half = _mm_set1_epi32(LinearKernel::kOne / 2);
  for (std::size_t i = 0; i < m_stride; i += 16) {
    __m128i sums[4] = {half, half, half, half};
    for (int k = 0; k < taps; k += 2) {
      // Sixteen samples of two rows interleaved as 16-bit pairs, one pair of
      // weights for each: the multiply-add sums both rows into each sample.
      const __m128i a = _mm_loadu_si128(
          reinterpret_cast<const __m128i*>(m_sources[static_cast<std::size_t>(k)] + i));
      const __m128i b = _mm_loadu_si128(
          reinterpret_cast<const __m128i*>(m_sources[static_cast<std::size_t>(k) + 1] + i));
      std::int32_t pairOfWeights;
      std::memcpy(&pairOfWeights, weights + k, sizeof pairOfWeights);
      const __m128i pair = _mm_set1_epi32(pairOfWeights);
      const __m128i low = _mm_unpacklo_epi8(a, b);
      const __m128i high = _mm_unpackhi_epi8(a, b);
      sums[0] = _mm_add_epi32(sums[0], _mm_madd_epi16(_mm_unpacklo_epi8(low, zero), pair));
      sums[1] = _mm_add_epi32(sums[1], _mm_madd_epi16(_mm_unpackhi_epi8(low, zero), pair));
      sums[2] = _mm_add_epi32(sums[2], _mm_madd_epi16(_mm_unpacklo_epi8(high, zero), pair));
      sums[3] = _mm_add_epi32(sums[3], _mm_madd_epi16(_mm_unpackhi_epi8(high, zero), pair));
    }
    const __m128i bytes =
        _mm_packus_epi16(_mm_packs_epi32(_mm_srai_epi32(sums[0], 14), _mm_srai_epi32(sums[1], 14)),
                         _mm_packs_epi32(_mm_srai_epi32(sums[2], 14), _mm_srai_epi32(sums[3], 14)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&m_out[i]), bytes);
  }
#endif
  return m_out.data();
}

}  // namespace brindlemoor
