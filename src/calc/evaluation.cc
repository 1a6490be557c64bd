#include "calc/evaluation.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "calc/operators.h"

namespace ordvane::calc {
namespace {

// Has one value for each place of a larger block: single rows and columns are repeated, beyond all others is
// #N/A.
Value spread(const Matrix& matrix, std::int32_t row, std::int32_t column) {
  if (matrix.rows() == 1) row = 0;
  if (matrix.columns() == 1) column = 0;
  if (row >= matrix.rows() || column >= matrix.columns()) return {ErrorCode::kNotAvailable};
  return matrix.at(row, column);
}

bool is_block(const Operand& operand) {
  return operand.is_array() ||
         (operand.is_reference() && (!operand.reference.is_cell() || !operand.more.empty()));
}

constexpr std::int64_t kMostValues = std::int64_t{1} << 22;

// Whole columns and rows calculated value by value end where all sheets do.
Operand trimmed(const Workbook& book, Operand operand) {
  if (!operand.is_reference()) return operand;
  Reference& block = operand.reference;
  std::int32_t rows = 1, columns = 1;
  for (const Sheet& sheet : book.sheets) {
    rows = std::max(rows, sheet.grid.rows());
    columns = std::max(columns, sheet.grid.columns());
  }
  if (block.rows() == kRows) block.last_row = rows - 1;
  if (block.columns() == kColumns) block.last_column = columns - 1;
  return operand;
}

// Whether the function is called for each of what the argument has.
bool is_taken_one_by_one(const Function& function, std::size_t position, const Operand& argument) {
  const char letter = function.argument_letter(static_cast<int>(position));
  return letter == 's' ? is_block(argument)
                       : letter == 'r' && argument.is_array() && !argument.array->blocks.empty();
}

}  // namespace

void Evaluation::begin(CellId cell, const Formula* formula) {
  cell_ = cell;
  formula_ = formula;
  randoms_ = 0;
  spills_ = 0;
  spilled_.clear();
  locals_.clear();
}

Value Evaluation::cell_result(CellId id) {
  const Cell& cell = book_.cells[static_cast<std::size_t>(id)];
  const CellId holder = cell.array == kNoCell ? id : cell.array;
  const Cell& first_cell = book_.cells[static_cast<std::size_t>(holder)];
  const CellFormula& formula = book_.formulas[static_cast<std::size_t>(first_cell.formula)];
  begin(holder, &formula.tree);
  Value result;
  if (formula.is_array) {
    const Operand operand = evaluate(formula_->root(), true);
    const Matrix matrix(*this, operand);
    const std::int32_t row = cell.row - formula.area.row, column = cell.column - formula.area.column;
    if (formula.is_dynamic && (row >= matrix.rows() || column >= matrix.columns())) return {};
    result = spread(matrix, row, column);
  } else {
    result = single(evaluate(formula_->root(), false));
  }
  return result.in_cell();
}

Value Evaluation::part(CellId cell, const Formula& formula, std::int32_t node, bool in_array) {
  begin(cell, &formula);
  return single(evaluate(node, in_array));
}

Operand Evaluation::call(CellId cell, const Function& function, std::span<const Operand> arguments) {
  begin(cell, formula_);
  return call_each(function, arguments);
}

double Evaluation::random() {
  return random_of(frozen_, cell_, ++randoms_);
}

double random_of(const Frozen& frozen, CellId cell, std::uint64_t n) {
  std::uint64_t x =
      frozen.seed + 0x9E3779B97F4A7C15U * (static_cast<std::uint64_t>(cell) + 1) + 0xD1B54A32D192ED03U * n;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
  return static_cast<double>((x ^ (x >> 31)) >> 11) * 0x1p-53;
}

// A block of cells where a single value is wanted: the cell in the formula's own row or column, in both where
// it has several of both.
Operand Evaluation::intersected(const Operand& operand) {
  if (!operand.is_reference() || !is_block(operand)) return operand;
  Reference block = operand.reference;
  const Cell& cell = book_.cells[static_cast<std::size_t>(cell_)];
  if (!operand.more.empty() || block.sheet != block.last_sheet) return ErrorCode::kValue;
  if (block.columns() > 1) {
    if (cell.column < block.column || cell.column > block.last_column) return ErrorCode::kValue;
    block.column = block.last_column = cell.column;
  }
  if (block.rows() > 1) {
    if (cell.row < block.row || cell.row > block.last_row) return ErrorCode::kValue;
    block.row = block.last_row = cell.row;
  }
  return block;
}

Value Evaluation::first(const Operand& operand) {
  switch (operand.type) {
    case Operand::Type::kMissing:
      return {};
    case Operand::Type::kValue:
      return operand.value;
    case Operand::Type::kReference:
      return at(operand.reference.sheet, operand.reference.row, operand.reference.column);
    case Operand::Type::kArray:
      return operand.array->values.front();
  }
  return {};
}

Value Evaluation::single(const Operand& operand) {
  return first(intersected(operand));
}

Operand Evaluation::operand_of(std::int32_t node, bool in_array) {
  const Operand operand = evaluate(node, in_array);
  return in_array ? trimmed(book_, operand) : intersected(operand);
}

Operand Evaluation::evaluate(std::int32_t position, bool in_array) {
  const Node& node = formula_->nodes[static_cast<std::size_t>(position)];
  switch (node.type) {
    case NodeType::kConstant:
      return node.constant;
    case NodeType::kArray:
      return node.array;
    case NodeType::kReference: {
      const Cell& cell = book_.cells[static_cast<std::size_t>(cell_)];
      return resolved(node, cell.row, cell.column);
    }
    case NodeType::kName:
      return evaluate_name(node, in_array);
    case NodeType::kNegate:
    case NodeType::kPercent:
      return operate_one(node, in_array);
    case NodeType::kPlus:
      return evaluate(node.children[0], in_array);
    case NodeType::kRange:
    case NodeType::kUnion:
    case NodeType::kIntersection:
      return join(node, in_array);
    case NodeType::kSpill:
      return spilled(node);
    case NodeType::kSingle: {
      const Operand operand = intersected(evaluate(node.children[0], in_array));
      return operand.is_array() ? Operand(first(operand)) : operand;
    }
    case NodeType::kLet:
      return evaluate(node.children.back(), in_array);
    case NodeType::kLocal:
      return local(node.children[0], in_array);
    case NodeType::kFunction:
      return function(node, in_array);
    case NodeType::kMissing:
      return {};
    case NodeType::kUnsupported:
      return ErrorCode::kName;
    default:
      return operate_two(node, in_array);
  }
}

Operand Evaluation::evaluate_name(const Node& node, bool in_array) {
  const Formula* outer = formula_;
  formula_ = &book_.named(node.name);
  const Operand result =
      formula_->nodes.empty() ? Operand(ErrorCode::kName) : evaluate(formula_->root(), in_array);
  formula_ = outer;
  return result;
}

// The value of a name of LET, which is calculated once however often it stands in the formula.
Operand Evaluation::local(std::int32_t value, bool in_array) {
  const auto [found, is_new] = locals_.try_emplace({cell_, formula_, value, in_array});
  if (is_new) found->second = evaluate(value, in_array);
  return found->second;
}

Operand Evaluation::operate_one(const Node& node, bool in_array) {
  const Operand operand = operand_of(node.children[0], in_array);
  if (!is_block(operand)) return operate(node.type, first(operand), book_.counts_from_1904);
  const Matrix values(*this, operand);
  if (values.size() > kMostValues) return ErrorCode::kArgument;
  Array& result = arena_.array(values.rows(), values.columns());
  for (std::int32_t row = 0; row < values.rows(); ++row)
    for (std::int32_t column = 0; column < values.columns(); ++column)
      result.at(row, column) = operate(node.type, values.at(row, column), book_.counts_from_1904);
  return &result;
}

Operand Evaluation::operate_two(const Node& node, bool in_array) {
  const Operand left = operand_of(node.children[0], in_array), right = operand_of(node.children[1], in_array);
  if (!is_block(left) && !is_block(right))
    return operate(node.type, first(left), first(right), book_.counts_from_1904, arena_);
  const Matrix a(*this, left), b(*this, right);
  const std::int32_t rows = std::max(a.rows(), b.rows()), columns = std::max(a.columns(), b.columns());
  if (std::int64_t{rows} * columns > kMostValues) return ErrorCode::kArgument;
  Array& result = arena_.array(rows, columns);
  for (std::int32_t row = 0; row < rows; ++row)
    for (std::int32_t column = 0; column < columns; ++column)
      result.at(row, column) =
          operate(node.type, spread(a, row, column), spread(b, row, column), book_.counts_from_1904, arena_);
  return &result;
}

Operand Evaluation::join(const Node& node, bool in_array) {
  std::vector<Reference> blocks;
  for (const std::int32_t child : node.children) {
    const Operand operand = evaluate(child, in_array);
    if (operand.is_value() && operand.value.is_error()) return operand;
    if (!operand.is_reference()) return ErrorCode::kReference;
    blocks.push_back(operand.reference);
    blocks.insert(blocks.end(), operand.more.begin(), operand.more.end());
  }
  if (node.type == NodeType::kUnion) {
    Operand all = blocks.front();
    blocks.erase(blocks.begin());
    all.more = arena_.references(std::move(blocks));
    return all;
  }
  Reference result = blocks[0];
  const Reference& other = blocks[1];
  if (node.type == NodeType::kRange) {
    result.sheet = std::min(result.sheet, other.sheet);
    result.last_sheet = std::max(result.last_sheet, other.last_sheet);
    result.row = std::min(result.row, other.row);
    result.column = std::min(result.column, other.column);
    result.last_row = std::max(result.last_row, other.last_row);
    result.last_column = std::max(result.last_column, other.last_column);
    return result;
  }
  if (result.sheet != other.sheet) return ErrorCode::kNull;
  result.row = std::max(result.row, other.row);
  result.column = std::max(result.column, other.column);
  result.last_row = std::min(result.last_row, other.last_row);
  result.last_column = std::min(result.last_column, other.last_column);
  if (result.rows() < 1 || result.columns() < 1) return ErrorCode::kNull;
  return result;
}

// What an array formula fills, from its first cell. When it has come to be of another size than in the file,
// these are its values: what would hold them is not among the workbook's cells, or is blank.
Operand Evaluation::spilled(const Node& node) {
  const Operand anchor = evaluate(node.children[0], false);
  if (!anchor.is_reference()) return ErrorCode::kReference;
  const CellId id = book_.find(anchor.reference.sheet, anchor.reference.row, anchor.reference.column);
  if (id == kNoCell) return ErrorCode::kReference;
  const std::int32_t formula = book_.cells[static_cast<std::size_t>(id)].formula;
  if (formula < 0 || !book_.formulas[static_cast<std::size_t>(formula)].is_array)
    return ErrorCode::kReference;
  const CellFormula& filling = book_.formulas[static_cast<std::size_t>(formula)];
  constexpr int kMostSpills = 64;  // one within the other
  if (!filling.is_dynamic || !filling.tree.unsupported.empty() || spills_ == kMostSpills) return filling.area;
  values_.value(id);  // which cannot be had if it depends on what asks here
  const auto [found, is_new] = spilled_.try_emplace(id, filling.area);
  if (!is_new) return found->second;
  const Operand filled = evaluated_in(id, filling.tree);
  const Matrix matrix(*this, filled);
  if (matrix.rows() != filling.area.rows() || matrix.columns() != filling.area.columns())
    found->second = filled;
  return found->second;
}

// The values of another cell's array formula.
Operand Evaluation::evaluated_in(CellId cell, const Formula& formula) {
  const CellId outer_cell = std::exchange(cell_, cell);
  const Formula* const outer_formula = std::exchange(formula_, &formula);
  const std::uint64_t outer_randoms = std::exchange(randoms_, 0);
  ++spills_;
  const Operand result = evaluate(formula.root(), true);
  --spills_;
  cell_ = outer_cell;
  formula_ = outer_formula;
  randoms_ = outer_randoms;
  return result;
}

Operand Evaluation::argument(const Node& node, int position, bool in_array) {
  const std::int32_t child = node.children[static_cast<std::size_t>(position)];
  switch (node.function->argument_letter(position)) {
    case 's':
      return operand_of(child, in_array);
    case 'a':
      return evaluate(child, true);
    default:
      return evaluate(child, in_array);
  }
}

Operand Evaluation::function(const Node& node, bool in_array) {
  switch (node.function->form) {
    case Form::kPlain:
      break;
    case Form::kIf:
      return form_if(node, in_array);
    case Form::kIfError:
    case Form::kIfNa:
      return form_if_error(node, in_array);
    case Form::kIfs:
      return form_ifs(node, in_array);
    case Form::kChoose:
      return form_choose(node, in_array);
    case Form::kSwitch:
      return form_switch(node, in_array);
  }
  std::vector<Operand> arguments;
  arguments.reserve(node.children.size());
  for (std::size_t i = 0; i < node.children.size(); ++i)
    arguments.push_back(argument(node, static_cast<int>(i), in_array));
  return call_each(*node.function, arguments);
}

Operand Evaluation::one_of(const Operand& several, char letter, std::int32_t row, std::int32_t column) {
  const Matrix matrix(*this, several);
  if (letter != 'r') return spread(matrix, row, column);
  if (matrix.rows() == 1) row = 0;
  if (matrix.columns() == 1) column = 0;
  if (row >= matrix.rows() || column >= matrix.columns()) return ErrorCode::kNotAvailable;
  const Reference& block =
      several.array->blocks[static_cast<std::size_t>(row) * static_cast<std::size_t>(matrix.columns()) +
                            static_cast<std::size_t>(column)];
  return block.sheet < 0 ? Operand(matrix.at(row, column)) : Operand(block);
}

// As many rows and columns as the largest of the arguments has that are taken one by one; none without such.
std::optional<Evaluation::Extent> Evaluation::extent_of(const Function& function,
                                                        std::span<const Operand> arguments) {
  std::optional<Extent> extent;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (!is_taken_one_by_one(function, i, arguments[i])) continue;
    const Matrix matrix(*this, arguments[i]);
    if (!extent) extent.emplace();
    extent->cover(matrix);
  }
  return extent;
}

