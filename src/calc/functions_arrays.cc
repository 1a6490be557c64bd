// Functions whose result is a block: filtered, sorted, put together. Excel has them, LibreOffice 7.4 has not.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "calc/convert.h"
#include "calc/functions.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

using Positions = std::vector<std::int32_t>;

constexpr std::int64_t kMostCells = 4000000;

// Blank cells show 0 in what is made of them.
Value shown(const Value& value) {
  return value.is_blank() ? Value(0.0) : value;
}

// A block by rows; by columns when it is turned.
struct Block {
  Matrix cells;
  bool turned = false;

  std::int32_t rows() const { return turned ? cells.columns() : cells.rows(); }
  std::int32_t columns() const { return turned ? cells.rows() : cells.columns(); }
  Value at(std::int32_t row, std::int32_t column) const {
    return turned ? cells.at(column, row) : cells.at(row, column);
  }
};

Operand rows_of(Call& call, const Block& block, const Positions& rows) {
  if (rows.empty()) return ErrorCode::kValue;
  if (static_cast<std::int64_t>(rows.size()) * block.columns() > kMostCells) return ErrorCode::kArgument;
  const auto count = static_cast<std::int32_t>(rows.size());
  Array& result =
      block.turned ? call.make_array(block.columns(), count) : call.make_array(count, block.columns());
  for (std::int32_t i = 0; i < count; ++i)
    for (std::int32_t column = 0; column < block.columns(); ++column)
      (block.turned ? result.at(column, i) : result.at(i, column)) =
          shown(block.at(rows[static_cast<std::size_t>(i)], column));
  return &result;
}

Positions all_rows(const Block& block) {
  Positions rows(static_cast<std::size_t>(block.rows()));
  std::iota(rows.begin(), rows.end(), 0);
  return rows;
}

// Numbers, then texts, then booleans, then errors; blanks are last whichever way is sorted.
int rank_of(const Value& value) {
  switch (value.kind()) {
    case Kind::kText:
      return 1;
    case Kind::kBoolean:
      return 2;
    case Kind::kError:
      return 3;
    default:
      return 0;
  }
}

int order_of(const Value& a, const Value& b) {
  if (rank_of(a) != rank_of(b)) return rank_of(a) < rank_of(b) ? -1 : 1;
  if (a.is_text()) return compare_texts(a.text(), b.text());
  return a.is_error() ? 0 : compare(a.number(), b.number());
}

bool comes_first(const Value& a, const Value& b, int direction) {
  if (a.is_blank() || b.is_blank()) return !a.is_blank() && b.is_blank();
  return order_of(a, b) * direction < 0;
}

Operand call_filter(Call& call) {
  const Matrix kept = call.matrix(1);
  const bool by_column = kept.columns() > 1 && kept.rows() == 1;
  const Block block{call.matrix(0), by_column};
  if (kept.size() != block.rows()) return ErrorCode::kValue;
  Positions rows;
  for (std::int32_t row = 0; row < block.rows(); ++row) {
    const Value keep = kept.at(std::int64_t{row});
    if (keep.is_error()) return keep;
    if (call.number_of(keep) != 0) rows.push_back(row);
  }
  if (rows.empty() && !call.missing(2)) return call.operand(2);
  return rows_of(call, block, rows);
}

Operand call_sort(Call& call) {
  const std::int64_t index = call.missing(1) ? 1 : call.whole(1);
  const double direction = call.missing(2) ? 1 : call.number(2);
  const Block block{call.matrix(0), call.logical(3, false)};
  if (index < 1 || index > block.columns() || (direction != 1 && direction != -1)) return ErrorCode::kValue;
  Positions rows = all_rows(block);
  const auto column = static_cast<std::int32_t>(index - 1);
  std::stable_sort(rows.begin(), rows.end(), [&](std::int32_t a, std::int32_t b) {
    return comes_first(block.at(a, column), block.at(b, column), direction > 0 ? 1 : -1);
  });
  return rows_of(call, block, rows);
}

