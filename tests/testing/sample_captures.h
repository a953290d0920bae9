// Sample captures with valid ids and plausible fields, so that each test
// states only what matters to it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "core/model/capture.h"

namespace brindlemoor::testing {

// A canonical lower-case UUID.
inline std::string sampleID(std::uint64_t n) {
  char id[37];
  std::snprintf(id, sizeof id, "%08llx-0000-4000-8000-%012llx",
                static_cast<unsigned long long>(n >> 48),
                static_cast<unsigned long long>(n & 0xffffffffffffULL));
  return id;
}

inline Capture sampleCapture(std::uint64_t n, double createdAt) {
  Capture capture;
  capture.id = sampleID(n);
  capture.createdAt = dateFromSeconds(createdAt);
  capture.app = "Firefox";
  capture.bundleID = "firefox";
  capture.windowTitle = "Window " + std::to_string(n);
  capture.width = 1440;
  capture.height = 900;
  return capture;
}

}  // namespace brindlemoor::testing
