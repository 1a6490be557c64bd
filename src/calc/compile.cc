#include <algorithm>
#include <bit>

#include "calc/program.h"

namespace ordvane::calc {
namespace {

constexpr std::int64_t kMostCellsOfCall = 4096;

const Node& node_of(const Formula& formula, std::int32_t node) {
  return formula.nodes[static_cast<std::size_t>(node)];
}

bool is_operator(NodeType type) {
  return type >= NodeType::kNegate && type <= NodeType::kGreaterEqual;
}

}  // namespace

Lanes* Program::temporary() {
  if (owns_temporaries_) return &storage_.emplace_back();
  if (used_ == temporaries_.size()) temporaries_.push_back(&storage_.emplace_back());
  return temporaries_[used_++];
}

Instruction& Program::emit(Op op, Lanes* result) {
  Instruction& instruction = code_.emplace_back();
  instruction.op = op;
  instruction.result = result;
  return instruction;
}

const Lanes* Program::constant(const Value& value) {
  const bool is_plain = value.kind() == Kind::kNumber;
  const std::uint64_t bits = is_plain ? std::bit_cast<std::uint64_t>(value.number()) : 0;
  if (is_plain) {
    if (const auto found = numbers_.find(bits); found != numbers_.end()) return found->second;
  }
  Lanes& lanes = storage_.emplace_back();
  lanes.fill(value);
  if (is_plain) numbers_[bits] = &lanes;
  return &lanes;
}

std::size_t Program::add(CellId cell, Lanes* result) {
  const std::size_t begin = code_.size();
  const Cell& place = model_.workbook().cells[static_cast<std::size_t>(cell)];
  const CellId holder = place.array == kNoCell ? cell : place.array;
  const Cell& first = model_.workbook().cells[static_cast<std::size_t>(holder)];
  const CellFormula& formula = model_.workbook().formulas[static_cast<std::size_t>(first.formula)];
  cell_ = holder;
  used_ = 0;
  owns_temporaries_ = formula.tree.finds_cells;
  in_array_ = formula.is_array;
  row_ = place.row - first.row;
  column_ = place.column - first.column;
  failed_ = formula.tree.is_volatile;  // the evaluator counts the random numbers of a formula
  if (formula.is_dynamic && !formula.area.is_cell()) {
    const auto filled = extent(formula.tree, formula.tree.root());
    failed_ = failed_ || filled != Extent{formula.area.rows(), formula.area.columns()};
  }
  moving_nodes_.clear();
  if (!failed_) compile_cell(formula, result);
  if (failed_) {
    code_.resize(begin);
    add_whole(cell, result);
  }
  return begin;
}

void Program::add_whole(CellId cell, Lanes* result) {
  parts_.push_back({cell, nullptr, 0, true});
  emit(Op::kWhole, result).target = static_cast<std::int32_t>(parts_.size()) - 1;
}

void Program::compile_cell(const CellFormula& formula, Lanes* result) {
  const std::size_t begin = code_.size();
  const Lanes* value = compile(formula.tree, formula.tree.root());
  if (failed_) return;
  Instruction* last = code_.size() > begin ? &code_.back() : nullptr;
  const bool gives_number =
      last != nullptr && last->result == value &&
      ((last->op == Op::kTwo) || (last->op == Op::kOne && last->type != NodeType::kPlus));
  if (gives_number)
    last->result = result;
  else
    emit(Op::kCopy, result).a = value;
}

bool Program::block_moves(const Reference& block) const {
  bool found = false;
  for (std::int32_t sheet = block.sheet; sheet <= block.last_sheet && !found; ++sheet)
    model_.workbook().sheets[static_cast<std::size_t>(sheet)].grid.each(
        block, [&](CellId cell, std::int32_t, std::int32_t) { found = found || source_.moves(cell); });
  return found;
}

// An argument of which only the place matters.
bool Program::is_cell_argument(const Formula& formula, const Node& node, std::size_t child) const {
  return node.function->argument_letter(static_cast<int>(child)) == 'c' &&
         node_of(formula, node.children[child]).type == NodeType::kReference;
}

bool Program::node_moves(const Formula& formula, const Node& node, const std::vector<bool>& known) {
  const Cell& cell = model_.workbook().cells[static_cast<std::size_t>(cell_)];
  if (node.type == NodeType::kReference) return block_moves(resolved(node, cell.row, cell.column));
  if (node.type == NodeType::kRange || node.type == NodeType::kSpill) return true;
  if (node.type == NodeType::kName) {
    const Formula& named = model_.workbook().named(node.name);
    return named.nodes.empty() || moving_nodes(named).back();
  }
  const bool is_function = node.type == NodeType::kFunction;
  if (is_function && (node.function->flags & kFindsCells) != 0) return true;
  for (std::size_t i = 0; i < node.children.size(); ++i)
    if (known[static_cast<std::size_t>(node.children[i])] &&
        !(is_function && is_cell_argument(formula, node, i)))
      return true;
  return false;
}

// Which parts of a formula may change with the cone.
const std::vector<bool>& Program::moving_nodes(const Formula& formula) {
  const auto [found, added] = moving_nodes_.try_emplace(&formula);
  if (!added) return found->second;
  std::vector<bool> known;
  for (const Node& node : formula.nodes) known.push_back(node_moves(formula, node, known));
  return moving_nodes_[&formula] = std::move(known);
}

// A part that never changes is calculated here, once.
const Lanes* Program::fixed(const Formula& formula, std::int32_t node) {
  Evaluation evaluation(model_.workbook(), values_, kept_, model_.frozen());
  return constant(evaluation.part(cell_, formula, node, in_array_));
}

// A cell of an array formula behind the end of one of its blocks. How large the others are decides what it
// shows.
const Lanes* Program::beyond() {
  failed_ = true;
  return constant(Value());
}

// The value of an array that is due to the cell.
const Lanes* Program::element(const Array& array) {
  const std::int32_t row = array.rows == 1 ? 0 : row_, column = array.columns == 1 ? 0 : column_;
  if (row >= array.rows || column >= array.columns) return beyond();
  return constant(array.at(row, column));
}

bool Program::is_single_function(const Formula& formula, const Node& node) const {
  if (node.function->form == Form::kChoose || node.function->form == Form::kSwitch ||
      node.function->form == Form::kIfs)
    return false;
  if (node.function->form == Form::kPlain && (node.function->flags & (kGivesArrays | kGivesCells)) != 0) {
    // As ROW gives an array for several cells only.
    if ((node.function->flags & kGivesCells) != 0) return false;
    for (std::size_t i = 0; i < node.children.size(); ++i)
      if (!is_cell_argument(formula, node, i) || !is_single(formula, node.children[i])) return false;
    return true;
  }
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    const char letter = node.function->argument_letter(static_cast<int>(i));
    if (letter == 's' && !is_single(formula, node.children[i])) return false;
    if (letter == 'r' && finds_several(formula, node.children[i])) return false;
  }
  return true;
}

