// Finding a value in a row or column.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "calc/call.h"

namespace ordvane::calc {

// A text that may hold * and ?, with ~ before those that mean themselves; letters of any case.
class Pattern {
 public:
  explicit Pattern(std::string_view text);
  bool matches(std::string_view text) const;

 private:
  std::string folded_;
  bool has_wildcards_ = false;
};

// One row or column of a block.
struct Line {
  const Matrix& matrix;
  bool is_row = false;
  std::int32_t at = 0;  // which one

  std::int32_t size() const { return is_row ? matrix.columns() : matrix.rows(); }
  std::int32_t used() const { return is_row ? matrix.used_columns() : matrix.used_rows(); }
  Value value(std::int32_t position) const {
    return is_row ? matrix.at(at, position) : matrix.at(position, at);
  }
};

// Position of the first value that equals, -1 for none. A blank finds 0.
std::int32_t find_equal(const Line& line, const Value& wanted);
// In a line that is in order: position of the last value that does not come behind the wanted one; -1 when
// all do. Values of another kind are passed over.
std::int32_t find_sorted(const Line& line, const Value& wanted, bool descending = false);

}  // namespace ordvane::calc
