#include "core/media/ocr_thread_limit.h"

#include <unistd.h>

#include <cstdlib>

namespace brindlemoor {

void requireOcrThreadLimit(char* argv[]) {
  if (std::getenv("OMP_THREAD_LIMIT") != nullptr) return;
  if (setenv("OMP_THREAD_LIMIT", "1", 1) != 0) return;
  // The running executable itself, wherever it was started from.
  execv("/proc/self/exe", argv);
}

}  // namespace brindlemoor
