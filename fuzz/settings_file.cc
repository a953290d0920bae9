// A settings file, whatever its bytes, read for a key.
#include <cstdint>
#include <sstream>
#include <string>

#include "tools/common/settings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  (void)brindlemoor::Settings::value(in, "visionModel");
  return 0;
}
