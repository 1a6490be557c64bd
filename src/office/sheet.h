// One sheet of an in-memory workbook: its data and the operations on them, by row and column.
//
// Handles (ranges, charts …) hold sheets and ask them; a sheet knows its workbook as long as it is
// part of it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <unordered_map>

#include "office/book.h"
#include "office/cell_store.h"
#include "office/formula.h"
#include "office/merge_index.h"

namespace ordvane::office {

struct Book;

class Sheet : private CellSource {
 public:
  Sheet(Book& book, std::shared_ptr<SheetModel> model);

  // The workbook, null once the sheet was removed or the workbook closed.
  Book* book = nullptr;
  const std::shared_ptr<SheetModel> model;
  bool is_charted = false;  // some chart was given cells of it

  host::CellValue value(std::int32_t row, std::int32_t column) override;
  void each_value(const Area& area, const std::function<void(const host::CellValue&)>& visit) override;
  const NumberSymbols& symbols() const override;
  host::CellBlock values(const Area& area);
  void set_value(const Area& area, const host::CellValue& value);
  // Blocks one below the other, which fill the area.
  void put(const Area& area, std::span<const host::CellBlock* const> blocks);

  std::string formula(std::int32_t row, std::int32_t column);
  void set_formula(const Area& area, const std::string& formula);
  // Texts entered into this cell that show a recorded value instead of being computed.
  void record(const CellRef& cell, const std::string& formula, const host::CellValue& value);
  host::CellValue evaluate(const std::string& formula);
  // The same for a cell, whose recorded value goes first.
  host::CellValue evaluate(const CellRef& cell, const std::string& formula);
  // Brings every formula's value up to date.
  void compute_all();

  const CellStyle& style(std::int32_t row, std::int32_t column);
  void restyle(const Area& area, const std::function<void(CellStyle&)>& change);
  void set_border(const Area& area, host::Edge edge, const host::BorderFormat& format);
  void set_font(const Area& area, const host::FontFormat& font);

  void merge(const Area& area);
  void unmerge(const Area& area) { merges_.remove_touching(area); }

  // Points, but for the width in characters.
  double column_width(std::int32_t column) const;
  void set_column_width(std::int32_t first, std::int32_t count, double characters);
  void set_columns_hidden(std::int32_t first, std::int32_t count, bool hidden);
  double row_height(std::int32_t row) const;
  void set_row_height(std::int32_t first, std::int32_t count, double points);
  double left_of(std::int32_t column) const;
  double top_of(std::int32_t row) const;
  // Sets the widths of the area's columns so that its cells show in full.
  void fit_columns(const Area& area);

 private:
  // What is known of a cell's formula besides its text.
  struct Computation {
    std::shared_ptr<const Formula> formula;  // null: the value was recorded
    Shift shift;                             // from the cell that the formula was read for
    std::uint64_t computed_at = 0;           // state of the sheet its value belongs to
    bool under_way = false;
  };

  host::CellValue stored_value(std::int32_t row, std::int32_t column);
  host::CellValue value_at(const RowBand& band, std::size_t index) const;
  void store(const CellRef& cell, const host::CellValue& value);
  void write(RowBand& band, std::size_t index, const host::CellValue& value);
  std::vector<TextId> text_ids(const host::CellBlock& block);
  void forget_formulas(const Area& area);
  std::shared_ptr<const Formula> filled_formula(const Area& area, const std::string& formula) const;
  void enter_formula(const CellRef& cell, const std::string& formula);
  Computation& computation(const CellRef& cell);
  bool is_current(const Computation& computation) const;
  void compute(const CellRef& cell);
  void compute_area(const Area& area);
  std::vector<CellRef> outdated_precedents(const Computation& computation);
  template <class Visit>
  void for_each_formula(const Area& area, Visit&& visit);
  const host::CellValue* recorded(const CellRef& cell, const std::string& formula) const;
  void fit_rows_to_font(const Area& area, double size);

  CellStore cells_;
  MergeIndex merges_;
  std::set<std::int32_t> rows_set_by_hand_;
  std::uint64_t state_ = 1;  // grows with every change of a value
  std::map<CellRef, Computation> computations_;
  std::map<CellRef, std::map<std::string, host::CellValue>> recorded_;
};

}  // namespace ordvane::office
