// Tables of separated fields as files have them: rows, their fields, and the numbers in those.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ordvane::runfile {

// Where a row stands, for messages. The name outlives it.
struct RowPlace {
  const std::string* file = nullptr;
  std::int64_t line = 0, last_line = 0;  // of the file; 0: before the first row

  // "FILE:LINE: problem"
  [[noreturn]] void fail(const std::string& problem) const;
};

// The rows of a file, read in one pass through a buffer: lines, save that a quoted text may hold line breaks.
// A byte order mark is left out; UTF-16 is refused.
class RowSource {
 public:
  // Throws BadRun for a file that cannot be read, as all that follows does. `begin`: the byte at which the
  // first row begins, with so many lines before it.
  explicit RowSource(const std::filesystem::path& path, std::int64_t begin = 0, std::int64_t lines = 0);

  const std::string& name() const { return name_; }
  RowPlace place() const { return {&name_, line_, line_ + breaks_}; }  // of the row that was handed out last
  // Of the file, as far as the buffer goes.
  std::int64_t bytes_read() const { return bytes_read_; }

  // Without its line break. False at the end. The row stays valid until the next call.
  bool next(std::string_view& row);

  [[noreturn]] void fail(const std::string& problem) const { place().fail(problem); }

 private:
  std::size_t find_break(std::size_t from);
  bool refill();
  bool flip_at_quotes(bool& inside, std::size_t from, std::size_t end) const;

  std::string name_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0, end_ = 0;  // the part of the buffer that is not handed out yet
  std::int64_t line_ = 0;
  std::int64_t breaks_ = 0;  // inside the row
  std::int64_t bytes_read_ = 0;
};

enum class FieldFault { kNone, kTextBehindQuote, kNeverClosed };
// The field that begins at `at`, without quotes around it; `at` moves to the separator behind it, or to the
// end.
FieldFault take_field(const char*& at, const char* end, char separator, std::string& text);
// " has text behind the closing quote ...": what is wrong with it.
std::string fault_text(FieldFault fault, const std::string& text);

enum class NumberKind { kNone, kNumber, kTooLarge };
// Numbers as programs write them: with blanks around or a plus sign. Numbers too small to be told from zero
// are zero. The words "inf" and "nan" are texts.
NumberKind number_of_field(std::string_view text, double& number);

}  // namespace ordvane::runfile