// Once, or for each value of the arguments that have several where the function takes one, and for each of
// several blocks.
Operand Evaluation::call_each(const Function& function, std::span<const Operand> arguments) {
  const std::optional<Extent> extent = extent_of(function, arguments);
  if (!extent) {
    Call call(*this, arguments);
    const Operand result = function.body(call);
    return call.failed() ? Operand(call.error()) : result;
  }
  if (extent->size() > kMostValues) return ErrorCode::kArgument;
  Array& result = arena_.array(extent->rows, extent->columns);
  std::vector<Reference> blocks;
  std::vector<Operand> one(arguments.begin(), arguments.end());
  for (std::int32_t row = 0; row < result.rows; ++row) {
    for (std::int32_t column = 0; column < result.columns; ++column) {
      for (std::size_t i = 0; i < arguments.size(); ++i)
        if (is_taken_one_by_one(function, i, arguments[i]))
          one[i] = one_of(arguments[i], function.argument_letter(static_cast<int>(i)), row, column);
      Call call(*this, one);
      const Operand each = function.body(call);
      result.at(row, column) = call.failed() ? Value(call.error()) : first(each);
      if (!finds_blocks(function)) continue;
      blocks.push_back(each.is_reference() && !call.failed() ? each.reference : Reference{-1, -1});
    }
  }
  if (!blocks.empty()) result.blocks = arena_.references(std::move(blocks));
  return &result;
}

