// A workbook that is asked for the values of its cells, again and again, with other values in some of them.
//
// What lies between the cells that were set and those that were asked for is compiled once and used again
// until others are set or asked for. Used by one thread at a time.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "calc/recalculation.h"
#include "sweep/calculator.h"
#include "sweep/job.h"

namespace ordvane::sweep {

// A formula that is not calculated here; what() names the cell and what in it that is.
class NotCalculated : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class AskedModel {
 public:
  // Throws xlsx::BadWorkbook, and host::Error where LibreOffice is needed for another format. `now`: where
  // the model's clock stands.
  AskedModel(const std::filesystem::path& workbook, std::chrono::sys_seconds now);

  // Cells are given as "Prices!C3", "C3" in a workbook of one sheet, or by a name of the workbook. All throw
  // runfile::BadRun for what is no such cell.
  void set(const std::string& cell, double value);
  void reset();  // all cells to what the workbook has
  // Throws NotCalculated.
  std::vector<Result> values(std::span<const std::string> cells);

 private:
  calc::CellId cell_of(const std::string& text);
  // The position of a cell among those that it belongs to, where it is put if it is new.
  std::size_t position_of(calc::CellId cell, std::vector<calc::CellId>& cells);
  void recalculate();

  OpenedWorkbook book_;
  std::map<std::string, calc::CellId, std::less<>> cells_;  // by what was given
  std::vector<calc::CellId> changing_, asked_;              // since the model was opened
  std::map<calc::CellId, double> changes_;
  std::unique_ptr<calc::Recalculation> recalculation_;  // of all changing and asked cells; null: to be made
  std::vector<Result> results_;                         // of the asked cells; empty: to be calculated
};

}  // namespace ordvane::sweep
