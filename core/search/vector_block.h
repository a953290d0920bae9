// VectorBlock holds the stored vectors of one space for scans of the whole
// space: a 16-bit code of each in memory (a scale per vector, the codes
// split into a high and a low byte plane), and the floats of all of them in
// one block in a file of the block's own (see FloatFile), which the system
// keeps in memory only while it is read. A scan of the codes moves
// half the memory of the floats, the high plane alone a quarter, and gives
// every score to within a bound known beforehand; only the few vectors whose
// bound reaches a cut are scored again from their floats. So the answers are
// exactly those of SearchMerge on the floats: the same scores in the same
// order, ties in the block's order.
//
// A block whose vectors differ in length or hold a value that isn't finite,
// and a small one, is scored from its floats alone, with the same answers.
//
// Immutable once made; any number of threads may read it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/search/internal/float_file.h"
#include "core/search/search_merge.h"

namespace brindlemoor {

class VectorBlock {
 public:
  struct Entry {
    std::string_view id;
    std::span<const float> vector;
  };

  // The floats go to an unnamed file in `directory`; by default the
  // system's folder for temporary files.
  explicit VectorBlock(std::filesystem::path directory = std::filesystem::temp_directory_path());
  // Views into the block stay valid when it moves, and so the entries.
  VectorBlock(VectorBlock&&) = default;
  VectorBlock& operator=(VectorBlock&&) = default;

  // Makes room for `count` more vectors of `floats` floats in all, so that a
  // block read whole is never moved while it grows. Throws
  // internal::FloatFile::Failure.
  void reserve(std::size_t count, std::size_t floats);
  // Adds the vector of `id` at the end. Earlier entries keep their places,
  // though their views may move: take entries() anew after an append.
  // Throws internal::FloatFile::Failure (a full disk); the block is then as
  // it was.
  void append(std::string id, std::span<const float> vector);
  // The place of `id` in entries(), if it is there.
  std::optional<std::size_t> find(std::string_view id) const;

  const std::vector<Entry>& entries() const { return m_entries; }

  // SearchMerge::standouts(SearchMerge::scores(query, entries(), nothing)).
  std::vector<SearchMerge::Score> standouts(std::span<const float> query) const;

  // The places in entries() of every vector whose score against `query`
  // may be at least `floor`: all of those whose score is, and few others.
  std::vector<std::size_t> reaching(std::span<const float> query, float floor) const;

  // The scores of SearchMerge::scores(query, entries(), excluding) that are
  // at least `floor`, highest first, equal ones in the block's order. A large
  // block is scanned on two threads.
  std::vector<SearchMerge::Score> atLeast(std::span<const float> query, float floor,
                                          std::optional<std::string_view> excluding) const;

 private:
  struct CodedQuery;
  struct Candidate {
    std::size_t index;
    float score;
  };

  bool coded(std::span<const float> query) const;
  // Codes the vector at `index`, widening the block's bounds to cover it;
  // a vector that can't be coded leaves the whole block uncoded.
  void code(std::size_t index, std::span<const float> vector);
  void codeAll();
  void dropCodes();
  // Scores of the codes, each within errorBound(query, m_maxFullError) (both
  // planes) or errorBound(query, m_maxHighError) (the high plane) of its exact
  // score.
  double codedScore(const CodedQuery& query, std::size_t index) const;
  double highScore(const CodedQuery& query, std::size_t index) const;
  double errorBound(const CodedQuery& query, double codingError) const;
  // Indices in [begin, end) whose high score is within its error of `floor`
  // or above it.
  std::vector<std::size_t> highCandidates(const CodedQuery& query, double floor, std::size_t begin,
                                          std::size_t end) const;

  float exact(std::span<const float> query, std::size_t index) const;
  // Standouts from every float, as SearchMerge has them.
  std::vector<SearchMerge::Score> plainStandouts(std::span<const float> query) const;
  std::vector<SearchMerge::Score> scoresOf(std::vector<Candidate> candidates) const;

  // A deque, so that an append never moves the ids the entries and
  // m_positions view.
  std::deque<std::string> m_ids;
  internal::FloatFile m_floats;
  std::vector<Entry> m_entries;  // views into m_ids and m_floats
  std::unordered_map<std::string_view, std::size_t> m_positions;

  // The codes, present when every vector has m_dimension finite floats.
  std::size_t m_dimension = 0;
  std::vector<std::int8_t> m_high;  // m_dimension a vector
  std::vector<std::int8_t> m_low;
  std::vector<float> m_scales;  // vector ≈ scale * (256 * high + low)
  // Bounds over all vectors, rounded up: the length of a vector, and how far
  // its codes with both planes, and with the high plane alone, lie from it.
  double m_maxLength = 0;
  double m_maxFullError = 0;
  double m_maxHighError = 0;
};

}  // namespace brindlemoor
