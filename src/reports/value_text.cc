#include "reports/value_text.h"

#include "reports/item_texts.h"

namespace ordvane::reports {

// The date format of an item whose cell has none is the same for all languages: it stays unused.
std::string ValueText(session::Session& session, const model::DralInputOutput& item, double value,
                      int digits) {
  const std::string format = ValueFormat(item);
  if (format != item.numberFormat)
    if (std::string text = session.environment->numbers().date_text(value); !text.empty()) return text;
  return NumberText(session, value, format, digits);
}

}  // namespace ordvane::reports
