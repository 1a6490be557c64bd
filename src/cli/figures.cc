#include "cli/figures.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

#include "host/environment.h"
#include "text/numbers.h"

namespace ordvane::cli {
namespace {

constexpr const char* kNone = "-";
constexpr int kGeneralDigits = 6;  // of percentages too long for decimals
constexpr double kLongest = 1e15;  // longer numbers are written with an exponent

std::string fixed_text(double value, int decimals) {
  std::string text = text::fixed_number(value, decimals);
  if (text.find_first_not_of("-0.") == std::string::npos && text.starts_with('-')) text.erase(0, 1);
  return text;
}

std::string with_thousands(std::string text) {
  const std::size_t first = text.starts_with('-') ? 1 : 0;
  const std::size_t point = std::min(text.find('.'), text.size());
  for (std::size_t at = point; at > first + 3;) text.insert(at -= 3, 1, ',');
  return text;
}

}  // namespace

bool is_there(double value) {
  return value != host::kMissingNumber;
}

Figures::Figures(const runfile::Output& output, const embedded::OutputRanking& ranking) : cell_(output) {
  std::vector<double> values{ranking.base};
  for (const embedded::Effect& effect : ranking.effects)
    values.insert(values.end(), {effect.low, effect.high});
  for (const embedded::GroupRanking& group : ranking.groups)
    values.insert(values.end(), {group.low, group.high});
  style_ = embedded::plain_style(values);
}

std::string Figures::text(double value) const {
  if (!is_there(value)) return kNone;
  return cell_.is_general() ? plain(value) : cell_.text(value);
}

std::string Figures::difference(double value) const {
  if (!is_there(value)) return kNone;
  return cell_.is_general() || cell_.shows_dates() ? plain(value) : cell_.text(value);
}

std::string Figures::plain(double value) const {
  return style_.exponent ? text::general_number(value, kGeneralDigits)
                         : with_thousands(fixed_text(value, style_.decimals));
}

std::string change_text(double fraction) {
  if (!is_there(fraction)) return kNone;
  const double percent = fraction * 100;
  if (std::fabs(percent) >= kLongest) return text::general_number(percent, kGeneralDigits) + "%";
  const std::string text = with_thousands(fixed_text(percent, 1)) + "%";
  return percent > 0 && text != "0.0%" ? "+" + text : text;
}

}  // namespace ordvane::cli
