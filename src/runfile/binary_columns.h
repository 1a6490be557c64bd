// A binary table whose rows come one by one: of its columns no more is held than a piece of each.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "runfile/binary_layout.h"
#include "runfile/binary_table.h"
#include "runfile/run.h"
#include "runfile/values.h"

namespace ordvane::runfile {

class BinaryColumns {
 public:
  // The rows of `run` are counted.
  BinaryColumns(const Run& run, TableKind kind, const WriteAt& write);

  // What the inputs were set to in this row; its results, each of them; what those that are texts say.
  void add_value(double value) { values_.push_back(coded(value)); }
  void set_result(std::size_t output, double value) { results_[place_of(output)] = coded(value); }
  void set_text(std::size_t output, std::string_view text) {
    results_[place_of(output)] = marked(marks_.mark(text));
  }
  void end_row();
  // Behind the last row.
  void finish();

 private:
  std::size_t place_of(std::size_t output) const { return output * rows_held_ + row_; }
  void write_piece();

  TableHead head_;
  const WriteAt& write_;
  TextMarks marks_;
  std::size_t rows_held_;        // at most
  std::size_t row_ = 0;          // of those that are held
  std::uint64_t written_ = 0;    // rows
  std::uint64_t values_at_;      // where the next values go
  std::vector<double> values_;   // of the rows that are held
  std::vector<double> results_;  // [output][row]
};

}  // namespace ordvane::runfile