Operand Evaluation::branch(const Node& node, std::size_t position, bool in_array) {
  return evaluate(node.children[position], in_array);
}

Operand Evaluation::form_if(const Node& node, bool in_array) {
  const Operand condition = operand_of(node.children[0], in_array);
  if (is_block(condition)) return form_if_array(node, Matrix(*this, condition), in_array);
  const Conversion truth = truth_of(first(condition), book_.counts_from_1904);
  if (truth.error != ErrorCode::kNone) return truth.error;
  const std::size_t chosen = truth.number != 0 ? 1 : 2;
  if (chosen < node.children.size()) {
    const Operand result = branch(node, chosen, in_array);
    return result.is_missing() ? Operand(Value()) : result;
  }
  return Value::boolean(chosen == 1);
}

Operand Evaluation::form_if_array(const Node& node, const Matrix& condition, bool in_array) {
  std::array<Operand, 2> branches{Value::boolean(true), Value::unchosen()};
  for (std::size_t i = 1; i < node.children.size(); ++i) branches[i - 1] = branch(node, i, in_array);
  const Matrix yes(*this, branches[0]), no(*this, branches[1]);
  const std::int32_t rows = std::max({condition.rows(), yes.rows(), no.rows()});
  const std::int32_t columns = std::max({condition.columns(), yes.columns(), no.columns()});
  if (std::int64_t{rows} * columns > kMostValues) return ErrorCode::kArgument;
  Array& result = arena_.array(rows, columns);
  for (std::int32_t row = 0; row < rows; ++row) {
    for (std::int32_t column = 0; column < columns; ++column) {
      const Conversion truth = truth_of(spread(condition, row, column), book_.counts_from_1904);
      result.at(row, column) = truth.error != ErrorCode::kNone
                                   ? Value(truth.error)
                                   : spread(truth.number != 0 ? yes : no, row, column);
    }
  }
  return &result;
}

