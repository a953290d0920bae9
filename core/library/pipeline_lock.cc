#include "core/library/pipeline_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace brindlemoor {

PipelineLock::PipelineLock(const std::filesystem::path& libraryRoot)
    : m_fd(::open((libraryRoot / "pipeline.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {}

PipelineLock::~PipelineLock() {
  if (m_fd >= 0) ::close(m_fd);
}

bool PipelineLock::tryTake() {
  return m_fd < 0 || ::flock(m_fd, LOCK_EX | LOCK_NB) == 0;
}

void PipelineLock::take() {
  while (m_fd >= 0 && ::flock(m_fd, LOCK_EX) != 0 && errno == EINTR) {
  }
}

void PipelineLock::release() {
  if (m_fd >= 0) ::flock(m_fd, LOCK_UN);
}

}  // namespace brindlemoor
