// FloatFile holds a growing run of floats in a file of its own that no one
// else can open (made unnamed in a given folder, or in the temporary folder
// where that one can't be written; gone when it is closed),
// seen through a read-only mapping. Its pages belong to the system's file
// cache, not to the process: what a scan reads is there while it is wanted,
// and the system takes it back when memory is short, which a block of the
// process's own memory can't offer. Values are written with pwrite, so
// writing them maps nothing into the process.
//
// Thread rules: appends from one thread at a time, with no reader of data()
// meanwhile (an append may move the mapping); reads from any thread.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

#include "core/model/failure.h"

namespace brindlemoor::internal {

class FloatFile {
 public:
  // The file could not be made, grown or written.
  class Failure : public brindlemoor::Failure {
   public:
    using brindlemoor::Failure::Failure;
  };

  // Nothing is made until the first value: an empty FloatFile costs nothing.
  explicit FloatFile(std::filesystem::path directory);
  ~FloatFile();
  FloatFile(FloatFile&& other) noexcept;
  FloatFile& operator=(FloatFile&& other) noexcept;
  FloatFile(const FloatFile&) = delete;
  FloatFile& operator=(const FloatFile&) = delete;

  const float* data() const { return m_data; }
  std::size_t size() const { return m_size; }

  // Makes room for `count` floats in all. Throws Failure.
  void reserve(std::size_t count);
  // Adds `values` at the end; data() may move. Throws Failure (a full disk).
  void append(std::span<const float> values);

 private:
  void close() noexcept;

  std::filesystem::path m_directory;
  int m_fd = -1;
  float* m_data = nullptr;
  std::size_t m_size = 0;
  std::size_t m_capacity = 0;  // in floats, whole pages
};

}  // namespace brindlemoor::internal
