#include <algorithm>
#include <cmath>

#include "calc/operators.h"
#include "calc/program.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

constexpr std::uint32_t kAllLanes = (1U << kLanes) - 1;

// Sums that are so near to zero that the rules of rules.h decide.
template <bool plus>
void add_lanes(const Lanes& a, const Lanes& b, Lanes& result) {
  constexpr double kNear = 0x1p-46;
  std::array<double, kLanes> sums;
  bool is_near = false;
  for (std::size_t i = 0; i < kLanes; ++i) {
    sums[i] = plus ? a.number[i] + b.number[i] : a.number[i] - b.number[i];
    is_near |= std::fabs(sums[i]) <= std::fabs(a.number[i]) * kNear;
  }
  if (is_near)
    for (std::size_t i = 0; i < kLanes; ++i)
      sums[i] = plus ? add(a.number[i], b.number[i]) : subtract(a.number[i], b.number[i]);
  result.number = sums;
}

template <class Holds>
void compare_lanes(const Lanes& a, const Lanes& b, Lanes& result, const Holds& holds) {
  for (std::size_t i = 0; i < kLanes; ++i)
    result.number[i] = holds(compare(a.number[i], b.number[i])) ? 1 : 0;
  result.kind.fill(Kind::kBoolean);
}

// False for what needs more than numbers.
bool calculate_lanes(NodeType type, const Lanes& a, const Lanes& b, Lanes& result) {
  switch (type) {
    case NodeType::kAdd:
      add_lanes<true>(a, b, result);
      break;
    case NodeType::kSubtract:
      add_lanes<false>(a, b, result);
      break;
    case NodeType::kMultiply:
      for (std::size_t i = 0; i < kLanes; ++i) result.number[i] = a.number[i] * b.number[i];
      break;
    case NodeType::kDivide: {
      bool has_zero = false;
      for (std::size_t i = 0; i < kLanes; ++i) has_zero |= b.number[i] == 0;
      if (has_zero) return false;
      for (std::size_t i = 0; i < kLanes; ++i) result.number[i] = a.number[i] / b.number[i];
      break;
    }
    case NodeType::kPower: {
      // Time and again all lanes raise the same numbers, as where a year's number is no input.
      for (std::size_t i = 0; i < kLanes; ++i) {
        const bool repeats = i > 0 && a.number[i] == a.number[i - 1] && b.number[i] == b.number[i - 1];
        result.number[i] = repeats ? result.number[i - 1] : power(a.number[i], b.number[i]);
      }
      break;
    }
    case NodeType::kEqual:
      compare_lanes(a, b, result, [](int order) { return order == 0; });
      return true;
    case NodeType::kUnequal:
      compare_lanes(a, b, result, [](int order) { return order != 0; });
      return true;
    case NodeType::kLess:
      compare_lanes(a, b, result, [](int order) { return order < 0; });
      return true;
    case NodeType::kLessEqual:
      compare_lanes(a, b, result, [](int order) { return order <= 0; });
      return true;
    case NodeType::kGreater:
      compare_lanes(a, b, result, [](int order) { return order > 0; });
      return true;
    case NodeType::kGreaterEqual:
      compare_lanes(a, b, result, [](int order) { return order >= 0; });
      return true;
    default:
      return false;
  }
  bool finite = true;
  for (std::size_t i = 0; i < kLanes; ++i) finite &= std::isfinite(result.number[i]);
  result.kind.fill(Kind::kNumber);
  return finite;
}

Operand operand_of(const ProgramArgument& argument, int lane) {
  switch (argument.type) {
    case ProgramArgument::Type::kMissing:
      return {};
    case ProgramArgument::Type::kSingle:
      return argument.lanes->at(lane);
    case ProgramArgument::Type::kReference:
      return argument.reference;
  }
  return {};
}

}  // namespace

