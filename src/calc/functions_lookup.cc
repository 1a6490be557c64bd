// Functions that find values and cells.
#include <charconv>
#include <cmath>
#include <optional>

#include "calc/evaluation.h"
#include "calc/formula.h"
#include "calc/functions.h"
#include "calc/lookup.h"

namespace ordvane::calc {
namespace {

bool inside_sheet(std::int64_t row, std::int64_t column) {
  return row >= 0 && row < kRows && column >= 0 && column < kColumns;
}

// A part of a block: row and column count from 1, 0 is all of them.
struct Part {
  std::int32_t row, column;
};

Operand part_of_reference(Reference whole, Part part) {
  if (part.row > 0) whole.row = whole.last_row = whole.row + part.row - 1;
  if (part.column > 0) whole.column = whole.last_column = whole.column + part.column - 1;
  return whole;
}

Operand part_of_array(Call& call, const Matrix& matrix, Part from) {
  Array& part = call.make_array(from.row > 0 ? 1 : matrix.rows(), from.column > 0 ? 1 : matrix.columns());
  for (std::int32_t i = 0; i < part.rows; ++i)
    for (std::int32_t j = 0; j < part.columns; ++j)
      part.at(i, j) = matrix.at(from.row > 0 ? from.row - 1 : i, from.column > 0 ? from.column - 1 : j);
  return &part;
}

Operand call_index(Call& call) {
  const std::int64_t area = call.whole(3, 1);
  Operand source = call.operand(0);
  if (area < 1 || area > 1 + static_cast<std::int64_t>(source.more.size())) return ErrorCode::kArgument;
  if (area > 1) source.reference = source.more[static_cast<std::size_t>(area) - 2];
  source.more = {};
  const Matrix matrix(call.evaluation(), source);
  std::int64_t row = call.whole(1, 0), column = call.whole(2, 0);
  if (matrix.rows() == 1 && call.count() < 3) std::swap(row, column);
  if (row < 0 || column < 0 || row > matrix.rows() || column > matrix.columns()) return ErrorCode::kArgument;
  const Part part{static_cast<std::int32_t>(row), static_cast<std::int32_t>(column)};
  if (source.is_reference()) return part_of_reference(source.reference, part);
  if (!source.is_array() || (row == 0 && column == 0)) return source;
  if (row > 0 && column > 0) return matrix.at(part.row - 1, part.column - 1);
  return part_of_array(call, matrix, part);
}

Operand call_match(Call& call) {
  const Value wanted = call.value(0);
  const double order = call.number(2, 1.0);
  if (wanted.is_error()) return wanted;
  const Matrix matrix = call.matrix(1);
  if (matrix.rows() > 1 && matrix.columns() > 1) return ErrorCode::kArgument;
  const Line line{matrix, matrix.rows() == 1 && matrix.columns() > 1, 0, &call.operand(1),
                  &call.evaluation()};
  const std::int32_t found = order == 0 ? find_equal(line, wanted) : find_sorted(line, wanted, order < 0);
  return found < 0 ? Operand(ErrorCode::kNotAvailable) : Operand(found + 1.0);
}

Operand look_up(Call& call, bool in_rows) {
  const Value wanted = call.value(0);
  const Matrix matrix = call.matrix(1);
  const std::int64_t position = call.whole(2);
  const bool is_sorted = call.logical(3, true);
  if (wanted.is_error()) return wanted;
  if (position < 1 || position > (in_rows ? matrix.columns() : matrix.rows())) return ErrorCode::kArgument;
  const Line keys{matrix, !in_rows, 0, &call.operand(1), &call.evaluation()};
  const std::int32_t found = is_sorted ? find_sorted(keys, wanted) : find_equal(keys, wanted);
  if (found < 0) return ErrorCode::kNotAvailable;
  const auto at = static_cast<std::int32_t>(position) - 1;
  return in_rows ? matrix.at(found, at) : matrix.at(at, found);
}

Operand call_vlookup(Call& call) {
  return look_up(call, true);
}

Operand call_hlookup(Call& call) {
  return look_up(call, false);
}

Operand call_offset(Call& call) {
  if (!call.operand(0).is_reference()) return ErrorCode::kReference;
  const Reference& from = call.operand(0).reference;
  const std::int64_t down = call.whole(1), right = call.whole(2);
  const std::int64_t rows = call.missing(3) ? from.rows() : call.whole(3);
  const std::int64_t columns = call.missing(4) ? from.columns() : call.whole(4);
  const std::int64_t row = from.row + down, column = from.column + right;
  if (rows < 1 || columns < 1 || !inside_sheet(row, column) ||
      !inside_sheet(row + rows - 1, column + columns - 1))
    return ErrorCode::kArgument;
  return Reference{from.sheet,
                   from.last_sheet,
                   static_cast<std::int32_t>(row),
                   static_cast<std::int32_t>(column),
                   static_cast<std::int32_t>(row + rows - 1),
                   static_cast<std::int32_t>(column + columns - 1)};
}

// R2C3, R[-1]C[2], RC; -1 for what is none.
std::optional<std::int32_t> relative_part(std::string_view& text, char letter, std::int32_t here) {
  if (text.empty() || (text[0] & ~0x20) != letter) return std::nullopt;
  text.remove_prefix(1);
  const bool relative = text.starts_with('[');
  if (relative) text.remove_prefix(1);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return relative ? std::nullopt : std::optional(here);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (!relative) return number - 1;
  if (!text.starts_with(']') || std::abs(number) > kRows) return std::nullopt;
  text.remove_prefix(1);
  return here + number;
}

Operand row_column_reference(Call& call, std::string_view text) {
  Reference here = call.cell();
  const std::size_t mark = text.rfind('!');
  if (mark != text.npos) {
    std::string_view sheet = text.substr(0, mark);
    if (sheet.size() > 1 && sheet.front() == '\'') sheet = sheet.substr(1, sheet.size() - 2);
    here.sheet = here.last_sheet = call.evaluation().book().sheet(sheet);
    text.remove_prefix(mark + 1);
  }
  const auto row = relative_part(text, 'R', here.row);
  const auto column = row ? relative_part(text, 'C', here.column) : std::nullopt;
  if (!column || !inside_sheet(*row, *column) || here.sheet < 0) return ErrorCode::kReference;
  Reference block{here.sheet, here.sheet, *row, *column, *row, *column};
  if (text.starts_with(':')) {
    text.remove_prefix(1);
    const auto last_row = relative_part(text, 'R', here.row);
    const auto last_column = last_row ? relative_part(text, 'C', here.column) : std::nullopt;
    if (!last_column || !inside_sheet(*last_row, *last_column)) return ErrorCode::kReference;
    block = {here.sheet,
             here.sheet,
             std::min(*row, *last_row),
             std::min(*column, *last_column),
             std::max(*row, *last_row),
             std::max(*column, *last_column)};
  }
  return text.empty() ? Operand(block) : Operand(ErrorCode::kReference);
}

Operand call_indirect(Call& call) {
  const std::string text = call.text(0);
  if (call.failed()) return {};
  if (!call.logical(1, true)) return row_column_reference(call, text);
  if (text.empty()) return ErrorCode::kReference;  // as of a million blank cells
  const Workbook& book = call.evaluation().book();
  const Reference here = call.cell();
  try {
    Arena arena;
    const Formula formula = parse_formula(text, here, book, arena);
    const Formula* tree = &formula;
    if (formula.nodes.size() == 1 && formula.nodes[0].type == NodeType::kName)
      tree = &book.named(formula.nodes[0].name);
    if (tree->nodes.size() != 1 || tree->nodes[0].type != NodeType::kReference) return ErrorCode::kReference;
    return resolved(tree->nodes[0], here.row, here.column);
  } catch (const BadFormula&) {
    return ErrorCode::kReference;
  }
}

Operand call_rows(Call& call) {
  return static_cast<double>(call.cells(0).rows());
}

Operand call_transpose(Call& call) {
  const Matrix matrix = call.matrix(0);
  Array& result = call.make_array(matrix.columns(), matrix.rows());
  if (call.failed()) return {};
  for (std::int32_t row = 0; row < matrix.rows(); ++row)
    for (std::int32_t column = 0; column < matrix.columns(); ++column)
      result.at(column, row) = matrix.at(row, column);
  return &result;
}

constexpr Function kLookupFunctions[] = {
    {"HLOOKUP", 3, 4, "sass", call_hlookup},
    {"INDEX", 1, 4, "rsss", call_index, nullptr, kGivesCells},
    {"INDIRECT", 1, 2, "s", call_indirect, nullptr, kGivesCells | kFindsCells},
    {"MATCH", 2, 3, "sas", call_match},
    {"OFFSET", 3, 5, "cssss", call_offset, nullptr, kGivesCells | kFindsCells},
    {"ROWS", 1, 1, "c", call_rows},
    {"TRANSPOSE", 1, 1, "a", call_transpose, nullptr, kGivesArrays},
    {"VLOOKUP", 3, 4, "sass", call_vlookup},
};

}  // namespace

std::span<const Function> lookup_functions() {
  return kLookupFunctions;
}

}  // namespace ordvane::calc
