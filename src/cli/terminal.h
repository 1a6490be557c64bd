// What the command knows about the terminal: its width, its characters, and one line of progress.
#pragma once

#include <string>
#include <string_view>

#include "unicode/columns.h"

namespace ordvane::cli {

// Columns of standard output: COLUMNS, else what the terminal says, else 80.
int terminal_width();
// The locale's characters are UTF-8, so that bars and names can be drawn with more than ASCII.
bool terminal_is_utf8();

// Standard output is a terminal with colours, and NO_COLOR is not set; CLICOLOR_FORCE does without a
// terminal.
bool terminal_has_colors();
enum class Ink { kLow, kHigh, kHeading, kQuiet };
// The text in a colour, where there are colours.
std::string inked(const std::string& text, Ink ink);

// A text for the terminal: control characters, and what the locale cannot show, become "?". A terminal that
// is not for UTF-8 gets ASCII alone.
std::string printable(std::string_view text);
// A printable text in exactly `columns` columns: filled up, or cut with a mark.
std::string fitted(std::string_view text, int columns, unicode::Side side = unicode::Side::kLeft);

// One line on standard error, written over by the next, gone when the object is. Shows nothing when standard
// error is no terminal.
class ProgressLine {
 public:
  explicit ProgressLine(bool wanted);
  ~ProgressLine() { clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void show(std::string_view text);
  void clear();

 private:
  bool enabled_;
  bool shown_ = false;
};

}  // namespace ordvane::cli
