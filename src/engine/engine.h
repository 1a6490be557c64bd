// Where the numbers come from: the simulation engine's entry points, contract only.
//
// The names, and the order, kinds and counts of the arguments, are those of the engine library's exports, so
// that a binding can follow them word for word. "Long" is std::int32_t, "Integer" std::int16_t (passed in a
// 32-bit slot), "string" std::string (converted to and from the ANSI code page by a binding; UTF-8 here).
// Arrays are sized by the caller; the engine never writes past them.
//
// Every data function takes `hVars`, the handle of the variable set, first. Every function returns a 32-bit
// status or value. Of a status only the low 16 bits count, and they are 0 for success (`succeeded`). A
// function that fails writes what it can and leaves the rest: callers of the functions that tell about one
// item, and of DRL4_GetVaryCountList, check the status; those of the functions that count log it and check
// the counts. Calls throw host::Error only when the engine cannot be reached at all (errc::kFileNotFound,
// errc::kEntryPointNotFound).
//
// Conventions fixed here because the callers need one:
//   kind      0 input, 1 output.
//   index     zero-based position in the engine's ordered list of inputs (only inputs with saved samples are
//   listed
//             once a run has finished) or outputs.
//   recalculations  zero-based; the steps of the first input come first, then those of the second, and so on;
//             multi-way recalculations follow after the standard ones.
//   NaN       a recalculation without a result; found by DRL4_DoubleIsNaN.
//   errors    spreadsheet errors and texts come as finite doubles that only DRL4_DoubleIsError knows; they
//   compare
//             below every model value and survive the subtraction of one.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace ordvane::engine {

inline constexpr std::int32_t kInput = 0;
inline constexpr std::int32_t kOutput = 1;

// Whether a status says that the function did as told.
constexpr bool succeeded(std::int32_t status) {
  return static_cast<std::int16_t>(status) == 0;
}

// Opaque words that the engine's initialisation writes and its release takes back unchanged.
struct EngineContext {
  std::int32_t a = 0, b = 0, c = 0, d = 0;
  std::int32_t e = 0, f = 0, g = 0;
  std::string h;
};

class Engine {
 public:
  virtual ~Engine() = default;

  // Whether several threads may call DRL4_GetDoubleInputOrOutputData, DRL4_DoubleIsNaN and DRL4_DoubleIsError
  // at once. The latter two throw nothing then.
  virtual bool concurrent() const { return false; }

  // Binds to the engine library file at this full path. An engine that needs no library ignores the call. As
  // with the platform's loader, a failure shows only at the first call of an entry point.
  virtual void load_library(const std::string& path) = 0;

  // The two texts are always empty.
  virtual std::int32_t DrllibInitLibraryVB(const std::string& text1, const std::string& text2,
                                           std::int32_t& a, std::int32_t& b, std::int32_t& c,
                                           std::int32_t& d) = 0;
  virtual std::int32_t DrllibFreeLibraryVB(std::int32_t a, std::int32_t& b, std::int32_t c, std::int32_t& d,
                                           std::int32_t& e, std::int32_t& f, std::int32_t& g,
                                           std::string& h) = 0;
  virtual std::int32_t DRL4_Init(std::int32_t hVars) = 0;

  // Recalculations per simulation, standard and multi-way together.
  virtual std::int32_t DRL4_GetSimStats(std::int32_t hVars, std::int32_t& numberOfSimulations,
                                        std::int32_t& numberOfIterations) = 0;
  // `mode` 0: all inputs and outputs of the model.
  virtual std::int32_t DRL4_GetNumInputsAndOutputs(std::int32_t hVars, std::int32_t mode,
                                                   std::int32_t& numInputs, std::int32_t& numOutputs) = 0;
  // Inputs for which the engine kept the values used; the length of the ordered input list.
  virtual std::int32_t DRL4_GetNumInputsWithSavedSamples(std::int32_t hVars, std::int32_t& numInputs) = 0;

