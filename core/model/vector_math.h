// VectorMath is the little arithmetic done on embedding vectors: cosine
// scores for search, collections and related captures, and the unit form in
// which every vector is stored. All functions are pure and safe from any
// thread; none of them can fail.
//
// Every stored vector is a unit vector, so `dot` of two stored vectors is
// their cosine similarity. A vector of another length (left behind by another
// embedding model) scores 0 in `dot` and is skipped by `centroid`.
#pragma once

#include <optional>
#include <span>
#include <vector>

namespace brindlemoor::VectorMath {

// The sum of the products of `a` and `b`, in single precision. 0 when `a` is
// empty or the lengths differ. Search scores every stored vector with this,
// so it allocates nothing; the sum may be associated differently from a
// plain left-to-right loop, which changes only the last bits.
float dot(std::span<const float> a, std::span<const float> b);

// `v` divided by its Euclidean length. An empty vector and a vector of zeros
// are given back as they are.
std::vector<float> unit(std::span<const float> v);

// The unit vector of the sum of `vectors`. The sum is as long as the first
// vector; vectors that are empty or of another length are left out. Nothing
// when `vectors` is empty; an empty vector when the first one is empty.
std::optional<std::vector<float>> centroid(const std::vector<std::vector<float>>& vectors);
// The same for vectors viewed where they lie.
std::optional<std::vector<float>> centroid(const std::vector<std::span<const float>>& vectors);

}  // namespace brindlemoor::VectorMath
