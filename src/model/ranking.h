// Sorting and ranking of what was recalculated, and what the graph reports of one output are handed of it.
#pragma once

#include <cstdint>
#include <span>

#include "model/one_based.h"
#include "model/pace.h"

namespace ordvane::model {

// What the pipeline found out about the inputs of one output.
struct RankingRecord {
  OneBased<double> SortedArray;  // swing of each input, at the input's rank
  std::int32_t input_limit = 0;  // how many inputs the graphs show
};

// Sorts `values`, none of which is NaN, ascending and applies every swap to `companion`, which has the same
// size. Not stable: the order that equal values are left in is part of the result. Values that lie so that
// the described sort would take for ever, such as the two slopes of an organ pipe, are merged instead, and
// equal ones among them may come in another order.
void sort_with_companion(std::span<double> values, std::span<std::int32_t> companion, const Poll& poll = {});

// Ranks values so that the greatest gets 1 and equal ones consecutive ranks in the order of their positions:
// a permutation of 1..n.
OneBased<std::int32_t> rank_descending(std::span<const double> values, const Poll& poll = {});

}  // namespace ordvane::model
