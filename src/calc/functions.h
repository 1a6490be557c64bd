// The table of worksheet functions: what each is called, which arguments it takes, and what calculates it.
//
// Files functions_FIELD.cc hold the functions of a field and end with the field's part of the table.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "calc/call.h"

namespace ordvane::calc {

using FunctionBody = Operand (*)(Call& call);
// False when it does not calculate these arguments; the body is then called for each lane.
using LaneBody = bool (*)(const LaneCall& call);

// Functions whose arguments are evaluated only when they are needed, or that must know more of the formula
// than values. The evaluator itself calculates them, and they have no body.
enum class Form : std::uint8_t { kPlain, kIf, kIfError, kIfNa, kIfs, kChoose, kSwitch };

inline constexpr std::uint8_t kAnyNumber = 255;

// Functions that take a step for each of what an argument counts refuse more than these: no model means it,
// and a number such as 1E300 would keep them busy for ever.
inline constexpr double kMostSteps = 1e7;

// Flags.
inline constexpr std::uint8_t kVolatile = 1;  // other values with every calculation; here frozen for a run
inline constexpr std::uint8_t kFindsCells =
    2;  // which cells it refers to is known only when it is calculated
inline constexpr std::uint8_t kGivesCells = 4;   // its result may be a reference
inline constexpr std::uint8_t kGivesArrays = 8;  // its result may have several values even if no argument has

struct Function {
  std::string_view name;     // as files have it, without the prefix of newer functions; capital letters
  std::uint8_t least, most;  // arguments; kAnyNumber: as many as there are
  // One letter an argument; what follows '|' is repeated; without '|' the last letter is.
  //   s  a single value. From a reference the cell in the formula's own row or column is taken; from an array
  //   its first
  //      value, or in an array formula the function is calculated for each of its values.
  //   r  a reference or array is taken whole; operators on ranges in this argument still give single values
  //   a  the same, and what stands in this argument is calculated as in an array formula
  //   c  a reference, which is not read
  std::string_view arguments;
  FunctionBody body;
  LaneBody lanes = nullptr;
  std::uint8_t flags = 0;
  Form form = Form::kPlain;

  char argument_letter(int position) const;
};

// As OFFSET does: a block of cells for each of several values.
inline bool finds_blocks(const Function& function) {
  constexpr std::uint8_t kBoth = kGivesCells | kFindsCells;
  return (function.flags & kBoth) == kBoth;
}

// Null for none. `name` in capital letters, with or without "_xlfn.", "_xlws." before it.
const Function* find_function(std::string_view name);
// All, by name.
std::span<const Function* const> all_functions();

// The fields.
std::span<const Function> math_functions();
std::span<const Function> statistical_functions();
std::span<const Function> text_functions();
std::span<const Function> date_functions();
std::span<const Function> financial_functions();
std::span<const Function> lookup_functions();
std::span<const Function> logical_functions();
std::span<const Function> information_functions();
std::span<const Function> rounding_functions();
std::span<const Function> elementary_functions();
std::span<const Function> criteria_functions();
std::span<const Function> matrix_functions();
std::span<const Function> sample_functions();
std::span<const Function> pair_functions();
std::span<const Function> distribution_functions();
std::span<const Function> annuity_functions();
std::span<const Function> depreciation_functions();
std::span<const Function> calendar_functions();
std::span<const Function> number_text_functions();
std::span<const Function> finding_functions();
std::span<const Function> array_functions();
std::span<const Function> kind_functions();
std::span<const Function> bond_functions();
std::span<const Function> line_functions();
std::span<const Function> unit_functions();

// Makes a lane body of a function of one or two numbers, for LaneBody: `lanes_of<std::sqrt>`. It steps aside
// when an argument has texts or errors, or a result is no finite number.
template <double (*function)(double)>
bool lanes_of_number(const LaneCall& call) {
  const Lanes& x = *call.arguments[0].cells[0];
  Lanes& result = *call.result;
  if (!x.numeric()) return false;
  bool finite = true;
  for (int lane = 0; lane < kLanes; ++lane) {
    const auto i = static_cast<std::size_t>(lane);
    result.number[i] = function(x.number[i]);
    finite = finite && std::isfinite(result.number[i]);
  }
  result.kind.fill(Kind::kNumber);
  return finite;
}
template <double (*function)(double, double)>
bool lanes_of_numbers(const LaneCall& call) {
  if (call.arguments.size() != 2) return false;
  const Lanes& x = *call.arguments[0].cells[0];
  const Lanes& y = *call.arguments[1].cells[0];
  Lanes& result = *call.result;
  if (!x.numeric() || !y.numeric()) return false;
  bool finite = true;
  for (int lane = 0; lane < kLanes; ++lane) {
    const auto i = static_cast<std::size_t>(lane);
    result.number[i] = function(x.number[i], y.number[i]);
    finite = finite && std::isfinite(result.number[i]);
  }
  result.kind.fill(Kind::kNumber);
  return finite;
}

}  // namespace ordvane::calc
