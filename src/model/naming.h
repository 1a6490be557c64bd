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

// Base values of items, from the model as it is calculated at the beginning. While one lives, functions are
// at their base values; afterwards the engine's sampling type is what it was, and the model is calculated
// again where that makes a difference.
class BaseValues {
 public:
  // Throws what the engine throws.
  explicit BaseValues(session::Session& session);
  ~BaseValues();
  BaseValues(const BaseValues&) = delete;
  BaseValues& operator=(const BaseValues&) = delete;

  // The value of an item's function text; the missing-number marker when it is no number. A function that is
  // all of its cell's formula is read there; any other is tried in the cell, which stays as it is.
  double of(host::Range& cell, const std::string& function_text);

 private:
  bool is_sampled() const { return sampling_ != 0 && sampling_ != 1; }

  session::Session& session_;
  std::int32_t sampling_;  // the engine's sampling type as it was found
  bool tried_ = false;     // a function in its cell, so that cells that depend on it are out of date
};

}  // namespace ordvane::model