Operand call_sortby(Call& call) {
  const Matrix first = call.matrix(1);
  const Block block{call.matrix(0), first.columns() > 1};
  struct Key {
    Matrix values;
    int direction;
  };
  std::vector<Key> keys;
  for (int argument = 1; argument < call.count(); argument += 2) {
    keys.push_back(
        {call.matrix(argument), call.missing(argument + 1) || call.number(argument + 1) > 0 ? 1 : -1});
    if (keys.back().values.size() != block.rows()) return ErrorCode::kValue;
  }
  Positions rows = all_rows(block);
  std::stable_sort(rows.begin(), rows.end(), [&](std::int32_t a, std::int32_t b) {
    for (const Key& key : keys) {
      const Value x = key.values.at(std::int64_t{a}), y = key.values.at(std::int64_t{b});
      if (comes_first(x, y, key.direction)) return true;
      if (comes_first(y, x, key.direction)) return false;
    }
    return false;
  });
  return rows_of(call, block, rows);
}

bool same_rows(const Block& block, std::int32_t a, std::int32_t b) {
  for (std::int32_t column = 0; column < block.columns(); ++column)
    if (order_of(shown(block.at(a, column)), shown(block.at(b, column))) != 0) return false;
  return true;
}

Operand call_unique(Call& call) {
  const Block block{call.matrix(0), call.logical(1, false)};
  const bool once = call.logical(2, false);
  Positions sorted = all_rows(block);
  const auto before = [&](std::int32_t a, std::int32_t b) {
    for (std::int32_t column = 0; column < block.columns(); ++column) {
      const int order = order_of(shown(block.at(a, column)), shown(block.at(b, column)));
      if (order != 0) return order < 0;
    }
    return false;
  };
  std::stable_sort(sorted.begin(), sorted.end(), before);
  Positions rows;
  for (std::size_t i = 0; i < sorted.size();) {
    std::size_t end = i + 1;
    while (end < sorted.size() && same_rows(block, sorted[i], sorted[end])) ++end;
    if (!once || end == i + 1) rows.push_back(sorted[i]);
    i = end;
  }
  std::sort(rows.begin(), rows.end());
  return rows_of(call, block, rows);
}

Operand call_sequence(Call& call) {
  const std::int64_t rows = call.missing(0) ? 1 : call.whole(0);
  const std::int64_t columns = call.missing(1) ? 1 : call.whole(1);
  const double start = call.missing(2) ? 1 : call.number(2);
  const double step = call.missing(3) ? 1 : call.number(3);
  if (rows < 1 || columns < 1 || rows > kMostCells || rows * columns > kMostCells) return ErrorCode::kValue;
  Array& result = call.make_array(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(columns));
  double count = 0;
  for (Value& value : result.values) value = start + step * count++;
  return &result;
}

Operand call_randarray(Call& call) {
  const std::int64_t rows = call.missing(0) ? 1 : call.whole(0);
  const std::int64_t columns = call.missing(1) ? 1 : call.whole(1);
  const double least = call.missing(2) ? 0 : call.number(2), most = call.missing(3) ? 1 : call.number(3);
  const bool whole = call.logical(4, false);
  if (rows < 1 || columns < 1 || rows > kMostCells || rows * columns > kMostCells || least > most)
    return ErrorCode::kValue;
  Array& result = call.make_array(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(columns));
  for (Value& value : result.values)
    value = whole ? std::floor(least + call.random() * (most - least + 1))
                  : least + call.random() * (most - least);
  return &result;
}

// ---- Parts of blocks ----

// The first or, when negative, the last of a number of positions.
Positions taken(Call& call, int argument, std::int32_t length, bool dropped) {
  std::int64_t count = call.missing(argument) ? (dropped ? 0 : length) : call.whole(argument);
  const bool from_end = count < 0;
  count = std::min<std::int64_t>(std::abs(count), length);
  const std::int64_t cut = dropped ? count : length - count;
  const std::int64_t first = from_end != dropped ? cut : 0;
  Positions positions(static_cast<std::size_t>(length - cut));
  std::iota(positions.begin(), positions.end(), static_cast<std::int32_t>(first));
  return positions;
}

Operand part_of(Call& call, const Positions& rows, const Positions& columns) {
  const Matrix matrix = call.matrix(0);
  if (rows.empty() || columns.empty()) return ErrorCode::kValue;
  Array& result =
      call.make_array(static_cast<std::int32_t>(rows.size()), static_cast<std::int32_t>(columns.size()));
  auto value = result.values.begin();
  for (const std::int32_t row : rows)
    for (const std::int32_t column : columns) *value++ = shown(matrix.at(row, column));
  return &result;
}

template <bool dropped>
Operand call_taken(Call& call) {
  const Matrix matrix = call.matrix(0);
  const Positions rows = taken(call, 1, matrix.rows(), dropped);
  return part_of(call, rows, taken(call, 2, matrix.columns(), dropped));
}

