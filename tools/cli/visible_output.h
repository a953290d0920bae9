// VisibleOutput keeps a terminal from obeying what the library's text says.
// Titles, summaries and read text come from models, pages and files, and a
// file's name can hold anything: an escape sequence among them could clear
// the screen, retitle the window or hide what was written before it. While
// a VisibleOutput lives, control characters written to standard output and
// standard error, where these are terminals, are shown instead of obeyed.
//
// Threads: make and end one on the main thread, around a command's output;
// what is written meanwhile may come from any thread that writes through
// std::cout and std::cerr under its own lock.
#pragma once

#include <memory>
#include <streambuf>
#include <string>
#include <string_view>

namespace brindlemoor::cli {

// `text` with its control characters shown: each C0 control but line end and
// tab as its Unicode control picture (ESC as "␛"), DEL as "␡", and each C1
// control (U+0080 to U+009F) as "�". Everything else is left as it is.
std::string visible(std::string_view text);

class VisibleOutput {
 public:
  // Filters standard error where it is a terminal, and standard output too
  // when `output` is true. Output for programs (--json) is left exact: JSON
  // escapes the controls in its strings itself.
  explicit VisibleOutput(bool output);
  // Puts the streams back as they were.
  ~VisibleOutput();
  VisibleOutput(const VisibleOutput&) = delete;
  VisibleOutput& operator=(const VisibleOutput&) = delete;

 private:
  class Filter;
  std::unique_ptr<Filter> m_out;
  std::unique_ptr<Filter> m_err;
};

}  // namespace brindlemoor::cli
