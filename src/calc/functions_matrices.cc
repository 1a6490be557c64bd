// Functions of blocks of numbers: products, determinants, inverses, totals of columns.
#include <algorithm>
#include <cmath>
#include <vector>

#include "calc/evaluation.h"
#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"
#include "calc/samples.h"

namespace ordvane::calc {
namespace {

Operand call_product(Call& call) {
  double product = 1;
  bool any = false;
  for (int argument = call.count(); argument-- > 0;) {
    double part = 1;  // an array's numbers are multiplied among themselves
    double& factors = call.operand(argument).is_array() ? part : product;
    call.each_number_of(argument, [&](double number) {
      factors *= number;
      any = true;
    });
    product *= part;
  }
  return any ? product : 0.0;
}

Operand call_sumsq(Call& call) {
  Sum sum;
  call.each_number(0, [&](double number) { sum.add(number * number); });
  return sum.result();
}

// What is no number counts as 0.
Operand call_sumproduct(Call& call) {
  std::vector<Matrix> factors;
  for (int argument = 0; argument < call.count(); ++argument) factors.push_back(call.matrix(argument));
  std::int32_t rows = factors[0].rows(), columns = factors[0].columns();
  for (const Matrix& factor : factors) {
    if (factor.rows() != factors[0].rows() || factor.columns() != factors[0].columns())
      return ErrorCode::kValue;
    rows = std::min(rows, factor.used_rows());
    columns = std::min(columns, factor.used_columns());
  }
  Sum sum;
  for (std::int32_t row = 0; row < rows; ++row) {
    for (std::int32_t column = 0; column < columns; ++column) {
      double product = 1;
      for (const Matrix& factor : factors) {
        const Value value = factor.at(row, column);
        if (value.is_error()) return value;
        product *= value.is_number() ? value.number() : 0;
      }
      sum.add(product);
    }
  }
  return sum.result();
}

enum class Pair : std::uint8_t { kDifferenceOfSquares, kSumOfSquares, kSquareOfDifference };

template <Pair pair>
Operand call_sum_of_pairs(Call& call) {
  const Pairs pairs = pairs_of(call, 0, 1, pair == Pair::kSquareOfDifference ? 1 : 0);
  Sum sum;
  for (std::size_t i = 0; i < pairs.x.size(); ++i) {
    const double x = pairs.x[i], y = pairs.y[i];
    if (pair == Pair::kSquareOfDifference) {
      sum.add((x - y) * (x - y));
    } else {
      sum.add(x * x);
      sum.add(pair == Pair::kSumOfSquares ? y * y : -(y * y));
    }
  }
  return sum.result();
}

// ---- Matrices ----

struct Numeric {
  std::int32_t rows = 0, columns = 0;
  std::vector<double> values;

