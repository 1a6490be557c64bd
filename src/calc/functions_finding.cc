// Functions that find values in blocks, and those that tell of cells where they are.
#include <algorithm>
#include <cmath>
#include <optional>

#include "calc/address.h"
#include "calc/convert.h"
#include "calc/evaluation.h"
#include "calc/functions.h"
#include "calc/lookup.h"
#include "calc/rounding.h"
#include "calc/rules.h"
#include "text/cell_names.h"
#include "text/edit.h"

namespace ordvane::calc {
namespace {

// Below, at or above zero for values of one kind; nothing for values that have no order among each other.
std::optional<int> order_of(const Value& a, const Value& b) {
  if (a.is_text() && b.is_text()) return compare_texts(a.text(), b.text());
  if (a.is_number() && b.is_number()) return compare(a.number(), b.number());
  return std::nullopt;
}

constexpr std::int32_t kNotFound = -1;

bool fits_key(const Value& value, const Value& key, const Pattern* pattern) {
  return pattern != nullptr ? value.is_text() && pattern->matches(value.text()) : order_of(value, key) == 0;
}

// A block is searched along its longer side, the result taken from its other end or from a line of its own.
Operand call_lookup(Call& call) {
  const Value key = call.value(0);
  if (key.is_error()) return key;
  const Matrix searched = call.matrix(1);
  const Line line{searched, searched.columns() > searched.rows()};
  const std::int32_t found = find_sorted(line, key);
  if (found == kNotFound) return ErrorCode::kNotAvailable;
  if (call.missing(2))
    return line.is_row ? searched.at(searched.rows() - 1, found) : searched.at(found, searched.columns() - 1);
  const Matrix results = call.matrix(2);
  if (results.columns() > 1 && results.rows() > 1) return ErrorCode::kParameters;
  if (found >= results.size()) return ErrorCode::kNotAvailable;
  return results.columns() > 1 ? results.at(0, found) : results.at(found, 0);
}

// ---- XLOOKUP and XMATCH ----

enum class Match : std::int8_t { kEqual = 0, kNextSmaller = -1, kNextLarger = 1, kWildcards = 2 };

// From the first or from the last; of the nearest values the one that is met first.
std::int32_t nearest(const Line& line, const Value& key, Match match, bool backwards) {
  std::optional<Pattern> pattern;
  if (match == Match::kWildcards && key.is_text()) pattern.emplace(key.text());
  std::int32_t best = kNotFound;
  for (std::int32_t i = 0; i < line.size(); ++i) {
    const std::int32_t position = backwards ? line.size() - 1 - i : i;
    const Value value = line.value(position);
    if (fits_key(value, key, pattern ? &*pattern : nullptr)) return position;
    if (match != Match::kNextSmaller && match != Match::kNextLarger) continue;
    const auto order = order_of(value, key);
    const int wanted = static_cast<int>(match);
    if (!order || *order * wanted < 0) continue;
    if (best == kNotFound || *order_of(value, line.value(best)) * wanted < 0) best = position;
  }
  return best;
}

std::int32_t found_by_modes(Call& call, const Line& line, int modes) {
  const Value key = call.value(0);
  if (key.is_error()) call.fail(key.error());
  const std::int64_t match = call.whole(modes, 0);
  const std::int64_t search = call.missing(modes + 1) ? 1 : call.whole(modes + 1);
  if (match < -1 || match > 2 || search < -2 || search > 2 || search == 0) call.fail(ErrorCode::kValue);
  if (call.failed()) return kNotFound;
  return nearest(line, key.is_blank() ? Value(0.0) : key, static_cast<Match>(match), search < 0);
}

Operand call_xmatch(Call& call) {
  const Matrix searched = call.matrix(1);
  if (searched.rows() > 1 && searched.columns() > 1) return ErrorCode::kValue;
  const std::int32_t found = found_by_modes(call, {searched, searched.columns() > 1}, 2);
  return found == kNotFound ? Operand(ErrorCode::kNotAvailable) : Operand(found + 1.0);
}

// The row or column of a block, as a reference where it is one.
Operand line_of(Call& call, int argument, std::int32_t position, bool is_row) {
  const Operand& block = call.operand(argument);
  if (block.is_reference()) {
    Reference part = block.reference;
    if (is_row) {
      part.last_row = part.row += position;
    } else {
      part.last_column = part.column += position;
    }
    return part;
  }
  const Matrix matrix = call.matrix(argument);
  Array& result = is_row ? call.make_array(1, matrix.columns()) : call.make_array(matrix.rows(), 1);
  for (std::int32_t i = 0; i < (is_row ? matrix.columns() : matrix.rows()); ++i)
    result.at(is_row ? 0 : i, is_row ? i : 0) = is_row ? matrix.at(position, i) : matrix.at(i, position);
  if (result.values.size() == 1) return result.values[0];
  return &result;
}

Operand call_xlookup(Call& call) {
  const Matrix searched = call.matrix(1), results = call.matrix(2);
  if (searched.rows() > 1 && searched.columns() > 1) return ErrorCode::kValue;
  const bool across = searched.columns() > 1;
  if (across ? results.columns() != searched.columns() : results.rows() != searched.rows())
    return ErrorCode::kValue;
  const std::int32_t found = found_by_modes(call, {searched, across}, 4);
  if (found != kNotFound) return line_of(call, 2, found, !across);
  return call.missing(3) ? Operand(ErrorCode::kNotAvailable) : call.operand(3);
}

// ---- Of the cells themselves ----

Operand counted(Call& call, std::int32_t first, std::int32_t count, bool down) {
  if (count == 1) return first + 1.0;
  Array& result = down ? call.make_array(count, 1) : call.make_array(1, count);
  for (std::size_t i = 0; i < result.values.size(); ++i)
    result.values[i] = first + 1.0 + static_cast<double>(i);
  return &result;
}

Operand call_row(Call& call) {
  if (call.missing(0)) return call.cell().row + 1.0;
  if (!call.operand(0).is_reference()) return ErrorCode::kValue;
  const Reference& block = call.operand(0).reference;
  return counted(call, block.row, block.rows(), true);
}

Operand call_column(Call& call) {
  if (call.missing(0)) return call.cell().column + 1.0;
  if (!call.operand(0).is_reference()) return ErrorCode::kValue;
  const Reference& block = call.operand(0).reference;
  return counted(call, block.column, block.columns(), false);
}

Operand call_columns(Call& call) {
  return static_cast<double>(call.cells(0).columns());
}

Operand call_areas(Call& call) {
  if (!call.operand(0).is_reference()) return ErrorCode::kValue;
  return 1.0 + static_cast<double>(call.operand(0).more.size());
}

Operand call_sheet(Call& call) {
  if (call.missing(0)) return call.cell().sheet + 1.0;
  if (call.operand(0).is_reference()) return call.operand(0).reference.sheet + 1.0;
  const std::int32_t sheet = call.evaluation().book().sheet(call.text(0));
  return sheet < 0 ? Operand(ErrorCode::kNotAvailable) : Operand(sheet + 1.0);
}

Operand call_sheets(Call& call) {
  if (call.missing(0)) return static_cast<double>(call.evaluation().book().sheets.size());
  if (!call.operand(0).is_reference()) return ErrorCode::kReference;
  const Reference& block = call.operand(0).reference;
  return block.last_sheet - block.sheet + 1.0;
}

// A cell's address as a text; 5 to 8 say the same as 1 to 4. Without the last argument its sheet is not
// named.
Operand call_address(Call& call) {
  const std::int64_t row = call.whole(0), column = call.whole(1);
  const std::int64_t fixed = call.missing(2) ? 1 : call.whole(2);
  const bool letters = call.missing(3) || call.logical(3);
  const std::string sheet = call.missing(4) ? "" : quoted_sheet(call.text(4)) + "!";
  if (row < 1 || row > kRows || column < 1 || column > kColumns || fixed < 1 || fixed > 8)
    return ErrorCode::kArgument;
  const bool row_fixed = fixed % 4 == 1 || fixed % 4 == 2, column_fixed = fixed % 2 == 1;
  if (letters) {
    const std::string name = text::column_name(static_cast<std::int32_t>(column));
    return call.make_text(sheet + (column_fixed ? "$" : "") + name + (row_fixed ? "$" : "") +
                          std::to_string(row));
  }
  const auto part = [](char letter, std::int64_t number, bool is_fixed) {
    return letter + (is_fixed ? std::to_string(number) : "[" + std::to_string(number) + "]");
  };
  return call.make_text(sheet + part('R', row, row_fixed) + part('C', column, column_fixed));
}

// What can be told of a cell without its looks.
Operand call_cell(Call& call) {
  const std::string wanted = text::lower_ascii(call.text(0));
  if (!call.operand(1).is_reference()) return ErrorCode::kValue;
  const Reference& cell = call.operand(1).reference;
  if (wanted == "row") return cell.row + 1.0;
  if (wanted == "col") return cell.column + 1.0;
  const Value value = call.value(1);
  if (wanted == "contents") return value.is_blank() ? Value(0.0) : value;
  if (wanted == "type") return call.make_text(value.is_blank() ? "b" : value.is_text() ? "l" : "v");
  if (wanted != "address") return ErrorCode::kValue;
  const std::string sheet =
      cell.sheet == call.cell().sheet
          ? ""
          : quoted_sheet(call.evaluation().book().sheets[static_cast<std::size_t>(cell.sheet)].name) + "!";
  return call.make_text(sheet + "$" + text::column_name(cell.column + 1) + "$" +
                        std::to_string(cell.row + 1));
}

Operand call_hyperlink(Call& call) {
  return call.value(call.missing(1) ? 0 : 1);
}

constexpr Function kFindingFunctions[] = {
    {"ADDRESS", 2, 5, "s", call_address},
    {"AREAS", 1, 1, "c", call_areas},
    {"CELL", 2, 2, "sr", call_cell},
    {"COLUMN", 0, 1, "c", call_column, nullptr, kGivesArrays},
    {"COLUMNS", 1, 1, "c", call_columns},
    {"HYPERLINK", 1, 2, "s", call_hyperlink},
    {"LOOKUP", 2, 3, "saa", call_lookup},
    {"ROW", 0, 1, "c", call_row, nullptr, kGivesArrays},
    {"SHEET", 0, 1, "c", call_sheet},
    {"SHEETS", 0, 1, "c", call_sheets},
    {"XLOOKUP", 3, 6, "srrsss", call_xlookup, nullptr, kGivesCells | kGivesArrays},
    {"XMATCH", 2, 4, "srss", call_xmatch},
};

}  // namespace

std::span<const Function> finding_functions() {
  return kFindingFunctions;
}

}  // namespace ordvane::calc
