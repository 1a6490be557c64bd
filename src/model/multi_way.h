// The multi-way analysis: inputs that were varied together in groups, and what each group does to an output.
//
// ReadMultiWay reads the groups, the values their members took and the results from the engine, once;
// RankGroups measures one output's results: pure arithmetic. The interaction of a group is what its members
// do together beyond what each does alone: the swing of the group less the swings that its members had one at
// a time in the same run. It is 0 where effects simply add up.
//
// There is an interaction only where all those swings come from the same values. No result is missing, and
// every member reached as far alone as in the group: the same least and the same greatest value. Values in
// between may differ, as they do where a group takes fewer steps, as long as they decide nothing: the lowest
// and the highest result of each swing were met at values that were tried both ways, so that leaving out all
// others would leave every swing as it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "model/enumerations.h"
#include "model/group_results.h"
#include "model/input_output.h"
#include "model/one_based.h"
#include "session/session.h"

namespace ordvane::model {

struct MultiGroup {
  OneBased<std::int32_t> members;  // positions in the input records, in the engine's order
  // One a member. Element c - 1 of each array belongs to the group's combination c: the value the member was
  // set to, its fractional change from the member's base value, and the rank of the value among the member's
  // values in this group (the lowest 1, equal values the same rank).
  OneBased<multiData> inputs;
  std::int32_t first = 0;         // its first recalculation, from 1 among the multi-way ones
  std::int32_t combinations = 0;  // how many recalculations it has
};

struct MultiWayRun {
  OneBased<MultiGroup> groups;  // in the order of the run
  std::int32_t recalculations = 0;
  // One element a selected output, in the order of the selection: its results, one a multi-way recalculation.
  // NaN is replaced by the missing-number marker; spreadsheet errors are as the engine encodes them. Of
  // outputs for which there is no room none: they are asked for again.
  OneBased<std::vector<double>> results;
  std::shared_ptr<GroupResults> asked_for = {};

  // `output`: one-based position in the selection. `combination`: from 1 within the group.
  double result(std::int32_t output, const MultiGroup& group, std::int32_t combination) const;
};

// Results that a run keeps: 64 MiB of them.
inline constexpr std::size_t kMostGroupResults = std::size_t{1} << 23;

// Why a group has no interaction, or that it has one.
enum class InteractionState : std::uint8_t {
  kMeasured,
  kNoOwnSwing,  // a member has no usable result of its own
  kErrors,      // results that are no numbers cut one of the ranges that would be compared
  kOtherValues  // the swings that would be compared come from different values of a member
};

// What one group does to one output. Without a usable result: the missing-number marker for the ends, the
// changes, the swings of the members, and the interaction; 0 for the other figures but the rank.
struct GroupEffect {
  double lowest, highest;                // results
  double lowest_change, highest_change;  // fractional, from the output's base value
  std::int32_t lowest_at = 0;            // one-based combination of the first lowest result; 0 for none
  std::int32_t highest_at = 0;
  double swing = 0;      // highest - lowest; what is left by rounding alone is 0
  double bar_width = 0;  // the swing in the unit of thresholds: in changes where they are defined
  std::int32_t rank = 0;
  double own_swings;   // sum of the members' swings one at a time; the marker when one has none
  double interaction;  // swing - own_swings, also without rounding; the marker unless it is measured
  InteractionState interaction_state = InteractionState::kMeasured;
  std::int32_t failed = 0;  // results that are no numbers
  // No combination stood at the base values of all members, and the results do not enclose the output's.
  bool leaves_out_base = false;
};
using GroupEffects = OneBased<GroupEffect>;  // one a group

// Reads the multi-way recalculations of the one-based run `runNumber`. `inputs` and `outputs` have been
// filled by OrdvaneScan::getData. `maxGroupSize`: most members of a group; below 1 for no limit but the
// inputs. An engine that refuses, or a run without groups, gives a run without groups. Throws error 9 for a
// member that is no input, errc::kInvalidProcedureCall when the engine refuses the values of an item,
// errc::kUserCancelled when the user stops. Session, inputs and outputs are used as long as the run is, whose
// results throw what asking for them again throws. `most_results`: that are kept.
MultiWayRun ReadMultiWay(session::Session& session, const Records& inputs, const Records& outputs,
                         const OneBased<std::int32_t>& selectedOutputs, std::int32_t maxGroupSize,
                         std::int32_t runNumber, std::size_t most_results = kMostGroupResults);

// Measures and ranks the groups for one selected output: the widest swing gets rank 1, equal ones consecutive
// ranks in the order of the run. `selected`: one-based position in the selection; `outputIndex`: the output's
// one-based position in the output records.
GroupEffects RankGroups(const MultiWayRun& run, const Records& inputs, const Records& outputs,
                        std::int32_t selected, std::int32_t outputIndex);

// The group's combinations in reading order: from the first member's lowest value to its highest, and within
// each the same for the next member.
OneBased<std::int32_t> CombinationsInOrder(const MultiGroup& group);

}  // namespace ordvane::model
