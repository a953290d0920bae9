// Integer dot products of a 16-bit coded query with vectors coded as two byte
// planes (code = 256 * high + low). They are exact: nothing is rounded, so a
// bound on the coding error bounds the score. The widest instructions the
// processor has are chosen once, at first use; where there are none (not
// an x86 processor), the plain loops serve.
#pragma once

#include <cstddef>
#include <cstdint>

namespace brindlemoor::internal {

struct CodeSums {
  std::int64_t high = 0;  // sum of query[i] * high[i]
  std::int64_t low = 0;   // sum of query[i] * low[i]
};

// Both sums over the first `n` entries.
CodeSums codeDot(const std::int16_t* query, const std::int8_t* high, const std::int8_t* low,
                 std::size_t n);

// The high sum alone, which reads half the memory.
std::int64_t highDot(const std::int16_t* query, const std::int8_t* high, std::size_t n);

// The same with plain loops, as on a processor without the wide
// instructions; the wide ones must give exactly these.
CodeSums portableCodeDot(const std::int16_t* query, const std::int8_t* high, const std::int8_t* low,
                         std::size_t n);
std::int64_t portableHighDot(const std::int16_t* query, const std::int8_t* high, std::size_t n);

}  // namespace brindlemoor::internal