  // `list`: 2 elements an input of the ordered list: its one-based position, its number of steps.
  // `a`: varied inputs. `b`: standard recalculations of one simulation. `c`: multi-way recalculations of one.
  virtual std::int32_t DRL4_GetVaryMultis(std::int32_t hVars, std::span<std::int32_t> list, std::int32_t& a,
                                          std::int32_t& b, std::int32_t& c) = 0;
  // Which inputs were varied together, and at which steps, in the multi-way recalculations `first` to
  // `first` + `count` - 1, counted from 0 among the multi-way ones.
  //   members  `count` rows of `membersPerGroup` elements: the group's inputs as one-based positions in the
  //            ordered input list, then 0 where the group has fewer members
  //   steps    `count` rows of `stepsPerGroup` elements: the one-based step that each member was at, counted
  //            within the group, in the order of `members`, then 0
  // Neighbouring recalculations with the same members belong to one group. Returns 1 and writes nothing when
  // the run has no such recalculations, an array is too small, or a group has more members than a row holds.
  virtual std::int32_t DRL4_GetUsedVaryMultis(std::int32_t hVars, std::int32_t first, std::int32_t count,
                                              std::span<std::int32_t> members, std::int32_t membersPerGroup,
                                              std::int32_t stepsPerGroup, std::span<std::int32_t> steps) = 0;
  // Number of steps of each of the first `count` inputs of the ordered list.
  virtual std::int32_t DRL4_GetVaryCountList(std::int32_t hVars, std::span<std::int16_t> list,
                                             std::int32_t count) = 0;
  // Values of one input or output for recalculations `first` to `last`, both included, of the zero-based
  // `run`; a range may begin among the standard ones and end among the multi-way ones. An input is at its
  // base value outside its own steps and the groups that it is a member of. `whole` is always 1.
  virtual std::int32_t DRL4_GetDoubleInputOrOutputData(std::int32_t hVars, std::int32_t kind,
                                                       std::int32_t index, std::int32_t run,
                                                       std::int32_t first, std::int32_t last,
                                                       std::span<double> data, std::int32_t whole) = 0;
  virtual std::int32_t DRL4_DoubleIsNaN(double value) = 0;  // 1 when it is not a number
  virtual std::int32_t DRL4_DoubleIsError(
      double value) = 0;  // non-zero when it stands for a spreadsheet error
  virtual std::int32_t DRL4_GetSamplingType(std::int32_t hVars) = 0;  // the type itself
  virtual std::int32_t DRL4_SetSamplingType(std::int32_t hVars, std::int32_t type) = 0;

  // One item of the ordered lists.
  //   name               own name; empty or " " for none
  //   alternativeName    stands in when the name is empty
  //   formula            the cell's formula text, with "=" where it is a formula
  //   functionStart/Stop one-based positions of the first and last character (UTF-16 units) of the item's
  //   function
  //                      text in the formula; 0, 0 for an empty formula
  //   useDefaultName     1: the name is the label found beside the cell
  //   bookIndex, sheetIndex, cellIndex, formulaIndex
  //                      zero-based places in the engine's lists: books that hold items of this kind, sheets
  //                      of that book, cells of that sheet, formulas of that cell
  //   inCellIndex        one-based position among several items of one cell
  //   isLocked, isMulti  1 or 0; isMulti: takes part in a multi-way group
  virtual std::int32_t DRL7_GetOrderedInputInfoVB(
      std::int32_t hVars, std::int16_t sessionFlag, std::int32_t index, std::string& name,
      std::string& alternativeName, std::string& formula, std::int32_t& functionStart,
      std::int32_t& functionStop, std::int16_t& useDefaultName, std::int32_t& bookIndex,
      std::int32_t& sheetIndex, std::int32_t& cellIndex, std::int32_t& formulaIndex,
      std::int16_t& inCellIndex, std::int16_t& isLocked, std::int16_t& isMulti, std::int16_t& rangeType,
      double& minChange, double& maxChange, std::int16_t& distForRange) = 0;
  //   dateFlag           0 or -1: shows numbers; anything else: shows dates
  //   outputRangeName, outputRangeIndex  the output range it belongs to, and its one-based place in it; ""
  //   and 0 dralOutputIndex    the engine's own number of the output
  virtual std::int32_t DRL7_GetOrderedOutputInfoVB(
      std::int32_t hVars, std::int16_t sessionFlag, std::int32_t index, std::string& name,
      std::string& alternativeName, std::string& formula, std::int32_t& functionStart,
      std::int32_t& functionStop, std::int16_t& useDefaultName, std::int32_t& bookIndex,
      std::int32_t& sheetIndex, std::int32_t& cellIndex, std::int32_t& formulaIndex,
      std::int16_t& inCellIndex, std::int16_t& isLocked, std::int16_t& dateFlag, std::string& outputRangeName,
      std::int32_t& outputRangeIndex, std::int32_t& dralOutputIndex) = 0;

  virtual std::int32_t DRL7_GetWorkbookWithInputOrOutputVB(std::int32_t hVars, std::int16_t sessionFlag,
                                                           std::int32_t kind, std::int32_t bookIndex,
                                                           std::int32_t& sheetsInBook,
                                                           std::string& workbook) = 0;
  virtual std::int32_t DRL7_GetSheetWithInputOrOutputVB(std::int32_t hVars, std::int16_t sessionFlag,
                                                        std::int32_t kind, std::int32_t bookIndex,
                                                        std::int32_t sheetIndex, std::string& sheet) = 0;
  // `cellAddress` with "$" markers; `rangeAddress` the range the item spans; `itemsInCell` how many
  // the cell holds.
  virtual std::int32_t DRL7_GetCellWithInputOrOutputVB(std::int32_t hVars, std::int16_t sessionFlag,
                                                       std::int32_t kind, std::int32_t bookIndex,
                                                       std::int32_t sheetIndex, std::int32_t cellIndex,
                                                       std::int32_t formulaIndex, std::int16_t inCellIndex,
                                                       std::string& cellAddress, std::string& rangeAddress,
                                                       std::int32_t& itemsInCell) = 0;
};

}  // namespace ordvane::engine
