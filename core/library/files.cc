#include "core/library/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace brindlemoor::Files {
namespace {

[[noreturn]] void fail(const std::filesystem::path& path, int error) {
  throw Failure("Cannot write " + path.string() + ": " + std::strerror(error));
}

// A temporary file beside `path`, removed unless it was renamed into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& path) : m_target(path) {
    std::string pattern = path.string() + ".bm-XXXXXX";
    m_descriptor = ::mkstemp(pattern.data());
    if (m_descriptor < 0) fail(path, errno);
    m_path = pattern;
  }
  ~TemporaryFile() {
    if (m_descriptor >= 0) ::close(m_descriptor);
    if (!m_renamed) ::unlink(m_path.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void write(const std::uint8_t* data, std::size_t size) {
    while (size > 0) {
      const ssize_t written = ::write(m_descriptor, data, size);
      if (written < 0) {
        if (errno == EINTR) continue;
        fail(m_target, errno);
      }
      data += written;
      size -= static_cast<std::size_t>(written);
    }
  }

  void commit() {
    const int closed = ::close(m_descriptor);
    m_descriptor = -1;
    if (closed != 0) fail(m_target, errno);  // a full disk can show itself only here
    if (::rename(m_path.c_str(), m_target.c_str()) != 0) fail(m_target, errno);
    m_renamed = true;
  }

 private:
  std::filesystem::path m_target;
  std::filesystem::path m_path;
  int m_descriptor = -1;
  bool m_renamed = false;
};

// Calls `chunk` with the file's contents, piece by piece. Throws Failure
// when the file can't be read, and lets `chunk`'s own failures through.
template <class Chunk>
void readChunks(const std::filesystem::path& path, Chunk&& chunk) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) throw Failure("Cannot read " + path.string() + ": " + std::strerror(errno));
  std::uint8_t buffer[1 << 16];
  try {
    while (true) {
      const ssize_t got = ::read(file, buffer, sizeof buffer);
      if (got == 0) break;
      if (got < 0) {
        if (errno == EINTR) continue;
        throw Failure("Cannot read " + path.string() + ": " + std::strerror(errno));
      }
      chunk(buffer, static_cast<std::size_t>(got));
    }
  } catch (...) {
    ::close(file);
    throw;
  }
  ::close(file);
}

}  // namespace

Bytes read(const std::filesystem::path& path) {
  Bytes bytes;
  readChunks(path, [&](const std::uint8_t* data, std::size_t size) {
    bytes.insert(bytes.end(), data, data + size);
  });
  return bytes;
}

void writeAtomically(const std::filesystem::path& path, const Bytes& bytes) {
  TemporaryFile file(path);
  file.write(bytes.data(), bytes.size());
  file.commit();
}

void copyAtomically(const std::filesystem::path& from, const std::filesystem::path& to) {
  TemporaryFile file(to);
  readChunks(from, [&](const std::uint8_t* data, std::size_t size) { file.write(data, size); });
  file.commit();
}

}  // namespace brindlemoor::Files
