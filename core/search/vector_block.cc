#include "core/search/vector_block.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <future>
#include <limits>

#include "core/model/vector_math.h"
#include "core/search/internal/code_dot.h"

namespace brindlemoor {
namespace {

// 127 * 256 + 127: the largest code whose high byte still fits a signed byte.
constexpr double kLargestCode = 32639;
constexpr double kLargestQueryCode = 32767;
// Below this many vectors the floats alone are scanned faster than codes
// are made.
constexpr std::size_t kCodedFrom = 64;
// From this many vectors a scan for a floor is shared by two threads.
constexpr std::size_t kTwoThreadsFrom = 20'000;

bool finite(std::span<const float> values) {
  return std::ranges::all_of(values, [](float x) { return std::isfinite(x); });
}

double largestMagnitude(std::span<const float> values) {
  double largest = 0;
  for (float x : values) largest = std::max(largest, std::fabs(static_cast<double>(x)));
  return largest;
}

// How far the single-precision sum of `n` products, as VectorMath::dot adds
// them, may lie from the true sum, as a share of the sum of their magnitudes.
double roundingShare(std::size_t n) {
  const double unit = std::ldexp(1.0, -24);
  const double steps = static_cast<double>(n) * unit;
  return steps / (1 - steps);
}

// A bound computed in double precision, made safe against its own rounding.
double roundedUp(double bound) {
  return bound * (1 + 1e-6) + 1e-30;
}

}  // namespace

struct VectorBlock::CodedQuery {
  std::vector<std::int16_t> codes;
  double scale = 0;   // query ≈ scale * codes
  double length = 0;  // of the query
  double error = 0;   // length of query - scale * codes

