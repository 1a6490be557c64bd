// The CSV file of a run, read in one pass: its text is never held whole, and every value goes straight to its
// place in the run. Rows of inputs varied one at a time are read on all cores: one takes some rows from the
// file while others read what they took.
#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

#include "host/side_by_side.h"
#include "runfile/binary_columns.h"
#include "runfile/binary_table.h"
#include "runfile/csv_parts.h"
#include "runfile/recalculations.h"
#include "runfile/row_source.h"
#include "runfile/values.h"
#include "text/edit.h"
#include "text/utf8.h"

namespace ordvane::runfile {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Runs up to this size are given their memory at once; a larger one first has to have a file of its size.
constexpr std::int64_t kUnquestionedValues = std::int64_t{1} << 23;
constexpr std::string_view kBlanks = " \t";  // around a field

// Fields of one row after another.
class FieldReader {
 public:
  FieldReader(const RowColumns& columns, std::size_t outputs)
      : leading_(columns), columns_(columns.leading() + outputs) {}

  void start(std::string_view row, const RowPlace& place) {
    row_ = row;
    place_ = place;
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

  std::optional<double> unusual_number(const std::string& text) const {
    double number = 0;
    switch (number_of_field(text, number)) {
      case NumberKind::kNone:
        return std::nullopt;
      case NumberKind::kTooLarge:
        fail("is " + text::quoted_text(text) + "; a number " + kNumberRange + " is expected");
      case NumberKind::kNumber:
        break;
    }
    return number;
  }

  std::string take() {
    std::string text;
    const FieldFault fault = take_field(at_, end_, ',', text);
    if (fault != FieldFault::kNone) fail(fault_text(fault, text));
    return text;
  }

  std::string column_name() const {
    return column_ <= leading_.leading() ? leading_.names[column_ - 1]
                                         : "output" + std::to_string(column_ - leading_.leading());
  }
  [[noreturn]] void fail(const std::string& problem) const {
    place_.fail("column " + column_name() + ": " + problem);
  }
  [[noreturn]] void fail_row(const std::string& problem) const { place_.fail(problem); }

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
    if (place_.last_line > place_.line)
      problem += "; a quoted text goes on to line " + std::to_string(place_.last_line);
    fail_row(problem);
  }

