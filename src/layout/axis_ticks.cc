#include "layout/axis_ticks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "layout/format_codes.h"
#include "layout/look.h"
#include "layout/text_estimate.h"
#include "model/decimal.h"

namespace ordvane::layout {
namespace {

constexpr double kRounding = 1e-12;  // of the range, what calculating may leave of a zero
constexpr double kMostIntervals = 11;
constexpr double kBetweenTexts = 8;  // points
constexpr double kLineOfText = 2;    // of an upright axis, in sizes

bool fits(const AxisTicks& ticks, const AxisRoom& room, double text_width) {
  constexpr double kSlack = 1e-6;
  const double each = room.upright ? look::kSmallSize * kLineOfText : text_width + kBetweenTexts;
  const double most = std::clamp(std::floor(room.length / each), 1.0, kMostIntervals);
  return ticks.maximum / ticks.unit - ticks.minimum / ticks.unit <= most + kSlack;
}

// ---- Dates ----

constexpr double kDay = 1;
constexpr double kHour = kDay / 24;
constexpr double kMinute = kHour / 60;
constexpr double kSecond = kMinute / 60;
constexpr double kYear = 365.25;

// Multiples of a number of days, counted from an anchor.
struct DayStep {
  double days, anchor;
};

// Steps for a format, from the finest one that it shows.
std::vector<DayStep> day_steps(DatePart finest) {
  // In the evening of the first of January 2000: years of 365.25 days, counted from there, begin on a first
  // of January, and tens of them with a ten.
  constexpr double kMillennium = 36526.75;
  // The first day of a year after a leap year. Quarters of years begin on the first or second day of a
  // quarter from there on; months, counted from the second day, within the first four days of a month.
  constexpr double kNewYear = 367;
  constexpr double kMonday = 2;
  std::vector<DayStep> steps;
  const auto add = [&](DatePart part, double unit, std::initializer_list<double> counts, double anchor) {
    if (finest < part) return;
    for (const double count : counts) steps.push_back({unit * count, anchor});
  };
  add(DatePart::kSecond, kSecond, {1, 2, 5, 10, 20, 30}, 0);
  add(DatePart::kMinute, kMinute, {1, 2, 5, 10, 20, 30}, 0);
  add(DatePart::kHour, kHour, {1, 2, 3, 6, 12}, 0);
  add(DatePart::kDay, kDay, {1, 2}, 0);
  add(DatePart::kDay, kDay, {7, 14, 28}, kMonday);
  if (finest == DatePart::kMonth) add(DatePart::kMonth, kYear / 12, {1, 2}, kNewYear + 1);
  add(DatePart::kMonth, kYear / 4, {1, 2}, kNewYear);
  add(DatePart::kYear, kYear, {1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000}, kMillennium);
  return steps;
}

AxisTicks date_ticks(double low, double high, const std::string& format, const AxisRoom& room) {
  const std::vector<DayStep> steps = day_steps(finest_part(format));
  // No format shows what lies before the first day.
  const double least = low >= 0 ? 0 : -std::numeric_limits<double>::infinity();
  if (const double finest = steps.front().days; high - low < finest) {
    low -= 2 * finest;
    high += 2 * finest;
  }
  const double width = estimated_width(date_sample(format), look::kSmallSize);
  AxisTicks ticks;
  for (const auto& [days, anchor] : steps) {
    double first = std::floor((low - anchor) / days) * days + anchor;
    // Dates from the day of a tick on need no interval before it.
    if (days > kDay && first + days - low < kDay) first = std::floor(low);
    ticks = {std::max(first, least), std::ceil((high - first) / days) * days + first, days, format};
    if (fits(ticks, room, width)) break;
  }
  return ticks;
}

// ---- Numbers ----

AxisTicks number_ticks(host::NumberService& numbers, double low, double high, const std::string& format,
                       const AxisRoom& room) {
  const host::AxisScale scale = numbers.axis_scale(low, high);
  // What the service widened is no range of its own.
  constexpr double kPoint = 1e-6;
  if (!(high - low > (scale.maximum - scale.minimum) * kPoint)) {
    low = scale.minimum;
    high = scale.maximum;
  }
  constexpr double kGreatest = std::numeric_limits<double>::max();
  constexpr int kSteps = 12;
  auto step = model::RoundStep::at_least(scale.major_unit * (1 - kRounding));
  AxisTicks ticks;
  for (int tried = 0; tried < kSteps; ++tried, step = step.next()) {
    ticks = {std::max(step.not_above(low), -kGreatest), std::min(step.not_below(high), kGreatest),
             step.times(1), with_decimals_of(step.exponent, format)};
    const auto width_of = [&](double value) {
      return estimated_number_width(value, ticks.format, look::kSmallSize);
    };
    if (fits(ticks, room, std::max(width_of(ticks.minimum), width_of(ticks.maximum)))) break;
  }
  return ticks;
}

}  // namespace

AxisTicks axis_ticks(host::NumberService& numbers, double low, double high, const std::string& format,
                     const AxisRoom& room) {
  if (low > high) std::swap(low, high);
  const double smallest = (high - low) * kRounding;
  if (std::fabs(low) < smallest) low = 0;
  if (std::fabs(high) < smallest) high = 0;
  const std::string plain = without_padding(format);
  const bool finite = std::isfinite(low) && std::isfinite(high);
  return finite && shows_date(plain) ? date_ticks(low, high, plain, room)
                                     : number_ticks(numbers, low, high, plain, room);
}

}  // namespace ordvane::layout
