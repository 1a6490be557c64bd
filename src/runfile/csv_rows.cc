// The CSV file of a run, read in one pass through a fixed buffer: its text is never held whole, and every
// value goes straight to its place in the run.
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <system_error>

#include "runfile/recalculations.h"
#include "runfile/values.h"
#include "text/edit.h"
#include "text/utf8.h"

namespace ordvane::runfile {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
constexpr std::size_t kLongestRow = std::size_t{1} << 26;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Runs up to this size are given their memory at once; a larger one first has to have a file of its size.
constexpr std::int64_t kUnquestionedValues = std::int64_t{1} << 23;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t";  // around a field

// The rows of a file: lines, save that a quoted text may hold line breaks.
class RowSource {
 public:
  explicit RowSource(const std::filesystem::path& path)
      : name_(path.string()), file_(nullptr, &std::fclose), buffer_(kBufferSize) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
      if (!error && std::filesystem::exists(path)) fail("is not a file");
      fail("cannot be read: " +
           (error ? error : std::make_error_code(std::errc::no_such_file_or_directory)).message());
    }
    file_.reset(std::fopen(name_.c_str(), "rb"));
    if (!file_) fail("cannot be read: " + std::generic_category().message(errno));
    std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  }

  const std::string& name() const { return name_; }
  std::int64_t line() const { return line_; }  // the row's first line; 0 before the first row
  std::int64_t last_line() const { return line_ + breaks_; }

  // Without its line break. The row stays valid until the next call.
  bool next(std::string_view& row) {
    line_ += breaks_;
    breaks_ = 0;
    std::size_t from = 0;
    std::size_t end = find_break(from);
    if (end == begin_ && end == end_) return false;
    ++line_;
    for (bool inside = false; flip_at_quotes(inside, from, end); end = find_break(from)) {
      if (end == end_) break;
      ++breaks_;
      from = end + 1 - begin_;
    }
    row = {buffer_.data() + begin_, end - begin_};
    begin_ = end == end_ ? end : end + 1;
    if (row.ends_with('\r')) row.remove_suffix(1);
    return true;
  }

  [[noreturn]] void fail(const std::string& problem) const {
    throw BadRun(name_, line_ > 0 ? std::to_string(line_) : "", problem);
  }

 private:
  // Position of the next line break at or after begin_ + from; end_ when the file has none.
  std::size_t find_break(std::size_t from) {
    for (;;) {
      const char* start = buffer_.data() + begin_ + from;
      const std::size_t size = end_ - begin_ - from;
      if (const void* found = std::memchr(start, '\n', size))
        return static_cast<std::size_t>(static_cast<const char*>(found) - buffer_.data());
      from += size;
      if (!refill()) return end_;
    }
  }

  // Appends what the file has next. False at its end.
  bool refill() {
    if (begin_ > 0) {
      std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
      end_ -= begin_;
      begin_ = 0;
    }
    if (end_ == buffer_.size()) {
      if (end_ >= kLongestRow)
        fail("this row is longer than any row of a run; is a quoted text never closed?");
      buffer_.resize(2 * buffer_.size());
    }
    const std::size_t size = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_.get());
    if (size == 0 && std::ferror(file_.get()))
      fail("cannot be read: " + std::generic_category().message(errno));
    end_ += size;
    return size > 0;
  }

  // Follows the quotes from begin_ + from up to `end`; the result is whether a quoted text is open there.
  bool flip_at_quotes(bool& inside, std::size_t from, std::size_t end) const {
    const char* at = buffer_.data() + begin_ + from;
    const char* const stop = buffer_.data() + end;
    while ((at = static_cast<const char*>(std::memchr(at, '"', static_cast<std::size_t>(stop - at))))) {
      inside = !inside;
      ++at;
    }
    return inside;
  }

  std::string name_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0, end_ = 0;  // the part of the buffer that is not handed out yet
  std::int64_t line_ = 0;
  std::int64_t breaks_ = 0;  // inside the row
};

// Fields of one row after another.
class FieldReader {
 public:
  FieldReader(const RowSource& source, const RowColumns& columns, std::size_t outputs)
      : source_(source), leading_(columns), columns_(columns.leading() + outputs) {}

  void start(std::string_view row) {
    row_ = row;
    at_ = row.data();
    end_ = row.data() + row.size();
    column_ = 0;
  }

