// RowReducer shrinks rows of 8-bit pixels to fewer pixels with a triangle
// filter as wide as the reduction, the pixels at the ends standing in for
// those beyond them: the linear kernel of libvips's reduceh. In the libvips
// we build on, reduceh is a scalar loop per band and tap that took an
// imported photo about as long as decoding it; here two input pixels of up
// to four bands are weighed in one SSE2 multiply-add. Weights are 14-bit
// fixed point summing to one exactly, so a flat colour stays exactly that
// colour.
//
// Thread rules: a RowReducer keeps a row of scratch space, so each is used
// by one thread at a time.
#pragma once

#include <cstdint>
#include <vector>

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
  int m_taps;                // input pixels weighed for each output pixel, an even number
  int m_pad;                 // copies of each end pixel beyond it in m_row
  std::vector<int> m_first;  // the first of them in m_row, for each output pixel
  std::vector<std::int16_t> m_weights;  // m_taps for each output pixel
  std::vector<std::uint8_t> m_row;      // the input row with its ends repeated
};

}  // namespace brindlemoor
