// A workbook file as the calculation needs it: its cells with their stored values, formulas and number
// formats, its sheets, names and tables, and how it wants to be calculated.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "calc/formula.h"
#include "calc/grid.h"
#include "calc/value.h"

namespace ordvane::calc {

struct Cell {
  std::int32_t sheet = 0, row = 0, column = 0;
  Value stored;               // as the file has it; blank where it has none
  std::int32_t formula = -1;  // position in Workbook::formulas
  CellId array = kNoCell;     // of the cells of an array formula: that which holds it
  std::int32_t format = 0;    // position in Workbook::formats
};

// How one formula fills cells.
struct CellFormula {
  std::string text;  // as the file has it, without "="; of a shared formula that of its first cell
  Formula tree;
  bool is_array = false;
  bool is_dynamic =
      false;       // an array formula that fills as many cells as it has values, and not what is behind
  Reference area;  // of an array formula: of a dynamic one when the file was saved
};

struct Sheet {
  std::string name;
  bool hidden = false;
  Grid grid;
};

struct DefinedName {
  std::string name;
  std::int32_t sheet = -1;  // -1: of the whole workbook
  std::string text;
  Formula tree;
};

// What the file offers for a choice in some cells.
struct DropDown {
  std::vector<Reference> cells;
  std::string text;  // a formula: a text with commas, "1,2,5", or where the values stand
  Formula tree;      // in the place of the first cell
};

enum class CalculationMode : std::uint8_t { kAutomatic, kAutomaticButTables, kManual };

// Throws xlsx::BadWorkbook for a file that is no workbook or cannot be read, telling encrypted ones and those
// of other formats apart; a formula that cannot be read does not make the workbook unreadable, the cell is
// then unsupported.
class Workbook : public FormulaNames {
 public:
  explicit Workbook(const std::filesystem::path& path);
  // `name`: for messages.
  Workbook(std::string_view bytes, const std::string& name);
  ~Workbook() override;
  Workbook(const Workbook&) = delete;
  Workbook& operator=(const Workbook&) = delete;

  std::vector<Sheet> sheets;
  std::vector<Cell> cells;
  std::vector<CellFormula> formulas;
  std::vector<DefinedName> names;
  std::vector<DropDown> drop_downs;
  std::vector<std::string> formats;  // number formats; the first is General
  bool counts_from_1904 = false;
  bool iterates = false;
  bool has_macros = false;
  bool has_external_links = false;
  CalculationMode mode = CalculationMode::kAutomatic;

  // kNoCell for none; adds a blank cell.
  CellId find(std::int32_t sheet, std::int32_t row, std::int32_t column) const;
  CellId add(std::int32_t sheet, std::int32_t row, std::int32_t column);
  // 'My sheet'!B5
  std::string address(CellId cell) const;

  std::int32_t sheet(std::string_view name) const override;
  std::int32_t name(std::string_view name, std::int32_t sheet) const override;
  const Table* table(std::string_view name, const Reference& cell) const override;
  const Formula& named(std::int32_t name) const override;

  Arena arena;

 private:
  friend class WorkbookReader;
  void read(std::string_view bytes, const std::string& file);

  std::map<std::string, std::int32_t> sheets_by_name_;                           // folded
  std::map<std::pair<std::int32_t, std::string>, std::int32_t> names_by_sheet_;  // folded
  std::map<std::string, Table> tables_;                                          // folded
};

}  // namespace ordvane::calc
