// Tables of other programs: a line of column names, then rows, in CSV and its relatives.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runfile/row_source.h"

namespace ordvane::exchange {

// Fields stand between commas, semicolons or tabs, whichever the first line has most of, and may be quoted.
// Between semicolons numbers may have a decimal comma, all or none of them.
class TableFile {
 public:
  // Reads the first line. Throws runfile::BadRun with file, line and column, as all that follows does.
  explicit TableFile(const std::filesystem::path& path);

  const std::string& name() const { return source_.name(); }
  const std::vector<std::string>& columns() const { return columns_; }  // no two are the same
  // The position of a column; none where the table has no such one.
  std::optional<std::size_t> column(std::string_view name) const;

  // The next row, which has a field for each column; empty lines are passed over. False at the end.
  bool next();
  std::int64_t line() const { return source_.place().line; }
  const std::string& field(std::size_t column) const { return fields_[column]; }
  // Nothing for a field that is no number. What looks like one and is written in another way is refused.
  std::optional<double> number(std::size_t column);
  [[noreturn]] void fail(std::size_t column, const std::string& problem) const;

 private:
  void split(std::string_view row, std::vector<std::string>& fields) const;

  runfile::RowSource source_;
  char separator_ = ',';
  char decimal_ = 0;  // of the numbers so far that have decimals, between semicolons
  std::vector<std::string> columns_, fields_;
};

// The names in a list of an option, "A,B" or "A,\"B, net\"". Empty for one that is not written like that.
std::vector<std::string> names_in_list(const std::string& list);

}  // namespace ordvane::exchange
