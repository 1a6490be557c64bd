#include "reports/gap_notes.h"

#include <algorithm>
#include <cmath>

namespace ordvane::reports {
namespace {

// Of all but failed results, which say how many there are.
session::TextId<0> text_of(Gap gap) {
  switch (gap) {
    case Gap::kInputBaseZero:
      return text_id::kNoteInputBaseZero;
    case Gap::kOutputBaseZero:
      return text_id::kNoteOutputBaseZero;
    case Gap::kInputBaseInvalid:
      return text_id::kNoteInputBaseNoNumber;
    case Gap::kOutputBaseInvalid:
      return text_id::kNoteOutputBaseNoNumber;
    case Gap::kFailedResult:
    case Gap::kNoNumber:
      break;
  }
  return text_id::kNoteNotShown;
}

}  // namespace

void GapNotes::add(Gap gap, std::int32_t body_row, std::int32_t column) {
  Gaps& gaps = first_[static_cast<std::size_t>(column - 1) * kGaps + static_cast<std::size_t>(gap)];
  if (gaps.row == 0 || body_row < gaps.row) gaps.row = body_row;
  ++gaps.count;
}

void GapNotes::add(const GapNotes& others) {
  for (std::size_t i = 0; i < first_.size(); ++i) {
    const Gaps& other = others.first_[i];
    if (other.row == 0) continue;
    if (first_[i].row == 0 || other.row < first_[i].row) first_[i].row = other.row;
    first_[i].count += other.count;
  }
}

void GapNotes::clear() {
  std::ranges::fill(first_, Gaps());
}

void GapNotes::write(const session::Session& session, layout::ReportTable& table,
                     std::int32_t results) const {
  for (std::size_t i = 0; i < first_.size(); ++i) {
    if (first_[i].row == 0) continue;
    const auto gap = static_cast<Gap>(i % kGaps);
    const auto column = static_cast<std::int32_t>(i / kGaps) + 1;
    const std::string text =
        gap == Gap::kFailedResult
            ? session.text(text_id::kNoteFailedResults, std::int64_t{first_[i].count}, std::int64_t{results})
            : session.text(text_of(gap));
    table.AddTableNote(first_[i].row, column, session.text(text_id::kNoteTitle), text);
  }
}

ItemCells::ItemCells(const model::DralInputOutput& item, const ItemGaps& kinds)
    : rules_(item.rules()), base_(item.BaseValue()), has_base_(rules_.is_usable(base_)), kinds_(kinds) {}

bool ItemCells::put(const FilledRow& row, const ItemColumns& columns, double value) const {
  const auto each_change = [&](const auto& use) {
    if (columns.change > 0) use(columns.change);
    if (columns.fraction > 0) use(columns.fraction);
  };
  if (!rules_.is_usable(value)) {
    put_gap(row, columns.value, kinds_.no_number);
    // The note on the value says why there are no changes either.
    each_change([&](std::int32_t column) { row.block.set_text(row.row, column, host::kNotShown); });
    return false;
  }
  row.block.set_number(row.row, columns.value, value);
  if (!has_base_) {
    each_change([&](std::int32_t column) { put_gap(row, column, kinds_.base_invalid); });
    return true;
  }
  const double change = model::NumberRules::difference_of_numbers(value, base_);
  if (columns.change > 0) put_number(row, columns.change, change);
  if (columns.fraction < 1) return true;
  if (base_ == 0)
    put_gap(row, columns.fraction, kinds_.base_zero);
  else
    put_number(row, columns.fraction, change / std::fabs(base_));
  return true;
}

// No cell holds what is not finite.
void ItemCells::put_number(const FilledRow& row, std::int32_t column, double number) const {
  if (std::isfinite(number))
    row.block.set_number(row.row, column, number);
  else
    put_gap(row, column, Gap::kNoNumber);
}

void ItemCells::put_gap(const FilledRow& row, std::int32_t column, Gap gap) const {
  row.block.set_text(row.row, column, host::kNotShown);
  row.gaps.add(gap, row.body_row, column);
}

}  // namespace ordvane::reports
