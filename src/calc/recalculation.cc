#include "calc/recalculation.h"

#include <algorithm>

namespace ordvane::calc {
namespace {

std::size_t index_of(CellId cell) {
  return static_cast<std::size_t>(cell);
}

// Of cells found through one another while they are calculated; more are taken for a circle.
constexpr int kDeepest = 300;

}  // namespace

struct Recalculation::Frame {
  CellId cell = kNoCell;
  std::vector<CellId> precedents;  // those that were unseen when the cell was opened
  std::size_t next = 0;
  bool is_inside = false;
  std::uint64_t moved_by = 0;
};

Recalculation::Recalculation(const Model& model, std::span<const CellId> changing,
                             std::span<const CellId> outputs)
    : model_(model),
      outputs_(outputs.begin(), outputs.end()),
      is_changing_(model.workbook().cells.size()),
      states_(model.workbook().cells.size()),
      moved_by_(model.workbook().cells.size()),
      slots_by_cell_(model.workbook().cells.size()),
      constants_(model.workbook().cells.size()),
      program_(model, *this, *this) {
  for (const CellId cell : changing) {
    if (is_changing_[index_of(cell)]) continue;
    is_changing_[index_of(cell)] = true;
    moved_by_[index_of(cell)] = std::uint64_t{1} << (changing_slots_.size() % 64);
    changing_slots_.push_back(&slot_of(cell));
  }
  for (const CellId cell : outputs_) classify(cell);
  compile_new();
}

Recalculation::~Recalculation() = default;

// Finds out which of the cells that this one is calculated from lie in the cone, each before what is
// calculated from it.
void Recalculation::classify(CellId wanted) {
  if (states_[index_of(wanted)] != State::kUnseen) return;
  std::vector<Frame> frames;
  open_cell(frames, wanted);
  while (!frames.empty()) {
    Frame& frame = frames.back();
    if (frame.next < frame.precedents.size()) {
      const CellId next = frame.precedents[frame.next++];
      State& state = states_[index_of(next)];
      if (state == State::kUnseen) {
        open_cell(frames, next);
        continue;
      }
      if (state == State::kOpen) obstacles_.push_back({next, kCircularReference});
      frame.is_inside = frame.is_inside || state == State::kInside;
      frame.moved_by |= moved_by_[index_of(next)];
      continue;
    }
    const Frame done = std::move(frame);
    frames.pop_back();
    close_cell(done);
    if (frames.empty()) continue;
    if (states_[index_of(done.cell)] == State::kInside) frames.back().is_inside = true;
    frames.back().moved_by |= moved_by_[index_of(done.cell)];
  }
}

void Recalculation::open_cell(std::vector<Frame>& frames, CellId cell) {
  Frame frame;
  frame.cell = cell;
  states_[index_of(cell)] = State::kOpen;
  frame.is_inside = model_.finds_cells(cell);
  if (model_.has_formula(cell)) {
    model_.each_precedent(cell, [&](CellId precedent) {
      State& state = states_[index_of(precedent)];
      frame.moved_by |= moved_by_[index_of(precedent)];
      if (state == State::kInside) frame.is_inside = true;
      if (state == State::kUnseen && !model_.has_formula(precedent)) {
        state = is_changing_[index_of(precedent)] ? State::kInside : State::kOutside;
        frame.is_inside = frame.is_inside || state == State::kInside;
      } else if (state == State::kUnseen || state == State::kOpen) {
        frame.precedents.push_back(precedent);
      }
    });
  }
  frames.push_back(std::move(frame));
}

void Recalculation::close_cell(const Frame& frame) {
  const bool is_calculated = frame.is_inside && model_.has_formula(frame.cell);
  const bool is_inside = is_calculated || is_changing_[index_of(frame.cell)];
  states_[index_of(frame.cell)] = is_inside ? State::kInside : State::kOutside;
  if (is_inside) moved_by_[index_of(frame.cell)] |= frame.moved_by;
  if (!is_calculated) return;
  if (const std::string& what = model_.obstacle(frame.cell); !what.empty()) {
    obstacles_.push_back({frame.cell, what});
    return;
  }
  fresh_.push_back(frame.cell);
  grows_ = grows_ || model_.finds_cells(frame.cell);
}

Recalculation::Slot& Recalculation::slot_of(CellId cell) {
  Slot*& slot = slots_by_cell_[index_of(cell)];
  if (slot == nullptr) {
    slot = &slots_.emplace_back();
    slot->cell = cell;
    slot->lanes = &lanes_.emplace_back();
    slot->lanes->fill(model_.base(cell));
  }
  return *slot;
}

const Lanes* Recalculation::lanes_of(CellId cell) {
  if (states_[index_of(cell)] == State::kInside) return slot_of(cell).lanes;
  const Lanes*& constant = constants_[index_of(cell)];
  if (constant == nullptr) constant = program_.constant(model_.base(cell));
  return constant;
}

void Recalculation::compile_new() {
  const std::vector<CellId> cells = std::move(fresh_);
  fresh_.clear();
  for (const CellId cell : cells) {
    Slot& slot = slot_of(cell);
    slot.begin = program_.add(cell, slot.lanes);
    slot.end = program_.size();
    order_.push_back(cell);
  }
}

// The lanes that change the cell have their own value, the others the model's.
void Recalculation::change(std::span<const std::span<const CellChange>> lanes) {
  for (const Slot* slot : changing_slots_) slot->lanes->fill(model_.base(slot->cell));
  moving_ = 0;
  for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
    for (const CellChange& change : lanes[lane]) {
      const Slot* slot = slots_by_cell_[index_of(change.cell)];
      if (slot == nullptr) continue;
      slot->lanes->set(static_cast<int>(lane), change.value);
      moving_ |= moved_by_[index_of(change.cell)];
    }
  }
}

