// How inputs and outputs are called, and in which formats their values are shown.
#pragma once

#include <string>

#include "model/input_output.h"

namespace ordvane::reports {

// "name (address)", or "(address)" without a name.
std::string NameWithAddress(const std::string& name, const std::string& address);

// The item's name with its address; the address alone for an item without a name.
std::string ItemLabel(const model::DralInputOutput& item);
// Format of an item's values, English codes: the cell's own, or the date format of a date without one.
std::string ValueFormat(const model::DralInputOutput& item);
// Format of differences of an item's values: days between dates are plain numbers.
std::string ChangeFormat(const model::DralInputOutput& item);

}  // namespace ordvane::reports