// What one evaluation needs on its way is gone with it: sixteen lanes of a thousand formulas, each with an
// array for every operator, do not fit together.
class Program::Scratch {
 public:
  explicit Scratch(Program& program) : program_(program) {
    if (program.scratch_.size() == program.evaluations_) program.scratch_.emplace_back(kMostOfFormula);
    arena_ = &program.scratch_[program.evaluations_++];
  }
  ~Scratch() {
    arena_->clear();
    --program_.evaluations_;
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  Arena& arena() { return *arena_; }

 private:
  Program& program_;
  Arena* arena_;
};

// `evaluate(evaluation, lane)` gives a value.
template <class Evaluate>
void Program::run_each(Lanes& result, Arena& arena, const Evaluate& evaluate) {
  for (int lane = 0; lane < lanes_; ++lane) {
    values_.choose(lane);
    Scratch scratch(*this);
    Evaluation evaluation(model_.workbook(), values_, scratch.arena(), model_.frozen());
    result.set(lane, arena.keep(evaluate(evaluation, lane), scratch.arena()));
  }
  for (int lane = lanes_; lane < kLanes; ++lane) result.set(lane, result.at(0));
}

void Program::run_two(const Instruction& instruction, Arena& arena) const {
  const Lanes& a = *instruction.a;
  const Lanes& b = *instruction.b;
  Lanes& result = *instruction.result;
  // A formula's result may stand where its operand stood.
  if (a.numeric() && b.numeric() && &a != &result && &b != &result &&
      calculate_lanes(instruction.type, a, b, result))
    return;
  const bool from_1904 = model_.workbook().counts_from_1904;
  for (int lane = 0; lane < kLanes; ++lane)
    result.set(lane, operate(instruction.type, a.at(lane), b.at(lane), from_1904, arena));
}

void Program::run_call(const Instruction& instruction, Arena& arena) {
  const ProgramCall& call = calls_[static_cast<std::size_t>(instruction.target)];
  if (!call.lanes.empty() && call.function->lanes(LaneCall{call.lanes, instruction.result})) return;
  std::vector<Operand> arguments(call.arguments.size());
  run_each(*instruction.result, arena, [&](Evaluation& evaluation, int lane) {
    for (std::size_t i = 0; i < arguments.size(); ++i) arguments[i] = operand_of(call.arguments[i], lane);
    return evaluation.single(evaluation.call(call.cell, *call.function, arguments));
  });
}

void Program::run_truth(const Instruction& instruction) {
  Mask mask;
  const Lanes& a = *instruction.a;
  const bool from_1904 = model_.workbook().counts_from_1904;
  for (int lane = 0; lane < kLanes; ++lane) {
    const auto i = static_cast<std::size_t>(lane);
    const bool is_number = a.kind[i] <= Kind::kBlank;
    const Conversion truth = is_number ? Conversion{a.number[i]} : truth_of(a.at(lane), from_1904);
    if (truth.error != ErrorCode::kNone)
      instruction.result->set(lane, truth.error);
    else
      (truth.number != 0 ? mask.yes : mask.no) |= 1U << lane;
  }
  masks_[static_cast<std::size_t>(instruction.mask)] = mask;
}

void Program::run_select(const Instruction& instruction) const {
  const Mask& mask = masks_[static_cast<std::size_t>(instruction.mask)];
  Lanes& result = *instruction.result;
  if (mask.yes == kAllLanes || mask.no == kAllLanes) {
    result = mask.yes == kAllLanes ? *instruction.a : *instruction.b;
    return;
  }
  for (std::size_t i = 0; i < kLanes; ++i) {
    const bool yes = (mask.yes >> i & 1U) != 0, no = (mask.no >> i & 1U) != 0;
    if (!yes && !no) continue;
    const Lanes& chosen = yes ? *instruction.a : *instruction.b;
    result.kind[i] = chosen.kind[i];
    result.number[i] = chosen.number[i];
    result.text[i] = chosen.text[i];
  }
}

void Program::run_one(const Instruction& instruction, Arena& arena) {
  Lanes* result = instruction.result;
  const bool from_1904 = model_.workbook().counts_from_1904;
  switch (instruction.op) {
    case Op::kOne:
      for (int lane = 0; lane < kLanes; ++lane)
        result->set(lane, operate(instruction.type, instruction.a->at(lane), from_1904));
      break;
    case Op::kPart:
    case Op::kWhole: {
      const ProgramPart part = parts_[static_cast<std::size_t>(instruction.target)];
      run_each(*result, arena, [&part](Evaluation& evaluation, int) {
        return part.formula == nullptr ? evaluation.cell_result(part.cell)
                                       : evaluation.part(part.cell, *part.formula, part.node, part.in_array);
      });
      break;
    }
    case Op::kError: {
      Mask mask;
      for (int lane = 0; lane < kLanes; ++lane) {
        const Value value = instruction.a->at(lane);
        const bool caught =
            value.is_error() && (!instruction.wanted || value.error() == ErrorCode::kNotAvailable);
        (caught ? mask.yes : mask.no) |= 1U << lane;
      }
      masks_[static_cast<std::size_t>(instruction.mask)] = mask;
      break;
    }
    default:
      *result = *instruction.a;
      for (Kind& kind : result->kind)
        kind = kind == Kind::kBlank ? Kind::kEmpty : kind == Kind::kUnchosen ? Kind::kBoolean : kind;
      break;
  }
}

void Program::run(std::size_t begin, std::size_t end, Arena& arena) {
  for (std::size_t at = begin; at < end; ++at) {
    const Instruction instruction = code_[at];  // a copy: what it finds may add to the program
    switch (instruction.op) {
      case Op::kTwo:
        run_two(instruction, arena);
        break;
      case Op::kCall:
        run_call(instruction, arena);
        break;
      case Op::kTruth:
        run_truth(instruction);
        break;
      case Op::kSelect:
        run_select(instruction);
        break;
      case Op::kSkip: {
        const Mask& mask = masks_[static_cast<std::size_t>(instruction.mask)];
        if ((instruction.wanted ? mask.yes : mask.no) == 0)
          at = static_cast<std::size_t>(instruction.target) - 1;
        break;
      }
      default:
        run_one(instruction, arena);
        break;
    }
  }
}

}  // namespace ordvane::calc
