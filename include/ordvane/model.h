/// @file
/// Workbook models without a spreadsheet program: asked for the values of their cells with other values in
/// some of them, and swept into runs.
///
/// Cells are given as "Prices!C3" or "'My sheet'!C3", as "C3" in a workbook of one sheet, or by a name of the
/// workbook. docs/calculation.md says how formulas are calculated. The workbook is never changed.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ordvane/run.h"

namespace ordvane {

namespace library {
struct ModelData;
}  // namespace library

/// What a cell shows.
struct CellValue {
  std::optional<double> number;  ///< TRUE is 1, FALSE 0; none: the cell shows a text, an error or nothing
  std::string text;              ///< the text, or as "#N/A" the error; empty for numbers, and for nothing
};

/// A workbook that is asked again and again. What lies between the cells that were set and those that were
/// asked for is compiled once and used again until others are set or asked for: it is quick to ask for the
/// same cells after setting the same cells to something else. Used by one thread at a time; any number of
/// models may be open.
class ORDVANE_API Model {
 public:
  /// Opens an .xlsx or .xlsm file; others, such as .ods, where LibreOffice is installed, which converts them.
  /// `now`: where NOW and TODAY stand; none: at the beginning of today (UTC). Throws Error: kBadWorkbook,
  /// kBadRun for a file that cannot be read, kFailed, kOutOfMemory.
  explicit Model(const std::filesystem::path& workbook,
                 std::optional<std::chrono::sys_seconds> now = std::nullopt);
  ~Model();
  /// The one moved from can only be assigned to.
  Model(Model&& other) noexcept;
  /// The one moved from can only be assigned to.
  Model& operator=(Model&& other) noexcept;

  /// What a cell holds from now on, in the place of its number, text or formula. Throws Error
  /// kInvalidArgument for what is no cell of the workbook, and for what is no finite number.
  void set(std::string_view cell, double value);
  /// All cells hold what they hold in the workbook.
  void reset();

  /// What a cell shows now. Throws Error: kInvalidArgument for what is no cell of the workbook;
  /// kNotCalculated, with the cell and what in it, where a formula between a cell that was set and this one
  /// is not calculated by the library.
  CellValue value(std::string_view cell);
  /// The same of several, in one calculation.
  std::vector<CellValue> values(const std::vector<std::string>& cells);

 private:
  std::unique_ptr<library::ModelData> data_;
};

/// Which recalculations of a sweep LibreOffice makes, too, where it is installed; results are compared bit by
/// bit, and the run says how many agree.
enum class Verify : std::uint8_t {
  kNone,  ///< none
  kEnds,  ///< the base, and both ends of each input
  kAll,   ///< all; it has to be installed
};

/// How a workbook is swept.
struct SweepOptions {
  /// Where the run is written: NAME.run.json, with its CSV files. Interrupted work is kept there and goes on
  /// when the same sweep is made again. Empty: nothing is written.
  std::filesystem::path run = {};
  bool overwrite = false;               ///< a run that is there is replaced
  Verify verify = Verify::kNone;        ///< what is compared with LibreOffice
  bool libreoffice = false;             ///< LibreOffice calculates all, whatever the library could
  std::int32_t threads = 0;             ///< processors to use; 0: all
  std::chrono::seconds time_limit{60};  ///< that LibreOffice has for a recalculation
  std::optional<std::chrono::sys_seconds> now =
      std::nullopt;  ///< where NOW and TODAY stand; none: the beginning of today

  /// Called now and then with the recalculations that are done, on any thread, but never on two at once. What
  /// it throws ends the sweep and comes out of the call as it is.
  std::function<void(std::int64_t done, std::int64_t of)> progress = nullptr;
  /// Asked now and then whether to stop; true ends the sweep with kCancelled. As `progress`.
  std::function<bool()> cancelled = nullptr;
};

/// Makes the run of a workbook. `definition`: what is varied and looked at, as JSON, in the fields of a
/// what-if definition (docs/what-if.md). Run::describe says what calculated it, and how much was compared.
/// What the library does not calculate, LibreOffice does where it is installed. Throws Error: kBadRun for
/// what is wrong with the definition, kBadWorkbook, kFileExists, kFile, kCancelled, kFailed, kOutOfMemory.
ORDVANE_API Run sweep_workbook(const std::filesystem::path& workbook, std::string_view definition,
                               const SweepOptions& options = {});

}  // namespace ordvane