Operand Evaluation::form_if_error(const Node& node, bool in_array) {
  const bool only_missing = node.function->form == Form::kIfNa;
  const auto caught = [&](const Value& value) {
    return value.is_error() && (!only_missing || value.error() == ErrorCode::kNotAvailable);
  };
  const Operand tried = operand_of(node.children[0], in_array);
  if (!is_block(tried)) {
    if (!caught(first(tried))) return tried;
    const Operand result = branch(node, 1, in_array);
    return result.is_missing() ? Operand(Value()) : result;
  }
  const Matrix values(*this, tried), other(*this, branch(node, 1, in_array));
  if (values.size() > kMostValues) return ErrorCode::kArgument;
  Array& result = arena_.array(values.rows(), values.columns());
  for (std::int32_t row = 0; row < values.rows(); ++row) {
    for (std::int32_t column = 0; column < values.columns(); ++column) {
      const Value value = values.at(row, column);
      result.at(row, column) = caught(value) ? spread(other, row, column) : value;
    }
  }
  return &result;
}

// One branch, or for each value of the children that decide, where they have several, that of its own branch.
Operand Evaluation::chosen_branch(const Node& node, bool in_array, std::span<const std::size_t> deciding,
                                  const Decide& decide) {
  bool has_block = false;
  const Choice one = decide([&](std::size_t child) {
    const Operand operand = operand_of(node.children[child], in_array);
    has_block = has_block || is_block(operand);
    return has_block ? Value(ErrorCode::kNestedArray) : first(operand);
  });
  if (has_block) return chosen_branches(node, in_array, deciding, decide);
  if (one.error != ErrorCode::kNone) return one.error;
  const Operand result = branch(node, one.child, in_array);
  return result.is_missing() ? Operand(Value()) : result;
}

