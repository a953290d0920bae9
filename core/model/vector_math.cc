#include "core/model/vector_math.h"

#include <cmath>
#include <cstddef>

namespace brindlemoor::VectorMath {

namespace {

// Independent partial sums let the compiler keep whole SIMD registers of
// products in flight without -ffast-math, which it may not do for a single
// running sum because float addition does not associate.
constexpr std::size_t kLanes = 16;

float sumOfProducts(const float* a, const float* b, std::size_t n) {
  float partial[kLanes] = {};
  std::size_t i = 0;
  for (; i + kLanes <= n; i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) partial[lane] += a[i + lane] * b[i + lane];
  }
  float sum = 0.0f;
  for (float p : partial) sum += p;
  for (; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

// sum += v, lane by lane. Each element is still the plain sum in order, so
// the result is that of a scalar loop; reading a block before writing it
// lets the compiler add whole registers although the two may overlap.
void addTo(float* sum, const float* v, std::size_t n) {
  std::size_t i = 0;
  for (; i + kLanes <= n; i += kLanes) {
    float block[kLanes];
    for (std::size_t lane = 0; lane < kLanes; ++lane) block[lane] = sum[i + lane] + v[i + lane];
    for (std::size_t lane = 0; lane < kLanes; ++lane) sum[i + lane] = block[lane];
  }
  for (; i < n; ++i) sum[i] += v[i];
}

}  // namespace

float dot(std::span<const float> a, std::span<const float> b) {
  if (a.empty() || a.size() != b.size()) return 0.0f;
  return sumOfProducts(a.data(), b.data(), a.size());
}

std::vector<float> unit(std::span<const float> v) {
  std::vector<float> result(v.begin(), v.end());
  if (v.empty()) return result;
  const float length = std::sqrt(sumOfProducts(v.data(), v.data(), v.size()));
  if (length > 0.0f) {
    for (float& x : result) x /= length;
  }
  return result;
}

std::optional<std::vector<float>> centroid(const std::vector<std::span<const float>>& vectors) {
  if (vectors.empty()) return std::nullopt;
  std::vector<float> sum(vectors.front().size(), 0.0f);
  for (const auto v : vectors) {
    if (v.empty() || v.size() != sum.size()) continue;
    addTo(sum.data(), v.data(), sum.size());
  }
  return unit(sum);
}

std::optional<std::vector<float>> centroid(const std::vector<std::vector<float>>& vectors) {
  return centroid(std::vector<std::span<const float>>(vectors.begin(), vectors.end()));
}

}  // namespace brindlemoor::VectorMath
