#include "calc/model.h"

#include <algorithm>

namespace ordvane::calc {
namespace {

const std::string kNothing;
const std::string kCircular = kCircularReference, kLarge = kTooLarge;

bool holds(const std::vector<CellId>& sorted, CellId cell) {
  return std::binary_search(sorted.begin(), sorted.end(), cell);
}

std::size_t index_of(CellId cell) {
  return static_cast<std::size_t>(cell);
}

// The blocks that a formula reads, names followed.
void each_block(const Workbook& book, const Formula& formula, const Cell& cell,
                const std::function<void(const Reference&)>& visit) {
  std::vector<bool> is_unread(formula.nodes.size());
  for (const Node& node : formula.nodes) {
    if (node.type != NodeType::kFunction) continue;
    for (std::size_t i = 0; i < node.children.size(); ++i)
      if (node.function->argument_letter(static_cast<int>(i)) == 'c')
        is_unread[static_cast<std::size_t>(node.children[i])] = true;
  }
  for (std::size_t i = 0; i < formula.nodes.size(); ++i) {
    const Node& node = formula.nodes[i];
    if (is_unread[i]) continue;
    if (node.type == NodeType::kReference) visit(resolved(node, cell.row, cell.column));
    if (node.type == NodeType::kName) each_block(book, book.named(node.name), cell, visit);
  }
}

}  // namespace

// Calculates all formulas once, one after the other. What only a calculation finds is calculated when it is
// asked for.
class Model::Base : public CellValues {
 public:
  explicit Base(Model& model) : model_(model), states_(model.book_.cells.size()) {}

  void calculate_all() {
    for (CellId cell = 0; cell < static_cast<CellId>(states_.size()); ++cell) calculate(cell);
  }
  Value value(CellId cell) override {
    State& state = states_[index_of(cell)];
    if (model_.finds_cells(current_)) model_.found_[current_].push_back(cell);
    if ((state == State::kNone || state == State::kListed) && depth_ < kDeepest) calculate(cell);
    if (state != State::kDone) {
      model_.circular_.push_back(cell);
      return ErrorCode::kCircular;
    }
    return model_.base_[index_of(cell)];
  }

 private:
  enum class State : std::uint8_t { kNone, kListed, kOpen, kDone };

  void calculate(CellId wanted);
  void evaluate(CellId cell);

  static constexpr int kDeepest = 300;  // of formulas that find one another only while they are calculated