Operand Evaluation::chosen_branches(const Node& node, bool in_array, std::span<const std::size_t> deciding,
                                    const Decide& decide) {
  Children children(node.children.size());
  Extent decided;
  for (const std::size_t child : deciding)
    decided.cover(children[child].emplace(*this, operand_of(node.children[child], in_array)));
  if (decided.size() > kMostValues) return ErrorCode::kArgument;
  Extent all = decided;
  std::vector<Choice> choices;
  for (std::int32_t row = 0; row < decided.rows; ++row) {
    for (std::int32_t column = 0; column < decided.columns; ++column) {
      const Choice& choice = choices.emplace_back(
          decide([&](std::size_t child) { return spread(*children[child], row, column); }));
      if (choice.error == ErrorCode::kNone && !children[choice.child])
        all.cover(children[choice.child].emplace(*this, branch(node, choice.child, in_array)));
    }
  }
  if (all.size() > kMostValues) return ErrorCode::kArgument;
  Array& result = arena_.array(all.rows, all.columns);
  for (std::int32_t row = 0; row < all.rows; ++row)
    for (std::int32_t column = 0; column < all.columns; ++column)
      result.at(row, column) = chosen_value(children, choices, decided, row, column);
  return &result;
}

// `choices`: row by row of what was decided.
Value Evaluation::chosen_value(const Children& children, std::span<const Choice> choices,
                               const Extent& decided, std::int32_t row, std::int32_t column) {
  const std::int32_t at_row = decided.rows == 1 ? 0 : row, at_column = decided.columns == 1 ? 0 : column;
  if (at_row >= decided.rows || at_column >= decided.columns) return {ErrorCode::kNotAvailable};
  const Choice& choice =
      choices[static_cast<std::size_t>(at_row) * static_cast<std::size_t>(decided.columns) +
              static_cast<std::size_t>(at_column)];
  if (choice.error != ErrorCode::kNone) return {choice.error};
  return spread(*children[choice.child], row, column);
}

