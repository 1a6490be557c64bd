// Finding a value in a row or column.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "calc/call.h"

namespace ordvane::calc {

// A text that may hold * and ?, with ~ before those that mean themselves; letters of any case.
class Pattern {
 public:
  explicit Pattern(std::string_view text);
  bool matches(std::string_view text) const;
  bool has_wildcards() const { return has_wildcards_; }

 private:
  std::string folded_;
  bool has_wildcards_ = false;
};

// One row or column of a block.
struct Line {
  const Matrix& matrix;
  bool is_row = false;
  std::int32_t at = 0;  // which one
  // The argument that the block is, and where: for lines that are searched time and again.
  const Operand* operand = nullptr;
  Evaluation* evaluation = nullptr;

  std::int32_t size() const { return is_row ? matrix.columns() : matrix.rows(); }
  std::int32_t used() const { return is_row ? matrix.used_columns() : matrix.used_rows(); }
  Value value(std::int32_t position) const {
    return is_row ? matrix.at(at, position) : matrix.at(position, at);
  }
};

// A line whose values stay, with each value's first position found without a search.
class LineIndex {
 public:
  explicit LineIndex(const Line& line);
  // As find_equal has it. Texts must be free of wildcards.
  std::int32_t find(const Value& wanted) const;

 private:
  std::vector<std::pair<double, std::int32_t>> numbers_;  // in their order
  std::unordered_map<std::string, std::int32_t> texts_;   // folded
};

// Position of the first value that equals, -1 for none, and for a blank.
std::int32_t find_equal(const Line& line, const Value& wanted);
// In a line that is in order: position of the last value that does not come behind the wanted one; -1 when
// all do, and for a blank. Values of another kind are passed over.
std::int32_t find_sorted(const Line& line, const Value& wanted, bool descending = false);

}  // namespace ordvane::calc
