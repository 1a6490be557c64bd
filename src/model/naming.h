// Names, labels and addresses: locations turned into text, text into safe names, and the evaluation of an
// item's base value from its function text.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/excel.h"
#include "model/enumerations.h"
#include "model/input_output.h"
#include "session/session.h"

namespace ordvane::model {

struct DefaultLabel {
  std::string text;
  std::shared_ptr<host::Range> first_cell;   // null when the label has none
  std::shared_ptr<host::Range> second_cell;  // null when the label has fewer than two
};

// The label beside a cell, found by the add-in's label macro. Logs the cell and the label.
DefaultLabel GetDefaultDralLabelForCellRange(session::Session& session, host::Range& cell);
// At most 41 UTF-16 units: the label, or its two cells' texts cut to share the room. `name` is the item's
// present name, returned when the cell has no label.
std::string short_default_label(session::Session& session, host::Range& cell, const std::string& name);

// Without \ : / ? * [ ], at most 25 UTF-16 units.
std::string clean_sheet_name(const std::string& name);
// '[book]sheet'!cell, apostrophes of the names doubled.
std::string external_address(const std::string& book, const std::string& sheet, const std::string& cell);
// The cell address alone, or followed by " (", the sheet and ")"; "" for a mode that is none.
std::string address_for_range_mode(OrdvaneRangeMode mode, const std::string& book, const std::string& sheet,
                                   const std::string& cell);

// What of their places tells the records apart: books, sheets, or cells alone. Error 9 without records.
OrdvaneRangeMode range_mode_of(const Records& records);

// Takes the number formats of the first `count` records from their cells. Never fails: a record whose cell
// cannot be reached keeps what it had.
void fill_number_formats(session::Session& session, Records& records, std::int32_t count);

// The value of the item's function text, computed in its cell; the missing-number marker when it is no
// number. Recalculates by itself, so it does not matter which calculation mode is set. Puts the cell's
// formula and the engine's sampling type back in every case.
double evaluate_function_value(session::Session& session, host::Range& cell,
                               const std::string& function_text);

// Recalculates the model when it goes. Whoever evaluates function values keeps one meanwhile: where
// calculation is manual, the cells that depend on an item would otherwise go on showing what came of its
// function alone.
class ModelRecalculation {
 public:
  explicit ModelRecalculation(session::Session& session) : session_(session) {}
  ~ModelRecalculation();
  ModelRecalculation(const ModelRecalculation&) = delete;
  ModelRecalculation& operator=(const ModelRecalculation&) = delete;

 private:
  session::Session& session_;
};

}  // namespace ordvane::model
