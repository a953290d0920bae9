// PipelineLock keeps a library to one pipeline at a time across processes:
// an advisory lock (flock) on the file "pipeline.lock" in the library
// folder. Two pipelines on one library would each ask the model about every
// capture; the lock goes with the process, so one that dies holds nothing.
//
// Thread rules: one thread at a time (the work loop's); others() any thread.
#pragma once

#include <filesystem>

namespace brindlemoor {

class PipelineLock {
 public:
  // Nothing is taken yet. A lock file that can't be made leaves the lock
  // always free: the pipeline then runs as it would alone.
  explicit PipelineLock(const std::filesystem::path& libraryRoot);
  ~PipelineLock();
  PipelineLock(const PipelineLock&) = delete;
  PipelineLock& operator=(const PipelineLock&) = delete;

  // Takes the lock if no one else holds it; true when held.
  bool tryTake();
  // Takes the lock, waiting for whoever holds it.
  void take();
  void release();

 private:
  int m_fd = -1;
};

}  // namespace brindlemoor
