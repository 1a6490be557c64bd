#include "embedded/cell_text.h"

#include <algorithm>
#include <cmath>

#include "host/environment.h"
#include "model/decimal.h"
#include "text/edit.h"

namespace ordvane::embedded {
namespace {

std::string format_of(const runfile::Item& item) {
  return item.date && office::NumberFormat(item.number_format).is_general() ? "yyyy-mm-dd"
                                                                            : item.number_format;
}

}  // namespace

PlainStyle plain_style(std::span<const double> values) {
  constexpr int kDigits = 4;  // of the range between the least and the greatest value
  constexpr int kMostDecimals = 9;
  constexpr double kLongest = 1e15;
  double low = HUGE_VAL;
  double high = -HUGE_VAL;
  bool whole = true;
  for (const double value : values) {
    if (std::isnan(value) || value == host::kMissingNumber) continue;
    whole = whole && value == std::floor(value);
    low = std::min(low, value);
    high = std::max(high, value);
  }
  if (low > high) return {};
  const double greatest = std::max(std::fabs(low), std::fabs(high));
  const double range = high > low ? high - low : greatest;
  PlainStyle style;
  if (!whole && range > 0) style.decimals = std::max(kDigits - 1 - model::decimal_exponent(range), 0);
  style.exponent = style.decimals > kMostDecimals || greatest >= kLongest;
  return style;
}

CellText::CellText(const runfile::Item& item) : format_(format_of(item)) {}

std::string CellText::text(double value) const {
  const host::CellValue cell(value);
  const std::string shown = format_.text(cell);
  const std::string_view text = text::trimmed(shown);
  // A date before the calendar is a row of hashes.
  if (text.find_first_not_of('#') == std::string_view::npos) return office::displayed_text(cell, "General");
  return std::string(text);
}

}  // namespace ordvane::embedded
