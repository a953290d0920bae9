// ProgressLine is the line at the foot of a terminal that tells how a long
// command is getting on: each show() writes its text over the last, and
// clear() takes it away, so that what is written next starts on a clean
// line. When standard output is not a terminal it writes nothing, and the
// command writes its lines as it would anyway.
//
// Threads: not safe; a command that reports from several threads holds one
// lock around it.
#pragma once

#include <string_view>

namespace brindlemoor::cli {

class ProgressLine {
 public:
  // Draws when `wanted` and standard output is a terminal.
  explicit ProgressLine(bool wanted);
  // Clears the line, so that a command ended by a failure leaves no half line.
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  bool drawing() const { return m_drawing; }
  // Puts `text` in place of the line, cut to the terminal's width: a line
  // that wrapped could no longer be drawn over.
  void show(std::string_view text);
  void clear();

 private:
  bool m_drawing;
  bool m_shown = false;
};

}  // namespace brindlemoor::cli
