// RowReducer shrinks rows of 8-bit pixels to fewer pixels with libvips's
// linear kernel (see LinearKernel). In the libvips we build on, its reduceh
// is a scalar loop per band and tap that took an imported photo about as
// long as decoding it; here two input pixels of up to four bands are weighed
// in one SSE2 multiply-add.
//
// Thread rules: a RowReducer keeps a row of scratch space, so each is used
// by one thread at a time.
#pragma once

#include <cstdint>
#include <vector>

#include "core/media/internal/linear_kernel.h"

namespace brindlemoor {

class RowReducer {
 public:
  // Rows of `from` pixels of `bands` bytes each become rows of `to` pixels.
  // Throws std::invalid_argument unless 1 <= to <= from and bands is 1 to 4.
  RowReducer(int from, int to, int bands);

  // Writes the `to` pixels made from `in`'s `from` into `out`.
  void reduce(const std::uint8_t* in, std::uint8_t* out);

 private:
  template <int Bands>
  void reduceBands(std::uint8_t* out) const;

  int m_from;
  int m_to;
  int m_bands;
  LinearKernel m_kernel;
  int m_pad;                        // copies of each end pixel beyond it in m_row
  std::vector<std::uint8_t> m_row;  // the input row with its ends repeated
};

}  // namespace brindlemoor