template <bool of_rows>
Operand call_chosen(Call& call) {
  const Matrix matrix = call.matrix(0);
  const std::int32_t length = of_rows ? matrix.rows() : matrix.columns();
  Positions chosen;
  call.each_number(1, [&](double number) {
    const double position = std::trunc(number);
    if (position == 0 || std::fabs(position) > length) return call.fail(ErrorCode::kValue);
    chosen.push_back(static_cast<std::int32_t>(position < 0 ? length + position : position - 1));
  });
  if (call.failed()) return 0.0;
  const Positions rows = all_rows({matrix}), columns = all_rows({matrix, true});
  return of_rows ? part_of(call, chosen, columns) : part_of(call, rows, chosen);
}

// Blocks under one another, or beside; what is missing at their ends is #N/A.
template <bool down>
Operand call_stacked(Call& call) {
  std::int32_t length = 0, width = 0;
  for (int argument = 0; argument < call.count(); ++argument) {
    const Block block{call.matrix(argument), !down};
    length += block.rows();
    width = std::max(width, block.columns());
  }
  if (std::int64_t{length} * width > kMostCells) return ErrorCode::kArgument;
  Array& result = down ? call.make_array(length, width) : call.make_array(width, length);
  std::fill(result.values.begin(), result.values.end(), Value(ErrorCode::kNotAvailable));
  std::int32_t at = 0;
  for (int argument = 0; argument < call.count(); ++argument) {
    const Block block{call.matrix(argument), !down};
    for (std::int32_t row = 0; row < block.rows(); ++row, ++at)
      for (std::int32_t column = 0; column < block.columns(); ++column)
        (down ? result.at(at, column) : result.at(column, at)) = shown(block.at(row, column));
  }
  return &result;
}

// All values in one column or row; `ignored`: 1 without blanks, 2 without errors, 3 without either.
template <bool down>
Operand call_in_line(Call& call) {
  const std::int64_t ignored = call.whole(1, 0);
  const Block block{call.matrix(0), call.logical(2, false)};
  std::vector<Value> values;
  for (std::int32_t row = 0; row < block.rows(); ++row) {
    for (std::int32_t column = 0; column < block.columns(); ++column) {
      const Value value = block.at(row, column);
      if ((ignored & 1) != 0 && value.is_blank()) continue;
      if ((ignored & 2) != 0 && value.is_error()) continue;
      values.push_back(shown(value));
    }
  }
  if (values.empty()) return ErrorCode::kValue;
  const auto count = static_cast<std::int32_t>(values.size());
  Array& result = down ? call.make_array(count, 1) : call.make_array(1, count);
  result.values = std::move(values);
  return &result;
}

constexpr Function kArraysFunctions[] = {
    {"CHOOSECOLS", 2, kAnyNumber, "a", call_chosen<false>, nullptr, kGivesArrays},
    {"CHOOSEROWS", 2, kAnyNumber, "a", call_chosen<true>, nullptr, kGivesArrays},
    {"DROP", 2, 3, "ass", call_taken<true>, nullptr, kGivesArrays},
    {"FILTER", 2, 3, "a", call_filter, nullptr, kGivesArrays},
    {"HSTACK", 1, kAnyNumber, "a", call_stacked<false>, nullptr, kGivesArrays},
    {"RANDARRAY", 0, 5, "s", call_randarray, nullptr, kVolatile | kGivesArrays},
    {"SEQUENCE", 1, 4, "s", call_sequence, nullptr, kGivesArrays},
    {"SORT", 1, 4, "asss", call_sort, nullptr, kGivesArrays},
    {"SORTBY", 2, kAnyNumber, "a|as", call_sortby, nullptr, kGivesArrays},
    {"TAKE", 2, 3, "ass", call_taken<false>, nullptr, kGivesArrays},
    {"TOCOL", 1, 3, "ass", call_in_line<true>, nullptr, kGivesArrays},
    {"TOROW", 1, 3, "ass", call_in_line<false>, nullptr, kGivesArrays},
    {"UNIQUE", 1, 3, "ass", call_unique, nullptr, kGivesArrays},
    {"VSTACK", 1, kAnyNumber, "a", call_stacked<true>, nullptr, kGivesArrays},
};

}  // namespace

std::span<const Function> array_functions() {
  return kArraysFunctions;
}

}  // namespace ordvane::calc