  void expect_position(std::int32_t expected) {
    enter();
    std::int32_t value = 0;
    const auto [stop, error] = std::from_chars(at_, end_, value);
    if (error == std::errc() && value == expected && at_field_end(stop)) {
      at_ = stop;
      return;
    }
    const std::string text = take();
    const std::string wanted = std::to_string(expected);
    if (text::trimmed(text, kBlanks) != wanted)
      fail("is " + text::quoted_text(text) + "; " + wanted + " is expected (rows go by " + leading_.order +
           ")");
  }

  double value() {
    std::string text;
    if (const auto number = number_or_nothing(text)) return *number;
    fail("is " + text::quoted_text(text) + "; a number or an empty field is expected");
  }

  void expect_nothing() {
    enter();
    const std::string text = take();
    if (!text.empty())
      fail("is " + text::quoted_text(text) + "; an empty field is expected (the group has fewer members)");
  }

  [[noreturn]] void fail_value(double value, double wanted) const {
    fail("is " + value_text(value) + "; " + as_at_this_step(wanted) + " is expected");
  }

  template <class Places>
  void put_result(Places& places, std::size_t output) {
    std::string text;
    if (const auto number = number_or_nothing(text)) return places.set_result(output, *number);
    if (text::first_invalid_byte(text) != std::string_view::npos)
      fail("is " + text::quoted_text(text) + ", which is not UTF-8 text");
    put_text_result(places, output, text::trimmed(text, kBlanks));
  }

  void expect_name(const std::string& expected) {
    enter();
    const std::string text = take();
    if (text::trimmed(text, kBlanks) == expected) return;
    if (column_ == 1 && text.find_first_of(";\t") != std::string::npos)
      fail_row("fields are separated by commas, not by " +
               std::string(text.find(';') != std::string::npos ? "semicolons" : "tabs"));
    fail("is named " + text::quoted_text(text) + "; " + expected + " is expected");
  }

  void finish() {
    if (at_ != end_) fail_count();
  }

 private:
  bool at_field_end(const char* at) const { return at == end_ || *at == ','; }

  // Steps to the next column, past the comma before it.
  void enter() {
    if (at_ == end_ && (column_ > 0 || row_.empty())) fail_count();
    if (column_ > 0) ++at_;
    ++column_;
  }

  // The next field's number, NaN for an empty field; nothing for any other, which `text` receives.
  std::optional<double> number_or_nothing(std::string& text) {
    enter();
    double number = 0;
    if (quick_number(number)) return number;
    text = take();
    if (text.empty()) return kNaN;
    return unusual_number(text);
  }

  // Whole, in range, and the field's only content.
  bool quick_number(double& number) {
    const auto [stop, error] = std::from_chars(at_, end_, number);
    if (error != std::errc() || !at_field_end(stop) || !(std::fabs(number) < kNumberLimit)) return false;
    at_ = stop;
    return true;
  }

  // Numbers as other programs may write them: quoted, with blanks around or a plus sign. Numbers too small to
  // be told from zero are zero; too large ones are refused.
  std::optional<double> unusual_number(const std::string& text) const {
    std::string_view digits = text::trimmed(text, kBlanks);
    if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
    double number = 0;
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc::invalid_argument || stop != digits.data() + digits.size()) return std::nullopt;
    if (error == std::errc::result_out_of_range) {
      if (digits.find("e-") != std::string_view::npos || digits.find("E-") != std::string_view::npos)
        return 0;
      number = kNumberLimit;
    } else if (!std::isfinite(number)) {
      return std::nullopt;  // the words "inf" and "nan" are texts
    }
    if (!(std::fabs(number) < kNumberLimit))
      fail("is " + text::quoted_text(text) + "; a number " + kNumberRange + " is expected");
    return number;
  }

  // The field's text, without the quotes around it.
  std::string take() {
    if (at_ == end_ || *at_ != '"') {
      const char* const start = at_;
      while (!at_field_end(at_)) ++at_;
      return {start, at_};
    }
    std::string text;
    for (++at_; at_ != end_; ++at_) {
      if (*at_ == '"' && (++at_ == end_ || *at_ != '"')) {
        if (!at_field_end(at_)) fail("has text behind the closing quote of " + text::quoted_text(text));
        return text;
      }
      text += *at_;
    }
    fail("starts a quoted text that is never closed");
  }

  std::string column_name() const {
    return column_ <= leading_.leading() ? leading_.names[column_ - 1]
                                         : "output" + std::to_string(column_ - leading_.leading());
  }
  [[noreturn]] void fail(const std::string& problem) const {
    source_.fail("column " + column_name() + ": " + problem);
  }
  [[noreturn]] void fail_row(const std::string& problem) const { source_.fail(problem); }

  [[noreturn]] void fail_count() const {
    std::size_t fields = 1;
    bool inside = false;
    for (const char character : row_) {
      if (character == '"') inside = !inside;
      if (character == ',' && !inside) ++fields;
    }
    const std::string wanted = std::to_string(columns_);
    std::string problem = "an empty line; " + wanted + " fields are expected";
    if (!row_.empty())
      problem = std::to_string(fields) + (fields == 1 ? " field; " : " fields; ") + wanted + " are expected";
    std::string names;
    for (const std::string& name : leading_.names) names += (names.empty() ? "" : ", ") + name;
    problem += " (" + names + " and " +
               counted(static_cast<std::int64_t>(columns_ - leading_.leading()), "output") + ")";
    if (source_.last_line() > source_.line())
      problem += "; a quoted text goes on to line " + std::to_string(source_.last_line());
    fail_row(problem);
  }

  const RowSource& source_;
  const RowColumns& leading_;
  const std::size_t columns_;
  std::string_view row_;
  const char* at_ = nullptr;
  const char* end_ = nullptr;
  std::size_t column_ = 0;  // the one being read, from 1
};

