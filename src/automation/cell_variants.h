// Contents of cells as the spreadsheet gives and takes them through Range.Value2.
//
// Numbers, truth values and errors cross as themselves, blank cells as Empty, blocks as two-dimensional
// arrays counted from 1. The spreadsheet reads a text that it is given as if it had been typed, so one that
// could be taken for something else (a number, a date, a formula) gets the mark that makes it a text, unless
// its cell is formatted as text.
#pragma once

#include <functional>
#include <string_view>

#include "automation/variant.h"
#include "host/cells.h"

namespace ordvane::automation {

// Whether a text must be marked: it, or how it begins, may be read as something else. Errs on the safe side.
bool may_be_read_otherwise(std::string_view text);

Variant cell_variant(const host::CellValue& value, bool mark_text);
// `mark`: whether the text of a cell, counted from 1, is to be marked. `left_out`: cells passed as Empty.
using CellTest = std::function<bool(std::int32_t row, std::int32_t column)>;
Variant block_variant(const host::CellBlock& block, const CellTest& mark, const CellTest& left_out);

// Throws error 13 for what no cell holds.
host::CellValue cell_value(const VARIANT& value);
// `rows`, `columns`: the size that is expected; a single cell may come alone. Throws error 13 for any other.
host::CellBlock cell_block(const Variant& values, std::int32_t rows, std::int32_t columns);
// The first element of an array, anything else as it is.
host::CellValue first_value(const Variant& values);

}  // namespace ordvane::automation
