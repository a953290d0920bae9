#include "core/media/internal/row_reducer.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

namespace brindlemoor {
namespace {

#if defined(__SSE2__)
// Four bytes from `bytes` in the low lane; the pixel's own are the first.
__m128i loadPixel(const std::uint8_t* bytes) {
  std::int32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return _mm_cvtsi32_si128(word);
}
#endif

}  // namespace

RowReducer::RowReducer(int from, int to, int bands)
    : m_from(from), m_to(to), m_bands(bands), m_kernel(from, to), m_pad(m_kernel.taps()) {
  if (bands < 1 || bands > 4) {
    throw std::invalid_argument("RowReducer: no pixels of " + std::to_string(bands) + " bands");
  }
  // Four bytes are read for each pixel, whatever its bands.
  m_row.resize(static_cast<std::size_t>(from + 2 * m_pad) * static_cast<std::size_t>(bands) + 4);
}

void RowReducer::reduce(const std::uint8_t* in, std::uint8_t* out) {
  const std::size_t pixel = static_cast<std::size_t>(m_bands);
  std::uint8_t* row = m_row.data();
  for (int i = 0; i < m_pad; ++i) std::memcpy(row + i * pixel, in, pixel);
  std::memcpy(row + m_pad * pixel, in, m_from * pixel);
  const std::uint8_t* last = in + (m_from - 1) * pixel;
  for (int i = 0; i < m_pad; ++i) std::memcpy(row + (m_pad + m_from + i) * pixel, last, pixel);
  switch (m_bands) {
    case 1:
      return reduceBands<1>(out);
    case 2:
      return reduceBands<2>(out);
    case 3:
      return reduceBands<3>(out);
    default:
      return reduceBands<4>(out);
  }
}

template <int Bands>
void RowReducer::reduceBands(std::uint8_t* out) const {
#if !defined(__SSE2__)
  // The same sums one band at a time, where there is no SSE2.
  for (int x = 0; x < m_to; ++x, out += Bands) {
    const std::uint8_t* pixel =
        m_row.data() + static_cast<std::ptrdiff_t>(m_kernel.first(x) + m_pad) * Bands;
    const std::int16_t* weights = m_kernel.weights(x);
    for (int band = 0; band < Bands; ++band) {
      std::int32_t sum = LinearKernel::kOne / 2;
      for (int k = 0; k < m_kernel.taps(); ++k) sum += weights[k] * pixel[k * Bands + band];
      out[band] = static_cast<std::uint8_t>(std::clamp(sum >> 14, 0, 255));
    }
  }
#else
  const __m128i zero = _mm_setzero_si128();
  const __m128i half = _mm_set1_epi32(LinearKernel::kOne / 2);
  for (int x = 0; x < m_to; ++x, out += Bands) {
    const std::uint8_t* pixel =
        m_row.data() + static_cast<std::ptrdiff_t>(m_kernel.first(x) + m_pad) * Bands;
    const std::int16_t* weights = m_kernel.weights(x);
    __m128i sums = half;
    for (int k = 0; k < m_kernel.taps(); k += 2, pixel += 2 * Bands, weights += 2) {
      // Two pixels' bands interleaved as 16-bit pairs (a0 b0 a1 b1 ...), one
      // pair of weights for each: the multiply-add sums both into each band.
      const __m128i pairs =
          _mm_unpacklo_epi8(_mm_unpacklo_epi8(loadPixel(pixel), loadPixel(pixel + Bands)), zero);
      std::int32_t pairOfWeights;
      std::memcpy(&pairOfWeights, weights, sizeof pairOfWeights);
      sums = _mm_add_epi32(sums, _mm_madd_epi16(pairs, _mm_set1_epi32(pairOfWeights)));
    }
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(_mm_srai_epi32(sums, 14), zero), zero);
    const std::int32_t word = _mm_cvtsi128_si32(bytes);
    std::memcpy(out, &word, Bands);
  }
#endif
}

}  // namespace brindlemoor
