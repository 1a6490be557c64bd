// Cells of a table that hold an item's values and changes, and the notes that say why some of them show no
// number. A note stands at the first cell of its column that it is about, one for each reason.
#pragma once

#include <cstdint>
#include <vector>

#include "host/cells.h"
#include "layout/report_table.h"
#include "model/input_output.h"
#include "session/session.h"

namespace ordvane::reports {

// Why a cell shows no number.
enum class Gap : std::uint8_t {
  kNoNumber,
  kFailedResult,  // the same for results; the note tells how many the column has
  kInputBaseZero,
  kOutputBaseZero,
  kInputBaseInvalid,
  kOutputBaseInvalid
};

// Remembers where in a table's body the gaps are.
class GapNotes {
 public:
  // Of a table with that many columns.
  explicit GapNotes(std::int32_t columns) : first_(static_cast<std::size_t>(columns) * kGaps) {}

  void add(Gap gap, std::int32_t body_row, std::int32_t column);
  // Those of other rows of the body.
  void add(const GapNotes& others);
  // Forgets all.
  void clear();
  // Puts the notes on the table, whose body has `results` results in a column.
  void write(const session::Session& session, layout::ReportTable& table, std::int32_t results) const;

 private:
  static constexpr std::size_t kGaps = 6;
  struct Gaps {
    std::int32_t row = 0, count = 0;  // the first one's row; 0: none
  };
  std::vector<Gaps> first_;  // by column, then by gap
};

// What the gaps of an item are: where its value is no number, where its base value is zero or no number.
struct ItemGaps {
  Gap no_number, base_zero, base_invalid;
};
inline constexpr ItemGaps kInputGaps = {Gap::kNoNumber, Gap::kInputBaseZero, Gap::kInputBaseInvalid};
inline constexpr ItemGaps kOutputGaps = {Gap::kFailedResult, Gap::kOutputBaseZero, Gap::kOutputBaseInvalid};

// A row that is being filled: of a block, and of the body that the block becomes part of. The gaps of the
// body are noted.
struct FilledRow {
  host::CellBlock& block;
  std::int32_t row;
  std::int32_t body_row;
  GapNotes& gaps;
};

// Columns of an item's value, its change from the base value, and the change in parts of the base value's
// size. 0: not shown.
struct ItemColumns {
  std::int32_t value = 0, change = 0, fraction = 0;
};

// Fills cells of one item.
class ItemCells {
 public:
  ItemCells(const model::DralInputOutput& item, const ItemGaps& kinds);
  // Returns whether the value is a number.
  bool put(const FilledRow& row, const ItemColumns& columns, double value) const;

 private:
  void put_number(const FilledRow& row, std::int32_t column, double number) const;
  void put_gap(const FilledRow& row, std::int32_t column, Gap gap) const;

  const model::NumberRules& rules_;
  double base_;
  bool has_base_;
  ItemGaps kinds_;
};

}  // namespace ordvane::reports