  Model& model_;
  std::vector<State> states_;
  CellId current_ = 0;
  int depth_ = 0;
};

// Precedents first, without recursion: chains are as long as sheets.
void Model::Base::calculate(CellId wanted) {
  std::vector<CellId> open{wanted};
  while (!open.empty()) {
    const CellId cell = open.back();
    State& state = states_[index_of(cell)];
    if (state == State::kDone || state == State::kOpen) {
      open.pop_back();
    } else if (state == State::kListed || !model_.obstacle(cell).empty() || !model_.has_formula(cell)) {
      open.pop_back();
      evaluate(cell);
    } else {
      state = State::kListed;
      model_.each_precedent(cell, [&](CellId precedent) {
        if (states_[index_of(precedent)] == State::kNone) open.push_back(precedent);
      });
    }
  }
}

void Model::Base::evaluate(CellId cell) {
  states_[index_of(cell)] = State::kOpen;
  if (model_.has_formula(cell) && model_.obstacle(cell).empty()) {
    const CellId before = current_;
    current_ = cell;
    ++depth_;
    try {
      Arena arena(kMostOfFormula);
      const Value result = Evaluation(model_.book_, *this, arena, model_.frozen_).cell_result(cell);
      if (result.is_error() && result.error() == ErrorCode::kCircular) model_.circular_.push_back(cell);
      model_.base_[index_of(cell)] = result.is_text() ? model_.arena_.text(result.text()) : result;
    } catch (const ArenaFull&) {
      model_.too_large_.push_back(cell);
    }
    --depth_;
    current_ = before;
  }
  states_[index_of(cell)] = State::kDone;
}

Model::Model(const std::filesystem::path& path, const Frozen& frozen) : book_(path), frozen_(frozen) {
  calculate_base();
}

Model::Model(std::string_view bytes, const std::string& name, const Frozen& frozen)
    : book_(bytes, name), frozen_(frozen) {
  calculate_base();
}

void Model::calculate_base() {
  base_.reserve(book_.cells.size());
  for (const Cell& cell : book_.cells) base_.push_back(cell.stored);
  Base(*this).calculate_all();
  for (auto& [cell, found] : found_) {
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
  }
  std::sort(too_large_.begin(), too_large_.end());
  std::sort(circular_.begin(), circular_.end());
  circular_.erase(std::unique(circular_.begin(), circular_.end()), circular_.end());
  for (const CellId cell : circular_) base_[index_of(cell)] = book_.cells[index_of(cell)].stored;
}

CellId Model::cell(std::int32_t sheet, std::int32_t row, std::int32_t column) {
  const CellId cell = book_.add(sheet, row, column);
  base_.resize(book_.cells.size());
  return cell;
}

CellId Model::named_cell(std::string_view name) const {
  const std::int32_t position = book_.name(name, -1);
  if (position < 0) return kNoCell;
  const Formula& formula = book_.named(position);
  if (formula.nodes.size() != 1 || formula.nodes[0].type != NodeType::kReference) return kNoCell;
  const Reference block = resolved(formula.nodes[0], 0, 0);
  return block.is_cell() ? book_.find(block.sheet, block.row, block.column) : kNoCell;
}

CellId Model::holder(CellId cell) const {
  const CellId array = book_.cells[index_of(cell)].array;
  return array == kNoCell ? cell : array;
}

const CellFormula* Model::formula_of(CellId cell) const {
  const std::int32_t formula = book_.cells[index_of(holder(cell))].formula;
  return formula < 0 ? nullptr : &book_.formulas[static_cast<std::size_t>(formula)];
}

bool Model::has_formula(CellId cell) const {
  return formula_of(cell) != nullptr;
}

std::vector<CellId> Model::formula_cells() const {
  std::vector<CellId> cells;
  for (CellId cell = 0; cell < static_cast<CellId>(book_.cells.size()); ++cell)
    if (has_formula(cell)) cells.push_back(cell);
  return cells;
}

const std::string& Model::obstacle(CellId cell) const {
  const CellFormula* formula = formula_of(cell);
  if (formula == nullptr) return kNothing;
  if (!formula->tree.unsupported.empty()) return formula->tree.unsupported;
  if (holds(too_large_, cell)) return kLarge;
  return holds(circular_, cell) ? kCircular : kNothing;
}

std::vector<Obstacle> Model::obstacles() const {
  std::vector<Obstacle> all;
  for (CellId cell = 0; cell < static_cast<CellId>(book_.cells.size()); ++cell)
    if (const std::string& what = obstacle(cell); !what.empty()) all.push_back({cell, what});
  return all;
}

void Model::each_precedent(CellId cell, const std::function<void(CellId)>& visit) const {
  const CellFormula* formula = formula_of(cell);
  if (formula == nullptr) return;
  each_block(book_, formula->tree, book_.cells[index_of(holder(cell))], [&](const Reference& block) {
    for (std::int32_t sheet = block.sheet; sheet <= block.last_sheet; ++sheet)
      book_.sheets[static_cast<std::size_t>(sheet)].grid.each(
          block, [&](CellId precedent, std::int32_t, std::int32_t) { visit(precedent); });
  });
  if (const auto found = found_.find(cell); found != found_.end())
    for (const CellId precedent : found->second) visit(precedent);
}

bool Model::finds_cells(CellId cell) const {
  const CellFormula* formula = formula_of(cell);
  return formula != nullptr && formula->tree.finds_cells;
}

std::vector<CellId> Model::all_precedents(std::span<const CellId> cells) const {
  std::vector<CellId> ordered, open(cells.begin(), cells.end());
  std::vector<std::uint8_t> seen(book_.cells.size());  // 1: listed, 2: in the order
  while (!open.empty()) {
    const CellId cell = open.back();
    std::uint8_t& state = seen[index_of(cell)];
    if (state != 0) {
      open.pop_back();
      if (state == 1) ordered.push_back(cell);
      state = 2;
      continue;
    }
    state = 1;
    each_precedent(cell, [&](CellId precedent) {
      if (seen[index_of(precedent)] == 0) open.push_back(precedent);
    });
  }
  return ordered;
}

}  // namespace ordvane::calc
