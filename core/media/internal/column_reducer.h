// ColumnReducer shrinks a picture's height with libvips's linear kernel (see
// LinearKernel), taking its rows of 8-bit samples in order as a decoder
// gives them and holding only the few that the next output row needs. With
// libvips's run-time code generator off, its own reducev is a scalar loop
// that cost an imported photo more than decoding it; here two rows' samples
// are weighed in one SSE2 multiply-add, sixteen at a time.
//
// Thread rules: a ColumnReducer holds rows, so each is used by one thread at
// a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/media/internal/linear_kernel.h"

namespace brindlemoor {

class ColumnReducer {
 public:
  // Pictures `from` rows high become `to` rows high; a row is `rowBytes`
  // samples. Throws std::invalid_argument unless 1 <= to <= from.
  ColumnReducer(int from, int to, std::size_t rowBytes);

  // The last input row that output row `y` needs.
  int lastRowFor(int y) const;

  // Keeps a copy of the next input row, the first at the top.
  void add(const std::uint8_t* row);

  // Output row `y`, once add() has had every input row up to lastRowFor(y)
  // and output rows are asked for in order; valid until the next call.
  const std::uint8_t* reduce(int y);

 private:
  int m_from;
  std::size_t m_rowBytes;
  std::size_t m_stride;  // rowBytes rounded up to whole 16-byte blocks
  LinearKernel m_kernel;
  int m_added = 0;
  std::vector<std::uint8_t> m_rows;            // the last taps() rows added, row r at r % taps()
  std::vector<const std::uint8_t*> m_sources;  // the rows output row y weighs
  std::vector<std::uint8_t> m_out;
};

}  // namespace brindlemoor
