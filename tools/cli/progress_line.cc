#include "tools/cli/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <string>

#include "core/model/text.h"
#include "tools/cli/visible_output.h"

namespace brindlemoor::cli {
namespace {

// Return to the start of the line; erase from there to its end.
constexpr std::string_view kStart = "\r";
constexpr std::string_view kErase = "\x1b[K";

std::size_t columns() {
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

// Writes `bytes` to the terminal past VisibleOutput, whose filter would show
// the line's own control characters instead of obeying them; what the
// command wrote before goes first.
void draw(std::string_view bytes) {
  std::cout.flush();
  while (!bytes.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;  // the terminal has gone; nothing to tell
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

ProgressLine::ProgressLine(bool wanted) : m_drawing(wanted && ::isatty(STDOUT_FILENO)) {}

ProgressLine::~ProgressLine() {
  clear();
}

void ProgressLine::show(std::string_view text) {
  if (!m_drawing) return;
  // One column is kept free, as a character in the last one leaves some
  // terminals waiting to wrap. A character drawn two columns wide (most of
  // East Asia's, some emoji) still counts as one.
  std::string line(Text::prefix(text, columns() - 1));
  // A newline or tab in a title or a file's name would move the cursor off
  // the line.
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
  draw(std::string(kStart) + visible(line) + std::string(kErase));
  m_shown = true;
}

void ProgressLine::clear() {
  if (!m_shown) return;
  draw(std::string(kStart) + std::string(kErase));
  m_shown = false;
}

}  // namespace brindlemoor::cli
