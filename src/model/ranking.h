// What the pipeline found out about the inputs of one output, handed to its graph reports as one record.
#pragma once

#include <cstdint>

#include "model/one_based.h"

namespace ordvane::model {

struct RankingRecord {
  OneBased<double> SortedArray;  // swing of each input, at the input's rank; all 0 with several simulations
  std::int32_t input_limit = 0;  // how many inputs the graphs show
};

}  // namespace ordvane::model