void Recalculation::calculate(Slot& slot) {
  slot.is_open = true;
  const int lane = lane_;
  ++depth_;
  try {
    program_.run(slot.begin, slot.end, arena_);
  } catch (const ArenaFull&) {
    obstacles_.push_back({slot.cell, kTooLarge});
    slot.lanes->fill(ErrorCode::kArgument);
  }
  --depth_;
  slot.is_open = false;
  lane_ = lane;
  if (!is_changing_[index_of(slot.cell)]) return;
  for (std::size_t i = 0; i < changes_.size(); ++i)
    for (const CellChange& change : changes_[i])
      if (change.cell == slot.cell) slot.lanes->set(static_cast<int>(i), change.value);
}

// Values that neither the batch nor the one that they are of moves are those of the base: a formula that
// finds cells then finds those that it found in the model, which are among its precedents.
void Recalculation::bring_up_to_date(Slot& slot) {
  const bool is_moved = (moved_by_[index_of(slot.cell)] & moving_) != 0;
  slot.calculated = batch_;
  if (!is_moved && !slot.is_moved) return;
  calculate(slot);
  // Texts live no longer than their batch.
  const auto& kinds = slot.lanes->kind;
  slot.is_moved = is_moved || std::find(kinds.begin(), kinds.end(), Kind::kText) != kinds.end();
}

// What a formula found while it was calculated, and what that needs first.
void Recalculation::ensure(CellId wanted) {
  classify(wanted);
  compile_new();
  std::vector<std::pair<CellId, bool>> open{{wanted, false}};
  while (!open.empty()) {
    const auto [cell, is_ready] = open.back();
    open.pop_back();
    if (slots_by_cell_[index_of(cell)] == nullptr) continue;
    Slot& slot = *slots_by_cell_[index_of(cell)];
    if (is_current(slot)) continue;
    if (is_ready) {
      bring_up_to_date(slot);
      continue;
    }
    open.emplace_back(cell, true);
    model_.each_precedent(cell, [&](CellId precedent) {
      if (states_[index_of(precedent)] == State::kInside) open.emplace_back(precedent, false);
    });
  }
}

bool Recalculation::is_known(CellId cell) const {
  const State state = states_[index_of(cell)];
  if (state != State::kInside) return state == State::kOutside;
  const Slot* slot = slots_by_cell_[index_of(cell)];
  return slot != nullptr && is_current(*slot);
}

Value Recalculation::value(CellId cell) {
  // The way of nearly all: formulas read whole blocks.
  const State state = states_[index_of(cell)];
  const Slot* known = slots_by_cell_[index_of(cell)];
  if (known == nullptr && state == State::kOutside) return model_.base(cell);
  if (known != nullptr && state == State::kInside && is_current(*known) && !known->is_open)
    return known->lanes->at(lane_);
  if (grows_ && !is_known(cell) && depth_ < kDeepest) ensure(cell);
  if (slots_by_cell_[index_of(cell)] == nullptr) return model_.base(cell);
  const Slot& slot = *slots_by_cell_[index_of(cell)];
  if (slot.is_open || !(is_known(cell) || depth_ == 0)) {
    obstacles_.push_back({cell, kCircularReference});
    return ErrorCode::kCircular;
  }
  return slot.lanes->at(lane_);
}

const LineIndex* Recalculation::index(const Line& line) {
  Reference block = line.operand->reference;
  std::int32_t& first = line.is_row ? block.row : block.column;
  first += line.at;
  (line.is_row ? block.last_row : block.last_column) = first;
  const auto [found, added] =
      indexes_.try_emplace({block.sheet, block.row, block.column, block.last_row, block.last_column});
  if (!added) return found->second.get();
  bool is_fixed = true;
  model_.workbook().sheets[static_cast<std::size_t>(block.sheet)].grid.each(
      block, [&](CellId cell, std::int32_t, std::int32_t) {
        classify(cell);
        is_fixed = is_fixed && !moves(cell);
      });
  compile_new();
  if (is_fixed) found->second = std::make_unique<LineIndex>(line);
  return found->second.get();
}

std::span<const Value> Recalculation::evaluate(std::span<const std::span<const CellChange>> lanes) {
  ++batch_;
  arena_.clear();
  changes_ = lanes;
  program_.use_lanes(static_cast<int>(lanes.size()));
  change(lanes);
  for (std::size_t i = 0; i < order_.size(); ++i) {
    Slot& slot = slot_of(order_[i]);
    if (slot.calculated != batch_) bring_up_to_date(slot);
  }
  results_.clear();
  for (lane_ = 0; lane_ < static_cast<int>(lanes.size()); ++lane_)
    for (const CellId output : outputs_) results_.push_back(value(output));
  changes_ = {};
  return results_;
}

}  // namespace ordvane::calc