// Whether several blocks come of it.
bool Program::finds_several(const Formula& formula, std::int32_t position) const {
  const Node& node = node_of(formula, position);
  if (node.type == NodeType::kName) {
    const Formula& named = model_.workbook().named(node.name);
    return !named.nodes.empty() && finds_several(named, named.root());
  }
  if (node.type != NodeType::kFunction) return false;
  if (node.function->form != Form::kPlain)  // one of whose arguments may be its result
    return std::ranges::any_of(node.children,
                               [&](std::int32_t child) { return finds_several(formula, child); });
  if (!finds_blocks(*node.function)) return false;
  for (std::size_t i = 0; i < node.children.size(); ++i)
    if (node.function->argument_letter(static_cast<int>(i)) == 's' && !is_single(formula, node.children[i]))
      return true;
  return false;
}

// Whether it gives one value in an array formula as well as in any other.
bool Program::is_single(const Formula& formula, std::int32_t position) const {
  const Node& node = node_of(formula, position);
  if (node.type == NodeType::kConstant || node.type == NodeType::kMissing || node.type == NodeType::kSingle)
    return true;
  if (node.type == NodeType::kReference) {
    const Cell& cell = model_.workbook().cells[static_cast<std::size_t>(cell_)];
    return resolved(node, cell.row, cell.column).is_cell();
  }
  if (node.type == NodeType::kName) {
    const Formula& named = model_.workbook().named(node.name);
    return !named.nodes.empty() && is_single(named, named.root());
  }
  if (is_operator(node.type)) {
    for (const std::int32_t child : node.children)
      if (!is_single(formula, child)) return false;
    return true;
  }
  return node.type == NodeType::kFunction && is_single_function(formula, node);
}

