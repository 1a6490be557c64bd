// OrdvaneSummary: the totals of one analysis, from the pipeline to the summary report.
#pragma once

#include <algorithm>
#include <cstdint>

namespace ordvane::model {

class OrdvaneSummary {
 public:
  using Long = std::int32_t;
  using Double = double;

  static constexpr std::int32_t kFewestInputsPerGraph = 1;
  static constexpr std::int32_t kMostInputsPerGraph = 32;

#define ORDVANE_FIELD(number, type, name) type name{};
#include "model/summary_fields.def"

  // 0 until set; a set clamps to 1..32.
  std::int32_t MaximumNumberOfInputs() const {
    return maximum_number_of_inputs_;
  }
  void set_MaximumNumberOfInputs(std::int32_t value) {
    maximum_number_of_inputs_ = std::clamp(value, kFewestInputsPerGraph, kMostInputsPerGraph);
  }

 private:
  std::int32_t maximum_number_of_inputs_ = 0;
};

}  // namespace ordvane::model
