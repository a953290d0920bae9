// LinearKernel holds the weights with which a line of `from` samples becomes
// `to`: a triangle filter as wide as the reduction, libvips's linear kernel,
// each output sample centred on the stretch of input it stands for. Weights
// are 14-bit fixed point summing to one exactly, so a flat colour stays
// exactly that colour. RowReducer and ColumnReducer share it.
//
// Thread rules: immutable once made.
#pragma once

#include <cstdint>
#include <vector>

namespace brindlemoor {

class LinearKernel {
 public:
  // One in 2^14.
  static constexpr int kOne = 1 << 14;

  // Throws std::invalid_argument unless 1 <= to <= from.
  LinearKernel(int from, int to);

  // Input samples weighed for each output sample: an even number, so that
  // they go in pairs, the last weights zero where fewer are needed.
  int taps() const { return m_taps; }
  // The first input sample weighed for output sample `i`; near the ends it
  // lies before the first or its taps run past the last, and the samples at
  // the ends stand for those beyond them.
  int first(int i) const { return m_first[static_cast<std::size_t>(i)]; }
  // The taps() weights of output sample `i`.
  const std::int16_t* weights(int i) const {
    return &m_weights[static_cast<std::size_t>(i) * static_cast<std::size_t>(m_taps)];
  }

 private:
  int m_taps;
  std::vector<int> m_first;
  std::vector<std::int16_t> m_weights;
};

}  // namespace brindlemoor
