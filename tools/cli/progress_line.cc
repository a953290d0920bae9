#include "tools/cli/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>

#include "core/model/text.h"

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
      line.begin(), line.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
  std::cout << kStart << line << kErase << std::flush;
  m_shown = true;
}

void ProgressLine::clear() {
  if (!m_shown) return;
  std::cout << kStart << kErase << std::flush;
  m_shown = false;
}

}  // namespace brindlemoor::cli
