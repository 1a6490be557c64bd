#include "reports/number_texts.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "host/error.h"
#include "layout/format_codes.h"
#include "model/decimal.h"
#include "text/edit.h"

namespace ordvane::reports {
namespace {

constexpr int kDecimals = 2;  // of numbers without a format, at least
constexpr int kMostMore = 9;  // decimals

bool is_general(const std::string& format) {
  return format.empty() || format == "General";
}

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

int decimals_shown(double value, int digits) {
  return std::max(digits - model::decimal_exponent(value) - 1, kDecimals);
}

double rounded(double value, int decimals) {
  const double unit = model::power_of_ten(decimals);
  const double nearest = std::nearbyint(value * unit) / unit;
  return std::isfinite(nearest) ? nearest : value;
}

// "" for General and for a format that cannot be read.
std::string formatted(const session::Session& session, double value, const std::string& format) {
  if (is_general(format)) return {};
  std::string text;
  host::ignoring_errors(
      [&] { text = session.application().formatted(value, layout::without_padding(format)); });
  return std::string(text::trimmed(text));
}

}  // namespace

std::string NumberText(const session::Session& session, double value, const std::string& format, int digits) {
  std::string text = formatted(session, value, format);
  if (!text.empty()) return text;
  return session.environment->numbers().number_text(rounded(value, decimals_shown(value, digits)),
                                                    shows_groups(format));
}

std::string FormatTellingApart(const std::string& format, double low, double high,
                               const std::vector<double>& others) {
  constexpr double kMostHidden = 0.03;  // of the range
  constexpr double kApart = 0.01;       // of the range: closer values may look alike
  std::vector<double> values = {low, high};
  values.insert(values.end(), others.begin(), others.end());
  const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
  const double range = high != low ? std::fabs(high - low) : *greatest - *least;
  const double widest = std::max(std::fabs(*least), std::fabs(*greatest));
  const auto last = is_general(format) ? -decimals_shown(widest, kDigitsOfLabel) : layout::last_digit(format);
  if (!last || range == 0) return format;

  const auto hides = [&](int exponent) {
    std::vector<double> shown;
    for (const double value : values) {
      for (std::size_t other = 0; other < shown.size(); ++other)
        if (rounded(value, -exponent) == shown[other] && std::fabs(value - values[other]) > kApart * range)
          return true;
      shown.push_back(rounded(value, -exponent));
    }
    return std::fabs(shown[0] - low) > kMostHidden * range ||
           std::fabs(shown[1] - high) > kMostHidden * range;
  };
  int exponent = *last;
  while (exponent > *last - kMostMore && hides(exponent)) --exponent;
  return exponent == *last ? format : layout::with_decimals_of(exponent, format);
}

}  // namespace ordvane::reports
