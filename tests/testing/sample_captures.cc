#include "tests/testing/sample_captures.h"

#include <cstdio>

namespace brindlemoor::testing {

std::string sampleID(std::uint64_t n) {
  char id[37];
  std::snprintf(id, sizeof id, "%08llx-0000-4000-8000-%012llx",
                static_cast<unsigned long long>(n >> 48),
                static_cast<unsigned long long>(n & 0xffffffffffffULL));
  return id;
}

Capture sampleCapture(std::uint64_t n, double createdAt) {
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
