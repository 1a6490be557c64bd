// Recalculates a model's outputs for other values of its inputs, sixteen at a time.
//
// Of all formulas only those are calculated that lie between the cells that change and the outputs: the cone.
// It is found once; a recalculation can be asked again with other values as often as wanted. Which cells
// OFFSET and its kin refer to shows only while they are calculated: the cone then grows, by what they find
// and what that is calculated from. What no change of a batch moves keeps its values from the one before.
//
// One recalculation is used by one thread; several may use one model.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "calc/lookup.h"
#include "calc/model.h"
#include "calc/program.h"

namespace ordvane::calc {

// A cell that holds another value. Texts must live until the results have been read. A cell with a formula
// loses it where it is changed.
struct CellChange {
  CellId cell = kNoCell;
  Value value;
};

class Recalculation : private LaneSource, private LaneValues {
 public:
  // `changing`: every cell that any recalculation will change. The model must outlive this.
  Recalculation(const Model& model, std::span<const CellId> changing, std::span<const CellId> outputs);
  ~Recalculation() override;
  Recalculation(const Recalculation&) = delete;
  Recalculation& operator=(const Recalculation&) = delete;

  // What in the cone is not calculated here, so that results would be wrong. More may show while cells are
  // found.
  const std::vector<Obstacle>& obstacles() const { return obstacles_; }
  // Number of formula cells in the cone.
  std::size_t cone_size() const { return order_.size(); }

  // One recalculation a lane, at most kLanes: the cells that it changes, all others as in the model. Gives
  // the outputs of the first lane, of the second and so on. They hold until the next call.
  std::span<const Value> evaluate(std::span<const std::span<const CellChange>> lanes);

 private:
  enum class State : std::uint8_t { kUnseen, kOpen, kOutside, kInside };
  // A cell of the cone.
  struct Slot {
    CellId cell = kNoCell;
    Lanes* lanes = nullptr;
    std::size_t begin = 0, end = 0;  // of its program; empty for one that only changes
    std::uint64_t calculated = 0;    // the batch that it was calculated in, or needed no calculation
    bool is_moved = true;            // by the changes of the batch that its values are of
    bool is_open = false;            // being calculated
  };
  struct Frame;

  const Lanes* lanes_of(CellId cell) override;
  Value value(CellId cell) override;
  const LineIndex* index(const Line& line) override;
  void choose(int lane) override { lane_ = lane; }
  bool moves(CellId cell) const override { return states_[static_cast<std::size_t>(cell)] == State::kInside; }

  void classify(CellId cell);
  void open_cell(std::vector<Frame>& frames, CellId cell);
  void close_cell(const Frame& frame);
  void compile_new();
  Slot& slot_of(CellId cell);
  bool is_known(CellId cell) const;
  bool is_current(const Slot& slot) const { return slot.calculated == batch_ || slot.begin == slot.end; }
  void ensure(CellId cell);
  void calculate(Slot& slot);
  void bring_up_to_date(Slot& slot);
  void change(std::span<const std::span<const CellChange>> lanes);

  const Model& model_;
  std::vector<CellId> outputs_;
  std::vector<bool> is_changing_;
  std::vector<State> states_;
  // Of each cell, by which of the changing cells it is moved: a bit for each of the first 64, which others
  // share.
  std::vector<std::uint64_t> moved_by_;
  std::uint64_t moving_ = 0;   // those that the batch changes
  std::vector<CellId> fresh_;  // of the cone, in the order of calculation, not compiled yet
  std::vector<CellId> order_;
  std::deque<Slot> slots_;
  std::vector<Slot*> slots_by_cell_;  // null: none
  std::vector<Slot*> changing_slots_;
  std::deque<Lanes> lanes_;
  std::vector<const Lanes*> constants_;  // by cell
  Program program_;
  std::map<std::array<std::int32_t, 5>, std::unique_ptr<LineIndex>> indexes_;  // null: of lines that move
  std::vector<Obstacle> obstacles_;
  Arena arena_{kMostOfResults};
  std::vector<Value> results_;
  std::span<const std::span<const CellChange>> changes_;
  bool grows_ = false;  // has formulas that find cells
  std::uint64_t batch_ = 0;
  int lane_ = 0;
  int depth_ = 0;  // of cells found while cells are calculated
};

}  // namespace ordvane::calc