Operand Evaluation::form_choose(const Node& node, bool in_array) {
  constexpr std::size_t kPosition[] = {0};
  return chosen_branch(node, in_array, kPosition, [&](const ValueOfChild& value_of) -> Choice {
    const Conversion chosen = number_of(value_of(0), book_.counts_from_1904);
    if (chosen.error != ErrorCode::kNone) return {chosen.error};
    const double position = std::floor(chosen.number);
    if (!(position >= 1) || position >= static_cast<double>(node.children.size()))
      return {ErrorCode::kArgument};
    return {ErrorCode::kNone, static_cast<std::size_t>(position)};
  });
}

Operand Evaluation::form_ifs(const Node& node, bool in_array) {
  std::vector<std::size_t> conditions;
  for (std::size_t i = 0; i + 1 < node.children.size(); i += 2) conditions.push_back(i);
  return chosen_branch(node, in_array, conditions, [&](const ValueOfChild& value_of) -> Choice {
    for (const std::size_t condition : conditions) {
      const Conversion truth = truth_of(value_of(condition), book_.counts_from_1904);
      if (truth.error != ErrorCode::kNone) return {truth.error};
      if (truth.number != 0) return {ErrorCode::kNone, condition + 1};
    }
    return {ErrorCode::kNotAvailable};
  });
}

// A blank cell to be found is the empty text, an argument that is left out 0; among the values a blank fits
// both. A value that is an error fits nothing, and is the result when nothing fits.
Operand Evaluation::form_switch(const Node& node, bool in_array) {
  static const std::string kNothing;
  std::vector<std::size_t> deciding{0};
  for (std::size_t i = 1; i + 1 < node.children.size(); i += 2) deciding.push_back(i);
  const auto& asked = formula_->nodes[static_cast<std::size_t>(node.children[0])];
  const bool is_left_out = asked.type == NodeType::kMissing;
  return chosen_branch(node, in_array, deciding, [&](const ValueOfChild& value_of) -> Choice {
    Value wanted = is_left_out ? Value(0.0) : value_of(0);
    if (wanted.is_error()) return {wanted.error()};
    if (wanted.is_blank()) wanted = Value(&kNothing);
    ErrorCode unfit = ErrorCode::kNotAvailable;
    for (const std::size_t child : std::span(deciding).subspan(1)) {
      const Value one = value_of(child);
      if (one.is_error())
        unfit = one.error();
      else if ((one.is_blank() || one.is_text() == wanted.is_text()) && compare_values(wanted, one) == 0)
        return {ErrorCode::kNone, child + 1};
    }
    const std::size_t otherwise = 2 * deciding.size() - 1;
    return otherwise < node.children.size() ? Choice{ErrorCode::kNone, otherwise} : Choice{unfit};
  });
}

}  // namespace ordvane::calc
