// The numeric vocabulary that the reports and their clients share. Values are part of the public interface.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ordvane::model {

#define ORDVANE_ENUM_BEGIN(name) enum name : std::int32_t {
#define ORDVANE_ENUM_VALUE(name, value) name = (value),
#define ORDVANE_ENUM_END(name) \
  }                            \
  ;
#include "model/enumerations.def"

// One input of a multi-way analysis. `pc` are fractional changes from `BaseValue`, `rank` ranks of the steps.
struct multiData {
  using String = std::string;
  using Double = double;
  using Doubles = std::vector<double>;
  using Longs = std::vector<std::int32_t>;

#define ORDVANE_FIELD(type, name) type name{};
#include "model/multi_data_fields.def"
};

}  // namespace ordvane::model