  const RowColumns& leading_;
  const std::size_t columns_;
  std::string_view row_;
  RowPlace place_;
  const char* at_ = nullptr;
  const char* end_ = nullptr;
  std::size_t column_ = 0;  // the one being read, from 1
};

void check_header(RowSource& source, FieldReader& fields, const RowColumns& columns, std::size_t outputs) {
  std::string_view row;
  if (!source.next(row)) source.fail("is empty; a line of column names is expected");
  fields.start(row, source.place());
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

// What is done now and then while the file is read.
class Pauses {
 public:
  Pauses(const std::filesystem::path& csv, const Run& run) : csv_(csv), run_(run) {
    std::error_code error;
    size_ = static_cast<std::int64_t>(std::filesystem::file_size(csv, error));
  }
  template <class Places>
  void row_read(const RowSource& source, const Places& places) {
    const std::int64_t read = source.bytes_read();
    if (read == told_) return;
    told_ = read;
    if (run_.reading.progress) run_.reading.progress(csv_, read, size_);
    if (read - let_go_ < kLetGoAfter) return;
    let_go_ = read;
    places.let_go();
  }

 private:
  static constexpr std::int64_t kLetGoAfter = std::int64_t{1} << 26;  // bytes read

  const std::filesystem::path& csv_;
  const Run& run_;
  std::int64_t size_ = 0, told_ = 0, let_go_ = 0;
};

struct Table {
  const std::filesystem::path& csv;
  Run& run;
  const std::int64_t rows;
  const std::string& expected;  // for messages
  const RowColumns columns;
  const std::size_t outputs = run.outputs.size();

  [[noreturn]] void fail_short(const RowSource& source, std::int64_t read) const {
    source.fail("the file ends after " + counted(read, "row") + "; " + expected);
  }
};

void read_rows(const Table& table, RowSource& source, GroupPlaces places) {
  FieldReader fields(table.columns, table.outputs);
  Pauses pauses(table.csv, table.run);
  std::string_view row;
  for (std::int64_t read = 0; !places.done(); places.next(), ++read) {
    if (!source.next(row)) table.fail_short(source, read);
    fields.start(row, source.place());
    read_row(fields, table.columns, table.outputs, places);
    pauses.row_read(source, places);
  }
}

// Some rows that follow each other.
struct Rows {
  static constexpr std::size_t kMostBytes = std::size_t{1} << 18;

  struct Row {
    std::size_t end;  // in the text
    RowPlace place;
  };

  std::int64_t first = 0;  // of the whole run, from 0
  std::string text;
  std::vector<Row> rows;
};

class RowsSideBySide {
 public:
  RowsSideBySide(const Table& table, RowSource& source, const StepPlaces& places)
      : table_(table), source_(source), places_(places), pauses_(table.csv, table.run) {}

  // On this thread and others. Throws what is wrong with the first row that something is wrong with.
  void read() {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(table_.csv, error);
    const std::size_t pieces = error ? 1 : static_cast<std::size_t>(size / Rows::kMostBytes) + 1;
    host::side_by_side(std::min(host::processors(), pieces), [this] { work(); });
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  // Texts of results are kept in one list.
  struct Places : StepPlaces {
    Places(const StepPlaces& places, std::mutex& lists) : StepPlaces(places), lists_(lists) {}
    void set_text(std::size_t output, std::string_view text) {
      const std::scoped_lock lock(lists_);
      StepPlaces::set_text(output, text);
    }
    std::mutex& lists_;
  };

  void work() {
    std::int64_t row = 0;
    try {
      FieldReader fields(table_.columns, table_.outputs);
      Places places(places_, lists_);
      Rows rows;
      while (take(rows)) {
        row = rows.first;
        places.go_to(row);
        std::size_t begin = 0;
        for (const Rows::Row& each : rows.rows) {
          fields.start(std::string_view(rows.text).substr(begin, each.end - begin), each.place);
          read_row(fields, table_.columns, table_.outputs, places);
          begin = each.end;
          places.next();
          ++row;
        }
      }
    } catch (...) {
      fail(row);
    }
  }

  // Rows are taken in their order, so that those before a faulty one are all read.
  bool take(Rows& rows) {
    const std::scoped_lock lock(file_);
    rows.text.clear();
    rows.rows.clear();
    rows.first = taken_;
    if (has_failed_) return false;
    for (std::string_view row; taken_ < table_.rows && rows.text.size() < Rows::kMostBytes; ++taken_) {
      if (!next(row)) break;
      rows.text += row;
      rows.rows.push_back({rows.text.size(), source_.place()});
    }
    if (std::this_thread::get_id() == caller_) pauses_.row_read(source_, places_);
    return !rows.rows.empty();
  }

  // What is wrong with the file behind the rows that were taken is told when these are found to be right.
  bool next(std::string_view& row) {
    try {
      if (source_.next(row)) return true;
      table_.fail_short(source_, taken_);
    } catch (...) {
      fail(taken_);
    }
    return false;
  }

  void fail(std::int64_t row) {
    const std::scoped_lock lock(failures_);
    if (failure_ && failed_row_ <= row) return;
    failure_ = std::current_exception();
    failed_row_ = row;
    has_failed_ = true;
  }

  const Table& table_;
  RowSource& source_;
  const StepPlaces& places_;
  const std::thread::id caller_ = std::this_thread::get_id();
  std::mutex file_, lists_, failures_;
  Pauses pauses_;
  std::int64_t taken_ = 0;  // rows
  std::atomic<bool> has_failed_ = false;
  std::exception_ptr failure_;
  std::int64_t failed_row_ = 0;
};

void read_rows(const Table& table, RowSource& source, const StepPlaces& places) {
  RowsSideBySide(table, source, places).read();
}

template <class Places>
void read_csv(const std::filesystem::path& csv, Run& run, std::int64_t rows, const std::string& expected) {
  const Table table{csv, run, rows, expected, Places::columns(run)};
  RowSource source(csv);
  FieldReader fields(table.columns, table.outputs);
  check_header(source, fields, table.columns, table.outputs);
  check_size(csv, source, static_cast<std::int64_t>(table.columns.leading() + table.outputs), rows, expected);
  read_rows(table, source, Places(run));
  check_nothing_follows(source, expected);
}

// Rows on their way into a binary table.
template <class Walk>
class BinaryPlaces : public Walk {
 public:
  BinaryPlaces(const Run& run, BinaryColumns& columns) : Walk(run), columns_(columns) {}

  std::optional<double> set_value(std::size_t /*column*/, double value) {
    columns_.add_value(value);
    return std::nullopt;
  }
  void set_result(std::size_t output, double value) { columns_.set_result(output, value); }
  void set_text(std::size_t output, std::string_view text) { columns_.set_text(output, text); }
  void next() {
    columns_.end_row();
    Walk::next();
  }
  void let_go() const {}  // nothing is kept

 private:
  BinaryColumns& columns_;
};

template <class Places>
void read_parts(const std::vector<CsvRows>& csv, std::size_t outputs, const RowColumns& names, Places& places,
                const std::function<void()>& between) {
  constexpr std::int64_t kBetween = 1024;  // rows
  FieldReader fields(names, outputs);
  for (const CsvRows& part : csv) {
    RowSource source(part.file, part.begin, part.lines);
    std::string_view row;
    for (std::int64_t read = 0; read < part.rows; ++read, places.next()) {
      if (read % kBetween == 0) between();
      if (!source.next(row))
        source.fail("the file ends after " + counted(read, "row") + " of " + std::to_string(part.rows));
      fields.start(row, source.place());
      read_row(fields, names, outputs, places);
    }
    places.let_go();
  }
}

template <class Walk>
void csv_to_binary(const std::vector<CsvRows>& csv, const Run& run, BinaryColumns columns,
                   const std::function<void()>& between) {
  BinaryPlaces<Walk> places(run, columns);
  read_parts(csv, run.outputs.size(), Walk::columns(run), places, between);
  columns.finish();
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

void read_csv_parts(const std::vector<CsvRows>& csv, Run& run, const std::function<void()>& between) {
  count_rows(run, run.file.string());
  StepPlaces places(run);
  read_parts(csv, run.outputs.size(), StepPlaces::columns(run), places, between);
}

void read_csv_group_parts(const std::vector<CsvRows>& csv, Run& run, const std::function<void()>& between) {
  count_group_rows(run, run.file.string());
  GroupPlaces places(run);
  read_parts(csv, run.outputs.size(), GroupPlaces::columns(run), places, between);
}

void csv_to_binary_rows(const std::vector<CsvRows>& csv, Run& run, const WriteAt& write,
                        const std::function<void()>& between) {
  count_rows(run, run.file.string());
  csv_to_binary<StepWalk>(csv, run, BinaryColumns(run, TableKind::kSingles, write), between);
}

void csv_to_binary_group_rows(const std::vector<CsvRows>& csv, Run& run, const WriteAt& write,
                              const std::function<void()>& between) {
  count_rows(run, run.file.string());
  count_group_rows(run, run.file.string());
  csv_to_binary<GroupWalk>(csv, run, BinaryColumns(run, TableKind::kGroups, write), between);
}

}  // namespace ordvane::runfile
