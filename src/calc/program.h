// The formulas of a cone as one flat program that calculates several recalculations side by side.
//
// Values travel as Lanes: plain arrays of numbers with a kind beside each. Operators and the frequent
// functions run over all lanes while they are numbers; whatever else a formula holds, each lane gets from the
// evaluator of trees (evaluation.h), which is the referee of all that is done here.
//
// IF and its kin become skips: a branch that no lane takes is not calculated, one that some take is
// calculated for all.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "calc/evaluation.h"
#include "calc/model.h"

namespace ordvane::calc {

enum class Op : std::uint8_t {
  kOne,     // result = operator a
  kTwo,     // result = a operator b
  kCall,    // result = function of arguments
  kPart,    // result = part of a formula, by the evaluator
  kWhole,   // result = what the formula of a cell gives there, by the evaluator
  kTruth,   // mask of the lanes where a is true, false, neither; result: the errors of the third
  kError,   // mask of the lanes where a is an error that the function catches
  kSkip,    // goes on at `target` when no lane of the mask's set is wanted
  kSelect,  // result = a where the mask is 1, b where it is 0, errors where it is neither
  kCopy,    // result = a, blank lanes as cells show them
};

struct Instruction {
  Op op{};
  NodeType type{};          // of operators
  bool wanted = false;      // kSkip: the set; kError: only #N/A
  std::int32_t mask = 0;    // position in Program::masks
  std::int32_t target = 0;  // kSkip: position; kCall, kPart: position in its list
  const Lanes* a = nullptr;
  const Lanes* b = nullptr;
  Lanes* result = nullptr;
};

// Which lanes a condition sends which way.
struct Mask {
  std::uint32_t yes = 0, no = 0;
};

// An argument that is a block of cells, or one value in all lanes.
struct ProgramArgument {
  enum class Type : std::uint8_t { kMissing, kSingle, kReference };
  Type type = Type::kMissing;
  const Lanes* lanes = nullptr;
  Reference reference;
};
struct ProgramCall {
  CellId cell = kNoCell;
  const Function* function = nullptr;
  std::vector<ProgramArgument> arguments;
  // For the lanes of the function, when it has such.
  std::vector<std::vector<const Lanes*>> cells;
  std::vector<LaneArgument> lanes;
};
struct ProgramPart {
  CellId cell = kNoCell;
  const Formula* formula = nullptr;  // null: the whole
  std::int32_t node = 0;
  bool in_array = false;  // as in an array formula
};

// Where the program finds the values of a cell: those that move have lanes of their own.
class LaneSource {
 public:
  virtual ~LaneSource() = default;
  virtual const Lanes* lanes_of(CellId cell) = 0;
  virtual bool moves(CellId cell) const = 0;
};

// The cells as one lane sees them.
class LaneValues : public CellValues {
 public:
  virtual void choose(int lane) = 0;
};

class Program {
 public:
  Program(const Model& model, LaneSource& source, LaneValues& values)
      : model_(model), source_(source), values_(values) {}

  // Adds what calculates a cell into `result`. Gives the position of its first instruction; it ends where the
  // next begins.
  std::size_t add(CellId cell, Lanes* result);
  std::size_t size() const { return code_.size(); }
  // How many lanes are looked at, from now on: what takes long is not calculated for the others.
  void use_lanes(int count) { lanes_ = count; }
  // Runs a part of it; `arena` keeps the texts that it makes. Throws ArenaFull.
  void run(std::size_t begin, std::size_t end, Arena& arena);

  const Lanes* constant(const Value& value);

 private:
  class Scratch;

  void compile_cell(const CellFormula& formula, Lanes* result);
  void add_whole(CellId cell, Lanes* result);
  const Lanes* compile(const Formula& formula, std::int32_t node);
  const Lanes* fixed(const Formula& formula, std::int32_t node);
  const Lanes* element(const Array& array);
  const Lanes* beyond();
  const std::vector<bool>& moving_nodes(const Formula& formula);
  bool node_moves(const Formula& formula, const Node& node, const std::vector<bool>& known);
  bool block_moves(const Reference& block) const;
  bool is_cell_argument(const Formula& formula, const Node& node, std::size_t child) const;
  const Lanes* compile_reference(const Node& node);
  const Lanes* compile_operator(const Formula& formula, const Node& node);
  const Lanes* compile_function(const Formula& formula, std::int32_t node);
  const Lanes* compile_if(const Formula& formula, const Node& node);
  const Lanes* compile_if_error(const Formula& formula, const Node& node);
  const Lanes* part(const Formula& formula, std::int32_t node);
  bool argument(const Formula& formula, std::int32_t child, char letter, ProgramArgument& out);
  void give_lanes(ProgramCall& call);
  bool is_single(const Formula& formula, std::int32_t node) const;
  // Of what an array formula gives; nothing where that depends on what is calculated.
  struct Extent {
    std::int32_t rows = 1, columns = 1;
    bool operator==(const Extent&) const = default;
    bool covers(const Extent& other) const { return rows >= other.rows && columns >= other.columns; }
  };
  std::optional<Extent> extent(const Formula& formula, std::int32_t node) const;
  std::optional<Extent> extent_of_function(const Formula& formula, const Node& node) const;
  bool is_single_function(const Formula& formula, const Node& node) const;
  bool finds_several(const Formula& formula, std::int32_t node) const;
  bool is_same_in_array(const Formula& formula, std::int32_t node) const;
  std::int32_t skip(std::int32_t mask, bool wanted);
  Lanes* temporary();
  Instruction& emit(Op op, Lanes* result);

  void run_one(const Instruction& instruction, Arena& arena);
  template <class Evaluate>
  void run_each(Lanes& result, Arena& arena, const Evaluate& evaluate);
  void run_call(const Instruction& instruction, Arena& arena);
  void run_two(const Instruction& instruction, Arena& arena) const;
  void run_truth(const Instruction& instruction);
  void run_select(const Instruction& instruction) const;

  const Model& model_;
  LaneSource& source_;
  LaneValues& values_;
  std::vector<Instruction> code_;
  std::vector<Mask> masks_;
  std::deque<ProgramCall> calls_;
  std::vector<ProgramPart> parts_;
  std::deque<Lanes> storage_;
  std::vector<Lanes*> temporaries_;  // shared by cells, which need theirs only while they are calculated
  std::size_t used_ = 0;
  bool owns_temporaries_ = false;
  CellId cell_ = kNoCell;
  // Of an array formula each cell is calculated by itself, as the element that is due to it.
  bool in_array_ = false;
  std::int32_t row_ = 0, column_ = 0;
  bool failed_ = false;                                       // it cannot
  std::map<const Formula*, std::vector<bool>> moving_nodes_;  // of the cell's formula and the names in it
  Arena kept_;
  // Of the evaluation that is going on, and of those that it came from: formulas find one another.
  std::deque<Arena> scratch_;
  std::size_t evaluations_ = 0;
  int lanes_ = kLanes;
  std::unordered_map<std::uint64_t, const Lanes*> numbers_;
};

}  // namespace ordvane::calc