std::optional<Program::Extent> Program::extent(const Formula& formula, std::int32_t position) const {
  const Node& node = node_of(formula, position);
  switch (node.type) {
    case NodeType::kConstant:
    case NodeType::kMissing:
    case NodeType::kSingle:
      return Extent{};
    case NodeType::kArray:
      return Extent{node.array->rows, node.array->columns};
    case NodeType::kReference: {
      const Cell& cell = model_.workbook().cells[static_cast<std::size_t>(cell_)];
      const Reference block = resolved(node, cell.row, cell.column);
      if (block.sheet != block.last_sheet || block.rows() == kRows || block.columns() == kColumns) return {};
      return Extent{block.rows(), block.columns()};
    }
    case NodeType::kName: {
      const Formula& named = model_.workbook().named(node.name);
      return named.nodes.empty() ? std::nullopt : extent(named, named.root());
    }
    case NodeType::kFunction:
      return extent_of_function(formula, node);
    default:
      break;
  }
  if (!is_operator(node.type)) return {};
  Extent all;
  for (const std::int32_t child : node.children) {
    const auto one = extent(formula, child);
    if (!one) return {};
    all = {std::max(all.rows, one->rows), std::max(all.columns, one->columns)};
  }
  return all;
}

std::optional<Program::Extent> Program::extent_of_function(const Formula& formula, const Node& node) const {
  const Form form = node.function->form;
  const bool is_plain = form == Form::kPlain;
  if (is_plain ? (node.function->flags & (kGivesArrays | kGivesCells)) != 0
               : form != Form::kIf && form != Form::kIfError && form != Form::kIfNa)
    return {};
  Extent all;
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    if (is_plain && node.function->argument_letter(static_cast<int>(i)) != 's') {
      if (finds_several(formula, node.children[i])) return {};
      continue;
    }
    const auto one = extent(formula, node.children[i]);
    if (!one || (!is_plain && i > 0 && !all.covers(*one))) return {};
    all = {std::max(all.rows, one->rows), std::max(all.columns, one->columns)};
  }
  return all;
}

// Whether an array formula calculates it as any other does: nothing in it takes one value of a block that an
// array formula takes whole.
bool Program::is_same_in_array(const Formula& formula, std::int32_t position) const {
  const Node& node = node_of(formula, position);
  if (node.type == NodeType::kLocal) return false;  // which may be asked for often, one within the other
  if (node.type == NodeType::kName) {
    const Formula& named = model_.workbook().named(node.name);
    return !named.nodes.empty() && is_same_in_array(named, named.root());
  }
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    const char letter =
        node.type == NodeType::kFunction ? node.function->argument_letter(static_cast<int>(i)) : 's';
    if (letter == 'a') continue;  // always calculated so
    if (letter == 's' && !is_single(formula, node.children[i])) return false;
    if (!is_same_in_array(formula, node.children[i])) return false;
  }
  return true;
}

const Lanes* Program::part(const Formula& formula, std::int32_t node) {
  Lanes* result = temporary();
  if (in_array_ && !is_single(formula, node)) {
    failed_ = true;
    return result;
  }
  parts_.push_back({cell_, &formula, node, in_array_});
  emit(Op::kPart, result).target = static_cast<std::int32_t>(parts_.size()) - 1;
  return result;
}

