// Sample captures for tests and benchmarks: valid ids and plausible fields,
// so that each test only states what matters to it.
#pragma once

#include <cstdint>
#include <string>

#include "core/model/capture.h"

namespace brindlemoor::testing {

// A canonical lower-case UUID that is a function of `n`.
std::string sampleID(std::uint64_t n);

// A screen capture at stage `captured`, kept `createdAt` seconds after 1970.
Capture sampleCapture(std::uint64_t n, double createdAt);

}  // namespace brindlemoor::testing
