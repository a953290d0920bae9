#include "core/search/internal/code_dot.h"

#if defined(__x86_64__) || defined(__i386__)
#define BRINDLEMOOR_X86 1
#include <immintrin.h>
#endif

namespace brindlemoor::internal {

CodeSums portableCodeDot(const std::int16_t* q, const std::int8_t* high, const std::int8_t* low,
                         std::size_t n) {
  CodeSums sums;
  for (std::size_t i = 0; i < n; ++i) {
    sums.high += std::int64_t{q[i]} * high[i];
    sums.low += std::int64_t{q[i]} * low[i];
  }
  return sums;
}

std::int64_t portableHighDot(const std::int16_t* q, const std::int8_t* high, std::size_t n) {
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < n; ++i) sum += std::int64_t{q[i]} * high[i];
  return sum;
}

#ifdef BRINDLEMOOR_X86
namespace {

// Each 32-bit lane gains two products of at most 32767 * 128 a step, so 255
// steps stay below 2^31; then the lanes are added into 64 bits.
constexpr std::size_t kFlushEvery = 255;

__attribute__((target("avx2"))) std::int64_t widen(__m256i lanes) {
  alignas(32) std::int32_t parts[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(parts), lanes);
  std::int64_t sum = 0;
  for (std::int32_t part : parts) sum += part;
  return sum;
}

__attribute__((target("avx2"))) __m256i productsOf(__m256i q, const std::int8_t* bytes) {
  const __m256i wide =
      _mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
  return _mm256_madd_epi16(q, wide);
}

__attribute__((target("avx2"))) CodeSums avx2CodeDot(const std::int16_t* q, const std::int8_t* high,
                                                     const std::int8_t* low, std::size_t n) {
  CodeSums sums;
  std::size_t i = 0;
  while (i + 16 <= n) {
    __m256i highLanes = _mm256_setzero_si256();
    __m256i lowLanes = _mm256_setzero_si256();
    for (std::size_t steps = 0; steps < kFlushEvery && i + 16 <= n; ++steps, i += 16) {
      const __m256i query = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(q + i));
      highLanes = _mm256_add_epi32(highLanes, productsOf(query, high + i));
      lowLanes = _mm256_add_epi32(lowLanes, productsOf(query, low + i));
    }
    sums.high += widen(highLanes);
    sums.low += widen(lowLanes);
  }
  const CodeSums rest = portableCodeDot(q + i, high + i, low + i, n - i);
  return {sums.high + rest.high, sums.low + rest.low};
}

__attribute__((target("avx2"))) std::int64_t avx2HighDot(const std::int16_t* q,
                                                         const std::int8_t* high, std::size_t n) {
  std::int64_t sum = 0;
  std::size_t i = 0;
  while (i + 16 <= n) {
    __m256i lanes = _mm256_setzero_si256();
    for (std::size_t steps = 0; steps < kFlushEvery && i + 16 <= n; ++steps, i += 16) {
      const __m256i query = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(q + i));
      lanes = _mm256_add_epi32(lanes, productsOf(query, high + i));
    }
    sum += widen(lanes);
  }
  return sum + portableHighDot(q + i, high + i, n - i);
}

// The high plane alone is what a related search scans, so it gets the
// widest registers too.
__attribute__((target("avx512bw"))) std::int64_t avx512HighDot(const std::int16_t* q,
                                                               const std::int8_t* high,
                                                               std::size_t n) {
  std::int64_t sum = 0;
  std::size_t i = 0;
  while (i + 32 <= n) {
    __m512i lanes = _mm512_setzero_si512();
    for (std::size_t steps = 0; steps < kFlushEvery && i + 32 <= n; ++steps, i += 32) {
      const __m512i query = _mm512_loadu_si512(q + i);
      const __m512i wide =
          _mm512_cvtepi8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(high + i)));
      lanes = _mm512_add_epi32(lanes, _mm512_madd_epi16(query, wide));
    }
    sum += widen(_mm512_castsi512_si256(lanes)) + widen(_mm512_extracti64x4_epi64(lanes, 1));
  }
  return sum + portableHighDot(q + i, high + i, n - i);
}

bool hasAvx512() {
  static const bool has = __builtin_cpu_supports("avx512bw");
  return has;
}

bool hasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2");
  return has;
}

}  // namespace
#endif

CodeSums codeDot(const std::int16_t* query, const std::int8_t* high, const std::int8_t* low,
                 std::size_t n) {
#ifdef BRINDLEMOOR_X86
  if (hasAvx2()) return avx2CodeDot(query, high, low, n);
#endif
  return portableCodeDot(query, high, low, n);
}

std::int64_t highDot(const std::int16_t* query, const std::int8_t* high, std::size_t n) {
#ifdef BRINDLEMOOR_X86
  if (hasAvx512()) return avx512HighDot(query, high, n);
  if (hasAvx2()) return avx2HighDot(query, high, n);
#endif
  return portableHighDot(query, high, n);
}

}  // namespace brindlemoor::internal