const Lanes* Program::compile(const Formula& formula, std::int32_t position) {
  const Node& node = node_of(formula, position);
  const bool is_one = is_single(formula, position);
  if (node.type == NodeType::kConstant) return constant(node.constant);
  if (node.type == NodeType::kMissing) return constant(Value());
  if (is_one && node.type != NodeType::kReference &&
      !moving_nodes(formula)[static_cast<std::size_t>(position)])
    return fixed(formula, position);
  if (!is_one && !in_array_) return part(formula, position);
  if (node.type == NodeType::kReference) return compile_reference(node);
  if (node.type == NodeType::kArray) return element(*node.array);
  if (node.type == NodeType::kFunction) return compile_function(formula, position);
  if (node.type == NodeType::kName) {
    const Formula& named = model_.workbook().named(node.name);
    return named.nodes.empty() ? part(formula, position) : compile(named, named.root());
  }
  return is_operator(node.type) ? compile_operator(formula, node) : part(formula, position);
}

const Lanes* Program::compile_reference(const Node& node) {
  const Cell& cell = model_.workbook().cells[static_cast<std::size_t>(cell_)];
  const Reference block = resolved(node, cell.row, cell.column);
  if (block.sheet != block.last_sheet) return beyond();
  const std::int32_t row = block.rows() == 1 ? 0 : row_, column = block.columns() == 1 ? 0 : column_;
  if (row >= block.rows() || column >= block.columns()) return beyond();
  const CellId id = model_.workbook().find(block.sheet, block.row + row, block.column + column);
  return id == kNoCell ? constant(Value()) : source_.lanes_of(id);
}

const Lanes* Program::compile_operator(const Formula& formula, const Node& node) {
  const Lanes* a = compile(formula, node.children[0]);
  if (node.type == NodeType::kPlus) return a;
  const bool is_two = node.children.size() == 2;
  const Lanes* b = is_two ? compile(formula, node.children[1]) : nullptr;
  Lanes* result = temporary();
  Instruction& instruction = emit(is_two ? Op::kTwo : Op::kOne, result);
  instruction.type = node.type;
  instruction.a = a;
  instruction.b = b;
  return result;
}

// False for an argument that only the evaluator can give.
bool Program::argument(const Formula& formula, std::int32_t child, char letter, ProgramArgument& out) {
  const Node& node = node_of(formula, child);
  if (node.type == NodeType::kMissing) return true;
  if (node.type == NodeType::kName) {
    const Formula& named = model_.workbook().named(node.name);
    return !named.nodes.empty() && argument(named, named.root(), letter, out);
  }
  if (letter != 's' && node.type == NodeType::kReference) {
    const Cell& cell = model_.workbook().cells[static_cast<std::size_t>(cell_)];
    out.type = ProgramArgument::Type::kReference;
    out.reference = resolved(node, cell.row, cell.column);
    return true;
  }
  if (letter == 'c' || (!is_single(formula, child) && (letter != 's' || !in_array_))) return false;
  if (letter == 'a' && !in_array_ && !is_same_in_array(formula, child)) return false;
  // What IF and its kin give may be a cell, which matters where a block may stand.
  const bool may_be_cell = node.type == NodeType::kSingle ||
                           (node.type == NodeType::kFunction && node.function->form != Form::kPlain);
  if (letter != 's' && may_be_cell) return false;
  out.type = ProgramArgument::Type::kSingle;
  out.lanes = compile(formula, child);
  return true;
}

// The cells of the blocks, each with its lanes.
void Program::give_lanes(ProgramCall& call) {
  std::int64_t count = 0;
  for (const ProgramArgument& argument : call.arguments) {
    if (argument.type == ProgramArgument::Type::kMissing) return;
    count += std::int64_t{argument.reference.rows()} * argument.reference.columns();
  }
  if (count > kMostCellsOfCall) return;
  for (const ProgramArgument& argument : call.arguments) {
    std::vector<const Lanes*>& cells = call.cells.emplace_back();
    if (argument.type == ProgramArgument::Type::kSingle) {
      cells.push_back(argument.lanes);
      continue;
    }
    for (std::int32_t sheet = argument.reference.sheet; sheet <= argument.reference.last_sheet; ++sheet)
      model_.workbook().sheets[static_cast<std::size_t>(sheet)].grid.each(
          argument.reference,
          [&](CellId cell, std::int32_t, std::int32_t) { cells.push_back(source_.lanes_of(cell)); });
  }
  for (std::size_t i = 0; i < call.arguments.size(); ++i)
    call.lanes.push_back({call.cells[i], call.arguments[i].type == ProgramArgument::Type::kReference});
}

