// The numeric vocabulary that the reports and their clients share. Values are part of the public interface.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ordvane::model {

enum OrdvaneOutputMode : std::int32_t { OrdvaneOutputAsValue = 0, OrdvaneOutputAsPercentChange = 1 };

// How much of a cell's location names an item without a name. The book mode gives the same text as the sheet
// mode.
enum OrdvaneRangeMode : std::int32_t {
  OrdvaneRangeCellMode = 0,
  OrdvaneRangeSheetMode = 1,
  OrdvaneRangeBookMode = 2
};

// Bit flags: why a table value cannot be used. 64 is not assigned.
enum OrdvaneInvalidTableValue : std::int32_t {
  OrdvaneInvalidTableValueNone = 0,
  OrdvaneInvalidTableValueInputBaseZero = 1,
  OrdvaneInvalidTableValueOutputBaseZero = 2,
  OrdvaneInvalidTableValueInputBaseInvalid = 4,
  OrdvaneInvalidTableValueOutputBaseInvalid = 8,
  OrdvaneInvalidTableValueInputOutputBaseZero = 16,
  OrdvaneInvalidTableValueInputOutputBaseInvalid = 32,
  OrdvaneInvalidTableValueError = 128
};

// Which base value divides a change.
enum OrdvaneDivisorType : std::int32_t {
  OrdvaneDivisorInputOrOutput = 0,
  OrdvaneDivisorInput = 1,
  OrdvaneDivisorOutput = 2
};

enum OrdvaneTableLimitsExceededType : std::int32_t {
  OrdvaneTableLimitsExceededNone = 0,
  OrdvaneTableLimitsExceededColumns = 1,
  OrdvaneTableLimitsExceededRows = 2
};

// One input of a multi-way analysis. `pc` are fractional changes from `BaseValue`, `rank` the rank of each
// step.
struct multiData {
  std::string name;
  std::string addr;
  double BaseValue = 0;
  std::vector<double> value;
  std::vector<double> pc;
  std::vector<std::int32_t> rank;
};

}  // namespace ordvane::model
