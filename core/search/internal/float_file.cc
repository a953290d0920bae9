#include "core/search/internal/float_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace brindlemoor::internal {
namespace {

std::string reason(const char* what) {
  return std::string(what) + ": " + std::strerror(errno);
}

// An unnamed file in `directory`; where the file system can't make one, a
// named one removed at once; -1 when neither can be made there.
int openUnnamedIn(const std::filesystem::path& directory) {
  int fd = ::open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0) return fd;
  std::string name = (directory / "bm-vectors-XXXXXX").string();
  fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd >= 0) ::unlink(name.c_str());
  return fd;
}

// An unnamed file in `directory`, or else in the temporary folder: a
// library on a read-only medium is still searched.
int openUnnamed(const std::filesystem::path& directory) {
  int fd = openUnnamedIn(directory);
  std::error_code error;
  if (fd < 0) fd = openUnnamedIn(std::filesystem::temp_directory_path(error));
  if (fd < 0) throw FloatFile::Failure(reason("Cannot make the vector file"));
  return fd;
}

}  // namespace

FloatFile::FloatFile(std::filesystem::path directory) : m_directory(std::move(directory)) {}

FloatFile::~FloatFile() {
  close();
}

FloatFile::FloatFile(FloatFile&& other) noexcept
    : m_directory(std::move(other.m_directory)),
      m_fd(std::exchange(other.m_fd, -1)),
      m_data(std::exchange(other.m_data, nullptr)),
      m_size(std::exchange(other.m_size, 0)),
      m_capacity(std::exchange(other.m_capacity, 0)) {}

FloatFile& FloatFile::operator=(FloatFile&& other) noexcept {
  if (this != &other) {
    close();
    m_directory = std::move(other.m_directory);
    m_fd = std::exchange(other.m_fd, -1);
    m_data = std::exchange(other.m_data, nullptr);
    m_size = std::exchange(other.m_size, 0);
    m_capacity = std::exchange(other.m_capacity, 0);
  }
  return *this;
}

void FloatFile::close() noexcept {
  if (m_data) ::munmap(m_data, m_capacity * sizeof(float));
  if (m_fd >= 0) ::close(m_fd);
  m_data = nullptr;
  m_fd = -1;
}

void FloatFile::reserve(std::size_t count) {
  if (count <= m_capacity) return;
  if (m_fd < 0) m_fd = openUnnamed(m_directory);
  const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) / sizeof(float);
  const std::size_t capacity = (count + page - 1) / page * page;
  const std::size_t bytes = capacity * sizeof(float);
  if (::ftruncate(m_fd, static_cast<off_t>(bytes)) != 0) {
    throw Failure(reason("Cannot grow the vector file"));
  }
  void* mapped = m_data ? ::mremap(m_data, m_capacity * sizeof(float), bytes, MREMAP_MAYMOVE)
                        : ::mmap(nullptr, bytes, PROT_READ, MAP_SHARED, m_fd, 0);
  if (mapped == MAP_FAILED) throw Failure(reason("Cannot map the vector file"));
  m_data = static_cast<float*>(mapped);
  m_capacity = capacity;
}

void FloatFile::append(std::span<const float> values) {
  if (values.empty()) return;
  if (m_size + values.size() > m_capacity) {
    reserve(std::max(m_size + values.size(), 2 * m_capacity));
  }
  const char* from = reinterpret_cast<const char*>(values.data());
  std::size_t left = values.size_bytes();
  off_t at = static_cast<off_t>(m_size * sizeof(float));
  while (left > 0) {
    const ssize_t written = ::pwrite(m_fd, from, left, at);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) throw Failure(reason("Cannot write the vector file"));
    from += written;
    at += written;
    left -= static_cast<std::size_t>(written);
  }
  m_size += values.size();
}

}  // namespace brindlemoor::internal
