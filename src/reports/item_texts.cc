#include "reports/item_texts.h"

#include "layout/format_codes.h"

namespace ordvane::reports {

std::string NameWithAddress(const std::string& name, const std::string& address) {
  return (name.empty() ? "(" : name + " (") + address + ")";
}

std::string ItemLabel(const model::DralInputOutput& item) {
  return NameWithAddress(item.has_name() ? item.ioName : "", item.cellAddress);
}

std::string ValueFormat(const model::DralInputOutput& item) {
  const bool plain = item.numberFormat.empty() || item.numberFormat == "General";
  return plain && item.IsDate ? item.DateFormat : item.numberFormat;
}

std::string ChangeFormat(const model::DralInputOutput& item) {
  return item.IsDate || layout::shows_date(item.numberFormat) ? "" : item.numberFormat;
}

}  // namespace ordvane::reports