  explicit CodedQuery(std::span<const float> query) : codes(query.size()) {
    scale = largestMagnitude(query) / kLargestQueryCode;
    double lengthSquared = 0;
    double errorSquared = 0;
    for (std::size_t i = 0; i < query.size(); ++i) {
      const double x = query[i];
      const double code = scale > 0 ? std::round(x / scale) : 0;
      codes[i] = static_cast<std::int16_t>(std::clamp(code, -kLargestQueryCode, kLargestQueryCode));
      lengthSquared += x * x;
      errorSquared += (x - scale * codes[i]) * (x - scale * codes[i]);
    }
    length = roundedUp(std::sqrt(lengthSquared));
    error = roundedUp(std::sqrt(errorSquared));
  }
};

VectorBlock::VectorBlock(std::filesystem::path directory) : m_floats(std::move(directory)) {}

void VectorBlock::reserve(std::size_t count, std::size_t floats) {
  m_floats.reserve(m_floats.size() + floats);
  m_entries.reserve(m_entries.size() + count);
  m_positions.reserve(m_positions.size() + count);
}

void VectorBlock::append(std::string id, std::span<const float> vector) {
  const float* before = m_floats.data();
  const std::size_t start = m_floats.size();
  m_floats.append(vector);
  if (m_floats.data() != before) {
    // The floats moved: every view is made again where they lie now.
    std::size_t at = 0;
    for (Entry& entry : m_entries) {
      entry.vector = std::span<const float>(m_floats.data() + at, entry.vector.size());
      at += entry.vector.size();
    }
  }
  const std::string& kept = m_ids.emplace_back(std::move(id));
  m_entries.push_back({kept, std::span<const float>(m_floats.data() + start, vector.size())});
  m_positions.emplace(kept, m_entries.size() - 1);

  // Coded from the caller's floats, so that the file's pages are not read
  // back into memory.
  if (m_dimension > 0) {
    code(m_entries.size() - 1, vector);
  } else if (m_entries.size() == kCodedFrom) {
    codeAll();
  }
}

std::optional<std::size_t> VectorBlock::find(std::string_view id) const {
  const auto found = m_positions.find(id);
  if (found == m_positions.end()) return std::nullopt;
  return found->second;
}

void VectorBlock::dropCodes() {
  m_dimension = 0;
  m_high = {};
  m_low = {};
  m_scales = {};
  m_maxLength = m_maxFullError = m_maxHighError = 0;
}

void VectorBlock::codeAll() {
  const std::size_t dimension = m_entries.front().vector.size();
  if (dimension == 0) return;
  m_dimension = dimension;
  m_high.reserve(m_entries.capacity() * dimension);
  m_low.reserve(m_entries.capacity() * dimension);
  m_scales.reserve(m_entries.capacity());
  for (std::size_t v = 0; v < m_entries.size() && m_dimension > 0; ++v) {
    code(v, m_entries[v].vector);
  }
}

void VectorBlock::code(std::size_t v, std::span<const float> vector) {
  if (vector.size() != m_dimension || !finite(vector)) {
    dropCodes();
    return;
  }
  const std::size_t dimension = m_dimension;
  m_high.resize((v + 1) * dimension);
  m_low.resize((v + 1) * dimension);
  m_scales.resize(v + 1);
  const float scale = static_cast<float>(largestMagnitude(vector) / kLargestCode);
  double length = 0, full = 0, high = 0;
  for (std::size_t i = 0; i < dimension; ++i) {
    const double x = vector[i];
    const auto code = static_cast<int>(
        std::clamp(scale > 0 ? std::round(x / scale) : 0.0, -kLargestCode, kLargestCode));
    const int highByte = (code + 128) >> 8;  // rounded to the nearest 256
    m_high[v * dimension + i] = static_cast<std::int8_t>(highByte);
    m_low[v * dimension + i] = static_cast<std::int8_t>(code - 256 * highByte);
    length += x * x;
    full += (x - double{scale} * code) * (x - double{scale} * code);
    high += (x - double{scale} * 256 * highByte) * (x - double{scale} * 256 * highByte);
  }
  m_scales[v] = scale;
  // Bounds only ever widen, so they hold for every vector coded before.
  m_maxLength = std::max(m_maxLength, roundedUp(std::sqrt(length)));
  m_maxFullError = std::max(m_maxFullError, roundedUp(std::sqrt(full)));
  m_maxHighError = std::max(m_maxHighError, roundedUp(std::sqrt(high)));
}

bool VectorBlock::coded(std::span<const float> query) const {
  return m_dimension > 0 && query.size() == m_dimension && finite(query);
}

double VectorBlock::codedScore(const CodedQuery& query, std::size_t index) const {
  const std::size_t at = index * m_dimension;
  const internal::CodeSums sums =
      internal::codeDot(query.codes.data(), &m_high[at], &m_low[at], m_dimension);
  return query.scale * m_scales[index] *
         (256.0 * static_cast<double>(sums.high) + static_cast<double>(sums.low));
}

double VectorBlock::highScore(const CodedQuery& query, std::size_t index) const {
  const std::int64_t sum =
      internal::highDot(query.codes.data(), &m_high[index * m_dimension], m_dimension);
  return query.scale * m_scales[index] * 256.0 * static_cast<double>(sum);
}

// The exact score differs from the code's by the float sum's rounding, the
// vector's coding error (`codingError`, with both planes or the high one)
// seen by the query, and the query's coding error seen by the coded vector,
// whose length is at most the vector's plus its error.
double VectorBlock::errorBound(const CodedQuery& query, double codingError) const {
  return roundedUp(query.length * codingError + query.error * (m_maxLength + codingError) +
                   roundingShare(m_dimension) * query.length * m_maxLength);
}

std::vector<SearchMerge::Score> VectorBlock::plainStandouts(std::span<const float> query) const {
  return SearchMerge::standouts(SearchMerge::scores(query, m_entries, std::nullopt));
}

float VectorBlock::exact(std::span<const float> query, std::size_t index) const {
  return VectorMath::dot(query, m_entries[index].vector);
}

std::vector<SearchMerge::Score> VectorBlock::scoresOf(std::vector<Candidate> candidates) const {
  std::ranges::sort(candidates, [](const Candidate& a, const Candidate& b) {
    return a.score != b.score ? a.score > b.score : a.index < b.index;
  });
  std::vector<SearchMerge::Score> scores;
  scores.reserve(candidates.size());
  for (const Candidate& candidate : candidates) {
    scores.push_back({m_entries[candidate.index].id, candidate.score});
  }
  return scores;
}

std::vector<SearchMerge::Score> VectorBlock::standouts(std::span<const float> query) const {
  if (!coded(query)) return plainStandouts(query);
  const CodedQuery codedQuery(query);
  const double error = errorBound(codedQuery, m_maxFullError);
  const std::size_t n = m_entries.size();
  std::vector<double> approximate(n);
  for (std::size_t i = 0; i < n; ++i) approximate[i] = codedScore(codedQuery, i);

  // Every code lies within `error` of its score, so the best score belongs
  // to a vector whose code is within twice that of the best code.
  const double bestCode = std::ranges::max(approximate);
  float top = -std::numeric_limits<float>::infinity();
  for (std::size_t i = 0; i < n; ++i) {
    if (approximate[i] >= bestCode - 2 * error) top = std::max(top, exact(query, i));
  }

  // Likewise the median (the score ranked n / 2 from the top) lies within
  // `error` of the codes' median: it is among the vectors whose codes lie
  // within twice that, ranked after those clearly above.
  const std::size_t rank = n / 2;
  std::vector<double> ranked = approximate;
  std::ranges::nth_element(ranked, ranked.begin() + static_cast<std::ptrdiff_t>(rank),
                           std::greater<>());
  const double middle = ranked[rank];
  std::size_t above = 0;
  std::vector<float> near;
  for (std::size_t i = 0; i < n; ++i) {
    if (approximate[i] > middle + 2 * error) {
      ++above;
    } else if (approximate[i] >= middle - 2 * error) {
      near.push_back(exact(query, i));
    }
  }
  // Never the case while the bound holds; the floats then answer alone.
  if (above > rank || rank - above >= near.size()) return plainStandouts(query);
  const std::size_t nearRank = rank - above;
  std::ranges::nth_element(near, near.begin() + static_cast<std::ptrdiff_t>(nearRank),
                           std::greater<>());
  const float floor = SearchMerge::standoutFloor(top, near[nearRank], n);

  std::vector<Candidate> kept;
  for (std::size_t i = 0; i < n; ++i) {
    if (approximate[i] + error < floor) continue;
    const float score = exact(query, i);
    if (score >= floor) kept.push_back({i, score});
  }
  return scoresOf(std::move(kept));
}

std::vector<std::size_t> VectorBlock::highCandidates(const CodedQuery& query, double floor,
                                                     std::size_t begin, std::size_t end) const {
  const double error = errorBound(query, m_maxHighError);
  std::vector<std::size_t> candidates;
  for (std::size_t i = begin; i < end; ++i) {
    if (highScore(query, i) + error >= floor) candidates.push_back(i);
  }
  return candidates;
}

std::vector<std::size_t> VectorBlock::reaching(std::span<const float> query, float floor) const {
  const std::size_t n = m_entries.size();
  if (!coded(query)) {
    std::vector<std::size_t> all(n);
    for (std::size_t i = 0; i < n; ++i) all[i] = i;
    return all;
  }
  const CodedQuery codedQuery(query);
  if (n < kTwoThreadsFrom) return highCandidates(codedQuery, floor, 0, n);
  auto first =
      std::async(std::launch::async, [&] { return highCandidates(codedQuery, floor, 0, n / 2); });
  const std::vector<std::size_t> second = highCandidates(codedQuery, floor, n / 2, n);
  std::vector<std::size_t> candidates = first.get();
  candidates.insert(candidates.end(), second.begin(), second.end());
  return candidates;
}

std::vector<SearchMerge::Score> VectorBlock::atLeast(
    std::span<const float> query, float floor, std::optional<std::string_view> excluding) const {
  std::vector<Candidate> kept;
  for (std::size_t i : reaching(query, floor)) {
    if (excluding && m_entries[i].id == *excluding) continue;
    const float score = exact(query, i);
    if (!(score < floor)) kept.push_back({i, score});
  }
  return scoresOf(std::move(kept));
}

}  // namespace brindlemoor