  double& at(std::int32_t row, std::int32_t column) {
    return values[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                  static_cast<std::size_t>(column)];
  }
};

// Every element must be a number; blanks are 0 where that is allowed.
Numeric numeric_matrix(Call& call, int argument) {
  const Matrix matrix = call.matrix(argument);
  Numeric result;
  if (matrix.size() > 4000000) {
    call.fail(ErrorCode::kArgument);
    return result;
  }
  result.rows = matrix.rows();
  result.columns = matrix.columns();
  for (std::int64_t i = 0; i < matrix.size(); ++i) {
    const Value value = matrix.at(i);
    if (value.is_error()) call.fail(value.error());
    if (!value.is_numeric() || value.kind() == Kind::kUnchosen) call.fail(ErrorCode::kValue);
    result.values.push_back(value.is_numeric() ? value.number() : 0);
  }
  return result;
}

Operand call_mmult(Call& call) {
  Numeric a = numeric_matrix(call, 0), b = numeric_matrix(call, 1);
  if (a.columns != b.rows) return ErrorCode::kValue;
  if (call.failed()) return 0.0;
  Array& result = call.make_array(a.rows, b.columns);
  for (std::int32_t row = 0; row < a.rows; ++row) {
    for (std::int32_t column = 0; column < b.columns; ++column) {
      Sum sum;
      for (std::int32_t i = 0; i < a.columns; ++i) sum.add(a.at(row, i) * b.at(i, column));
      result.at(row, column) = sum.result();
    }
  }
  return &result;
}

// Gauss elimination in place, each pivot the largest against its row; the order of the rows, and the sign it
// gives the determinant. Zero for singular matrices.
int decompose(Numeric& matrix, std::vector<std::int32_t>& order) {
  const std::int32_t n = matrix.rows;
  int sign = 1;
  std::vector<double> scales;
  for (std::int32_t row = 0; row < n; ++row) {
    double largest = 0;
    for (std::int32_t column = 0; column < n; ++column)
      largest = std::max(largest, std::fabs(matrix.at(row, column)));
    if (largest == 0) return 0;
    scales.push_back(1 / largest);
    order.push_back(row);
  }
  for (std::int32_t k = 0; k < n; ++k) {
    std::int32_t pivot = k;
    double best = 0;
    for (std::int32_t row = k; row < n; ++row) {
      const double size = scales[static_cast<std::size_t>(row)] * std::fabs(matrix.at(row, k));
      if (size > best) {
        best = size;
        pivot = row;
      }
    }
    if (best == 0) return 0;
    if (pivot != k) {
      sign = -sign;
      std::swap(scales[static_cast<std::size_t>(k)], scales[static_cast<std::size_t>(pivot)]);
      std::swap(order[static_cast<std::size_t>(k)], order[static_cast<std::size_t>(pivot)]);
      for (std::int32_t column = 0; column < n; ++column)
        std::swap(matrix.at(k, column), matrix.at(pivot, column));
    }
    for (std::int32_t row = k + 1; row < n; ++row) {
      const double factor = matrix.at(row, k) / matrix.at(k, k);
      matrix.at(row, k) = factor;
      for (std::int32_t column = k + 1; column < n; ++column)
        matrix.at(row, column) -= factor * matrix.at(k, column);
    }
  }
  return sign;
}

Operand call_mdeterm(Call& call) {
  Numeric matrix = numeric_matrix(call, 0);
  if (matrix.rows != matrix.columns) return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  std::vector<std::int32_t> order;
  double result = decompose(matrix, order);
  for (std::int32_t i = 0; i < matrix.rows && result != 0; ++i) result *= matrix.at(i, i);
  return result;
}

Operand call_minverse(Call& call) {
  Numeric matrix = numeric_matrix(call, 0);
  if (matrix.rows != matrix.columns) return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  const std::int32_t n = matrix.rows;
  std::vector<std::int32_t> order;
  if (decompose(matrix, order) == 0) return ErrorCode::kArgument;
  Array& result = call.make_array(n, n);
  std::vector<double> x(static_cast<std::size_t>(n));
  for (std::int32_t column = 0; column < n; ++column) {
    for (std::int32_t row = 0; row < n; ++row) {
      double sum = order[static_cast<std::size_t>(row)] == column ? 1 : 0;
      for (std::int32_t i = 0; i < row; ++i) sum -= matrix.at(row, i) * x[static_cast<std::size_t>(i)];
      x[static_cast<std::size_t>(row)] = sum;
    }
    for (std::int32_t row = n - 1; row >= 0; --row) {
      double sum = x[static_cast<std::size_t>(row)];
      for (std::int32_t i = row + 1; i < n; ++i) sum -= matrix.at(row, i) * x[static_cast<std::size_t>(i)];
      x[static_cast<std::size_t>(row)] = sum / matrix.at(row, row);
    }
    for (std::int32_t row = 0; row < n; ++row) result.at(row, column) = x[static_cast<std::size_t>(row)];
  }
  return &result;
}

Operand call_munit(Call& call) {
  const std::int64_t n = call.whole(0);
  if (n < 1 || n > 2000) return ErrorCode::kArgument;
  Array& result = call.make_array(static_cast<std::int32_t>(n), static_cast<std::int32_t>(n));
  for (std::int32_t row = 0; row < n; ++row)
    for (std::int32_t column = 0; column < n; ++column) result.at(row, column) = row == column ? 1.0 : 0.0;
  return &result;
}

// ---- Totals ----

// Numbers and counts of what the arguments hold, for the functions that SUBTOTAL and AGGREGATE choose by
// number.
struct Total {
  Numbers numbers;
  double filled = 0;
};

// Whether a cell's own formula is such a total: totals of totals leave those out.
bool is_total(const Workbook& book, CellId cell) {
  if (cell == kNoCell) return false;
  const std::int32_t formula = book.cells[static_cast<std::size_t>(cell)].formula;
  if (formula < 0) return false;
  const std::string& text = book.formulas[static_cast<std::size_t>(formula)].text;
  return text.find("SUBTOTAL(") != std::string::npos || text.find("AGGREGATE(") != std::string::npos;
}

void add_value(Call& call, const Value& value, bool without_errors, Total& total) {
  if (value.is_blank() || (value.is_error() && without_errors)) return;
  ++total.filled;
  if (value.is_error()) return call.fail(value.error());
  if (value.is_number()) total.numbers.push_back(value.number());
}

void add_cells(Call& call, const Reference& block, bool without_errors, Total& total) {
  const Workbook& book = call.evaluation().book();
  const Matrix cells(call.evaluation(), block);
  for (std::int32_t row = 0; row < cells.used_rows(); ++row)
    for (std::int32_t column = 0; column < cells.used_columns(); ++column)
      if (!is_total(book, book.find(block.sheet, block.row + row, block.column + column)))
        add_value(call, cells.at(row, column), without_errors, total);
}

Total total_of(Call& call, int first, bool without_errors) {
  Total total;
  for (int argument = first; argument < call.count(); ++argument) {
    const Operand& operand = call.operand(argument);
    if (operand.is_reference()) {
      add_cells(call, operand.reference, without_errors, total);
      for (const Reference& block : operand.more) add_cells(call, block, without_errors, total);
    } else {
      call.each(argument, [&](const Value& value, From) { add_value(call, value, without_errors, total); });
    }
  }
  return total;
}

double sum_of(const Numbers& numbers) {
  Sum sum;
  for (const double number : numbers) sum.add(number);
  return sum.result();
}

double product_of(const Numbers& numbers) {
  double product = 1;
  for (const double number : numbers) product *= number;
  return numbers.empty() ? 0 : product;
}

Operand chosen(const Total& total, std::int64_t function) {
  const Numbers& numbers = total.numbers;
  const auto count = static_cast<double>(numbers.size());
  const auto spread = [&](double divisor) {
    return divisor <= 0 ? Operand(ErrorCode::kDivision) : Operand(squares_about_mean(numbers) / divisor);
  };
  const auto root = [](const Operand& squared) {
    return squared.value.is_error() ? squared : Operand(std::sqrt(squared.value.number()));
  };
  switch (function) {
    case 1:
      return numbers.empty() ? Operand(ErrorCode::kDivision) : Operand(mean_of(numbers));
    case 2:
      return count;
    case 3:
      return total.filled;
    case 4:
      return numbers.empty() ? 0.0 : *std::max_element(numbers.begin(), numbers.end());
    case 5:
      return numbers.empty() ? 0.0 : *std::min_element(numbers.begin(), numbers.end());
    case 6:
      return product_of(numbers);
    case 7:
      return root(spread(count - 1));
    case 8:
      return root(spread(count));
    case 9:
      return sum_of(numbers);
    case 10:
      return spread(count - 1);
    case 11:
      return spread(count);
    default:
      return ErrorCode::kArgument;
  }
}

// Rows that are hidden are counted: what is hidden is a matter of looks, and a recalculation has none.
Operand call_subtotal(Call& call) {
  const std::int64_t function = call.whole(0);
  return chosen(total_of(call, 1, false), function > 100 ? function - 100 : function);
}

Operand nth_of(const Numbers& sorted, double place, bool largest) {
  if (place < 1 || place > static_cast<double>(sorted.size())) return ErrorCode::kArgument;
  const auto index = static_cast<std::size_t>(place);
  return largest ? sorted[sorted.size() - index] : sorted[index - 1];
}

// The functions from 12 on, of sorted numbers and one more argument.
Operand chosen_of_sorted(Call& call, const Numbers& sorted, std::int64_t function) {
  if (sorted.empty()) return ErrorCode::kArgument;
  const double middle = 0.5;
  if (function == 12) return at_share(sorted, middle);
  const double k = call.number(3);
  if (call.failed()) return 0.0;
  if (function == 14 || function == 15) return nth_of(sorted, ceiling_of(k), function == 14);
  const double share = function == 17 || function == 19 ? floor_of(k) / 4 : k;
  if (share < 0 || share > 1) return ErrorCode::kArgument;
  if (function == 16 || function == 17) return at_share(sorted, share);
  const double place = share * (static_cast<double>(sorted.size()) + 1) - 1;
  if (share <= 0 || share >= 1 || place < 0 || place > static_cast<double>(sorted.size()) - 1)
    return ErrorCode::kArgument;
  return at_share(sorted, place / std::max(1.0, static_cast<double>(sorted.size()) - 1));
}

Operand call_aggregate(Call& call) {
  const std::int64_t function = call.whole(0);
  const std::int64_t option = call.whole(1);
  if (function < 1 || function > 19 || option < 0 || option > 7) return ErrorCode::kArgument;
  const bool without_errors = option == 2 || option == 3 || option == 6 || option == 7;
  Total total = total_of(call, 2, without_errors);
  if (function <= 11) return chosen(total, function);
  if (function > 13 && call.count() < 4) return ErrorCode::kMissing;
  if (function == 13 || (function > 13 && call.missing(3))) return ErrorCode::kValue;
  if (function > 12) {  // the last argument is no part of the numbers
    total.numbers.clear();
    call.each(2, [&](const Value& value, From) {
      if (value.is_number()) total.numbers.push_back(value.number());
    });
  }
  std::sort(total.numbers.begin(), total.numbers.end());
  return chosen_of_sorted(call, total.numbers, function);
}

constexpr Function kMatricesFunctions[] = {
    {"AGGREGATE", 3, kAnyNumber, "ssas", call_aggregate},
    {"MDETERM", 1, 1, "a", call_mdeterm},
    {"MINVERSE", 1, 1, "a", call_minverse, nullptr, kGivesArrays},
    {"MMULT", 2, 2, "a", call_mmult, nullptr, kGivesArrays},
    {"MUNIT", 1, 1, "s", call_munit, nullptr, kGivesArrays},
    {"PRODUCT", 1, kAnyNumber, "r", call_product},
    {"SUBTOTAL", 2, kAnyNumber, "sr", call_subtotal},
    {"SUMPRODUCT", 1, kAnyNumber, "a", call_sumproduct},
    {"SUMSQ", 1, kAnyNumber, "r", call_sumsq},
    {"SUMX2MY2", 2, 2, "a", call_sum_of_pairs<Pair::kDifferenceOfSquares>},
    {"SUMX2PY2", 2, 2, "a", call_sum_of_pairs<Pair::kSumOfSquares>},
    {"SUMXMY2", 2, 2, "a", call_sum_of_pairs<Pair::kSquareOfDifference>},
};

}  // namespace

std::span<const Function> matrix_functions() {
  return kMatricesFunctions;
}

}  // namespace ordvane::calc