const Lanes* Program::compile_function(const Formula& formula, std::int32_t position) {
  const Node& node = node_of(formula, position);
  if (node.function->form == Form::kIf) return compile_if(formula, node);
  if (node.function->form == Form::kIfError || node.function->form == Form::kIfNa)
    return compile_if_error(formula, node);
  const bool is_one = is_single(formula, position);
  const bool gives_several = (node.function->flags & (kGivesArrays | kGivesCells)) != 0 && !is_one;
  if (node.function->form != Form::kPlain || gives_several || (node.function->flags & kFindsCells) != 0)
    return part(formula, position);
  ProgramCall call;
  call.cell = cell_;
  call.function = node.function;
  const std::size_t code_before = code_.size(), used_before = used_;
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    ProgramArgument& out = call.arguments.emplace_back();
    if (argument(formula, node.children[i], node.function->argument_letter(static_cast<int>(i)), out))
      continue;
    code_.resize(code_before);
    used_ = used_before;
    return part(formula, position);
  }
  if (node.function->lanes != nullptr) give_lanes(call);
  calls_.push_back(std::move(call));
  Lanes* result = temporary();
  emit(Op::kCall, result).target = static_cast<std::int32_t>(calls_.size()) - 1;
  return result;
}

std::int32_t Program::skip(std::int32_t mask, bool wanted) {
  Instruction& instruction = emit(Op::kSkip, nullptr);
  instruction.mask = mask;
  instruction.wanted = wanted;
  return static_cast<std::int32_t>(code_.size()) - 1;
}

const Lanes* Program::compile_if(const Formula& formula, const Node& node) {
  const auto mask = static_cast<std::int32_t>(masks_.size());
  masks_.emplace_back();
  const Lanes* condition = compile(formula, node.children[0]);
  Lanes* result = temporary();
  Instruction& truth = emit(Op::kTruth, result);
  truth.a = condition;
  truth.mask = mask;
  std::array<const Lanes*, 2> branches{};
  const Value no = is_single(formula, node.children[0]) ? Value::boolean(false) : Value::unchosen();
  for (const std::size_t i : {std::size_t{0}, std::size_t{1}}) {
    const std::int32_t at = skip(mask, i == 0);
    branches[i] = i + 1 < node.children.size() ? compile(formula, node.children[i + 1])
                                               : constant(i == 0 ? Value::boolean(true) : no);
    code_[static_cast<std::size_t>(at)].target = static_cast<std::int32_t>(code_.size());
  }
  Instruction& select = emit(Op::kSelect, result);
  select.mask = mask;
  select.a = branches[0];
  select.b = branches[1];
  return result;
}

const Lanes* Program::compile_if_error(const Formula& formula, const Node& node) {
  const auto mask = static_cast<std::int32_t>(masks_.size());
  masks_.emplace_back();
  const Lanes* tried = compile(formula, node.children[0]);
  Instruction& error = emit(Op::kError, nullptr);
  error.a = tried;
  error.mask = mask;
  error.wanted = node.function->form == Form::kIfNa;
  Lanes* result = temporary();
  const std::int32_t at = skip(mask, true);
  const Lanes* other = compile(formula, node.children[1]);
  code_[static_cast<std::size_t>(at)].target = static_cast<std::int32_t>(code_.size());
  Instruction& select = emit(Op::kSelect, result);
  select.mask = mask;
  select.a = other;
  select.b = tried;
  return result;
}

}  // namespace ordvane::calc