void check_header(RowSource& source, FieldReader& fields, const RowColumns& columns, std::size_t outputs) {
  std::string_view row;
  if (!source.next(row)) source.fail("is empty; a line of column names is expected");
  if (row.starts_with(kByteOrderMark)) row.remove_prefix(kByteOrderMark.size());
  if (row.starts_with("\xFF\xFE") || row.starts_with("\xFE\xFF"))
    source.fail("is UTF-16 text; UTF-8 is expected");
  fields.start(row);
  for (const std::string& name : columns.names) fields.expect_name(name);
  for (std::size_t output = 1; output <= outputs; ++output)
    fields.expect_name("output" + std::to_string(output));
  fields.finish();
}

// Before room is made for it: a run of this many rows takes a file of at least this size.
void check_size(const std::filesystem::path& csv, const RowSource& source, std::int64_t columns,
                std::int64_t rows, const std::string& expected) {
  if (rows <= kUnquestionedValues / columns) return;
  const std::int64_t least = columns + 3;  // commas, a line break and three digits
  std::error_code error;
  const auto size = std::filesystem::file_size(csv, error);
  if (error || static_cast<std::int64_t>(size / static_cast<std::uintmax_t>(least)) < rows)
    throw BadRun(source.name(), "", "the file is too short: " + expected);
}

void check_nothing_follows(RowSource& source, const std::string& expected) {
  std::string_view row;
  while (source.next(row))
    if (!row.empty()) source.fail("a row too many; " + expected);
}

template <class Places>
void read_row(FieldReader& fields, const RowColumns& columns, std::size_t outputs, Places& places) {
  for (std::size_t column = 0; column < kPositionColumns; ++column)
    fields.expect_position(places.expected(column));
  for (std::size_t column = 0; column < columns.values(); ++column) {
    if (column >= places.values()) {
      fields.expect_nothing();
      continue;
    }
    const double value = fields.value();
    if (const auto wanted = places.set_value(column, value)) fields.fail_value(value, *wanted);
  }
  for (std::size_t output = 0; output < outputs; ++output) fields.put_result(places, output);
  fields.finish();
}

template <class Places>
void read_csv(const std::filesystem::path& csv, Run& run, std::int64_t rows, const std::string& expected) {
  const std::size_t outputs = run.outputs.size();
  const RowColumns columns = Places::columns(run);
  RowSource source(csv);
  FieldReader fields(source, columns, outputs);
  check_header(source, fields, columns, outputs);
  check_size(csv, source, static_cast<std::int64_t>(columns.leading() + outputs), rows, expected);
  std::string_view row;
  std::int64_t read = 0;
  for (Places places(run); !places.done(); places.next(), ++read) {
    if (!source.next(row)) source.fail("the file ends after " + counted(read, "row") + "; " + expected);
    fields.start(row);
    read_row(fields, columns, outputs, places);
  }
  check_nothing_follows(source, expected);
}

}  // namespace

void read_csv_rows(const std::filesystem::path& csv, Run& run) {
  const std::int64_t rows = count_rows(run, run.file.string());
  read_csv<StepPlaces>(csv, run, rows, rows_expected(run, run.recalculations));
}

void read_csv_group_rows(const std::filesystem::path& csv, Run& run) {
  const std::int64_t rows = count_group_rows(run, run.file.string());
  read_csv<GroupPlaces>(csv, run, rows, rows_expected(run, run.group_recalculations));
}

}  // namespace ordvane::runfile
