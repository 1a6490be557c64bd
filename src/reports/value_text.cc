#include "reports/value_text.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "host/error.h"
#include "layout/format_codes.h"
#include "model/decimal.h"
#include "reports/item_texts.h"
#include "text/numbers.h"

namespace ordvane::reports {
namespace {

// Whether a number format, in its English form, shows group separators.
bool shows_groups(const std::string& format) {
  constexpr std::string_view kDigits = "0#?";
  const auto is_digit = [&](std::size_t at) {
    return at < format.size() && kDigits.find(format[at]) != std::string_view::npos;
  };
  for (std::size_t at = format.find(','); at != std::string::npos; at = format.find(',', at + 1))
    if (at > 0 && is_digit(at - 1) && is_digit(at + 1)) return true;
  return false;
}

// To so many significant digits, and always two decimals.
double rounded(double value, int digits) {
  constexpr int kDecimals = 2;
  if (value == 0) return 0;
  const int whole_digits = model::decimal_exponent(value) + 1;
  const double unit = model::power_of_ten(std::max(digits - whole_digits, kDecimals));
  const double nearest = std::nearbyint(value * unit) / unit;
  return std::isfinite(nearest) ? nearest : value;
}

// "" for General and for a format that the spreadsheet cannot read.
std::string formatted(session::Session& session, double value, const std::string& format) {
  if (format.empty() || format == "General") return {};
  std::string quoted;
  for (const char c : layout::without_padding(format)) quoted.append(c == '"' ? 2 : 1, c);
  host::CellValue text;
  host::ignoring_errors([&] {
    text = session.application().evaluate("TEXT(" + text::shortest_number(value) + ",\"" + quoted + "\")");
  });
  if (text.kind != host::CellKind::kText) return {};
  text.text.erase(text.text.find_last_not_of(' ') + 1);
  return text.text.substr(std::min(text.text.find_first_not_of(' '), text.text.size()));
}

}  // namespace

std::string NumberText(session::Session& session, double value, const std::string& format, int digits) {
  std::string text = formatted(session, value, format);
  if (!text.empty()) return text;
  return session.environment->numbers().number_text(rounded(value, digits), shows_groups(format));
}

// The date format of an item whose cell has none is no local one: it stays unused.
std::string ValueText(session::Session& session, const model::DralInputOutput& item, double value,
                      int digits) {
  const std::string format = ValueFormat(item);
  if (format != item.NumberFormatLocal)
    if (std::string text = session.environment->numbers().date_text(value); !text.empty()) return text;
  return NumberText(session, value, format, digits);
}

}  // namespace ordvane::reports
