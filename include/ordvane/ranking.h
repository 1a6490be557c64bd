/// @file
/// Which inputs move an output, and by how much.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ordvane/run.h"

namespace ordvane {

/// What one input did to an output while every other input was at its base. A figure that the run does not
/// give is not there: of an output that was no number at any step, a change from a base of 0.
struct Effect {
  std::size_t input = 0;                ///< position in Run::inputs
  std::string name;                     ///< of the input, or its address where it has none
  std::int32_t rank = 0;                ///< 1 moves the output most
  std::optional<double> low;            ///< lowest value of the output
  std::optional<double> high;           ///< highest value of the output
  std::optional<double> swing;          ///< high less low
  std::optional<double> low_change;     ///< (low - base) / |base|
  std::optional<double> high_change;    ///< (high - base) / |base|
  std::optional<double> input_at_low;   ///< what the input was set to where the output was lowest
  std::optional<double> input_at_high;  ///< and where it was highest
  std::int32_t steps = 0;               ///< recalculations of the input
  std::int32_t failed = 0;       ///< how many of their results are no numbers; the figures are without them
  bool moves = false;            ///< results differ from one another or from the base value
  bool leaves_out_base = false;  ///< no step stood at the input's base: its effect may be larger
};

/// An input of a group.
struct GroupMember {
  std::size_t input = 0;            ///< position in Run::inputs
  std::string name;                 ///< of the input, or its address where it has none
  std::optional<double> at_low;     ///< what it was set to where the output was lowest
  std::optional<double> at_high;    ///< and where it was highest
  std::optional<double> own_swing;  ///< of the output when this input alone is varied
};

/// Why a group has no interaction: its swing and those of its members cannot be compared. The numbers stay
/// what they are.
enum class InteractionState : int {
  kMeasured = 0,     ///< it has one
  kNoOwnSwing = 1,   ///< a member varied alone has no result to compare with
  kOtherValues = 2,  ///< a member took other values alone than in the group
  kErrors = 3,       ///< results that are no numbers cut one of the ranges
};

/// "measured", "no_own_swing" and so on; "unknown" for what is no state.
ORDVANE_API const char* state_name(InteractionState state) noexcept;

/// What inputs varied together did to an output.
struct GroupEffect {
  std::vector<GroupMember> members;   ///< in the order of the group
  std::int32_t rank = 0;              ///< among the groups, from 1
  std::optional<double> low;          ///< lowest value of the output
  std::optional<double> high;         ///< highest value of the output
  std::optional<double> swing;        ///< high less low
  std::optional<double> low_change;   ///< (low - base) / |base|
  std::optional<double> high_change;  ///< (high - base) / |base|
  std::optional<double> own_swings;   ///< of the members varied alone, added up
  std::optional<double> interaction;  ///< swing less own_swings: 0 where the effects add up
  InteractionState interaction_state = InteractionState::kMeasured;  ///< why there is none
  std::int32_t steps = 0;                                            ///< combinations of the group
  std::int32_t failed = 0;       ///< how many of their results are no numbers; the figures are without them
  bool moves = false;            ///< results differ from one another or from the base value
  bool leaves_out_base = false;  ///< no combination stood at the base values: its effect may be larger
};

/// What moves one output.
struct Ranking {
  std::size_t output = 0;           ///< position in Run::outputs
  std::string name;                 ///< of the output, or its address where it has none
  std::optional<double> base;       ///< its value before the run
  std::vector<Effect> effects;      ///< by rank; inputs without saved samples have none
  std::vector<GroupEffect> groups;  ///< by rank
};

/// The inputs ranked for each output at these positions, each once; for every output when there are none. Any
/// number of threads may rank one run at once. `simulation` counts from 1. Throws Error: kInvalidArgument for
/// what the run does not have, kOutOfMemory, kFailed.
ORDVANE_API std::vector<Ranking> rank_outputs(const Run& run, const std::vector<std::size_t>& outputs = {},
                                              std::int32_t simulation = 1);
/// For the one output at this position.
ORDVANE_API Ranking rank(const Run& run, std::size_t output, std::int32_t simulation = 1);
/// For the one output with this name or cell (Run::find_output).
ORDVANE_API Ranking rank(const Run& run, std::string_view output, std::int32_t simulation = 1);

}  // namespace ordvane
