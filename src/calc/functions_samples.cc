// Functions of one sample: spread, order, rank, form.
#include <algorithm>
#include <cmath>
#include <map>

#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"
#include "calc/samples.h"

namespace ordvane::calc {
namespace {

enum class Unchosen : std::uint8_t { kPassedOver, kZero };

// As AVERAGEA and the like take values: texts of cells are 0.
Numbers values_of(Call& call, Unchosen unchosen = Unchosen::kZero) {
  Numbers numbers;
  call.each_from(0, [&](const Value& value, From from) {
    if (value.is_blank() && unchosen == Unchosen::kPassedOver) return;
    if (value.is_error()) return call.fail(value.error());
    if (value.is_text() && from != From::kFormula) return numbers.push_back(0);
    numbers.push_back(call.number_of(value));
  });
  return numbers;
}

enum class Of : std::uint8_t { kSample, kPopulation };
enum class Texts : std::uint8_t { kPassedOver, kZero };

template <Of of, Texts texts>
Operand variance(Call& call) {
  const Numbers numbers = texts == Texts::kZero ? values_of(call) : numbers_from(call, 0);
  const double count = static_cast<double>(numbers.size()) - (of == Of::kSample ? 1 : 0);
  if (count <= 0) return ErrorCode::kDivision;
  return squares_about_mean(numbers) / count;
}

template <Of of, Texts texts>
Operand deviation(Call& call) {
  const Operand squared = variance<of, texts>(call);
  return squared.value.is_error() ? squared : Operand(std::sqrt(squared.value.number()));
}

Operand call_counta(Call& call) {
  double count = 0;
  call.each_from(0, [&](const Value& value, From) { count += value.is_blank() ? 0 : 1; });
  return count;
}

Operand call_devsq(Call& call) {
  const Numbers numbers = numbers_from(call, 0);
  return numbers.empty() ? 0.0 : squares_about_mean(numbers);
}

Operand call_avedev(Call& call) {
  const Numbers numbers = numbers_from(call, 0);
  if (numbers.empty()) return ErrorCode::kDivision;
  const double mean = mean_of(numbers);
  Sum sum;
  for (const double number : numbers) sum.add(std::fabs(number - mean));
  return sum.result() / static_cast<double>(numbers.size());
}

Operand call_averagea(Call& call) {
  const Numbers numbers = values_of(call, Unchosen::kPassedOver);
  return numbers.empty() ? Operand(ErrorCode::kDivision) : Operand(mean_of(numbers));
}

Operand call_maxa(Call& call) {
  const Numbers numbers = values_of(call);
  return numbers.empty() ? 0.0 : *std::max_element(numbers.begin(), numbers.end());
}

Operand call_mina(Call& call) {
  const Numbers numbers = values_of(call);
  return numbers.empty() ? 0.0 : *std::min_element(numbers.begin(), numbers.end());
}

Operand call_geomean(Call& call) {
  const Numbers numbers = numbers_from(call, 0);
  Sum logarithms;
  for (const double number : numbers) {
    if (number < 0) return ErrorCode::kArgument;
    if (number == 0) return 0.0;  // whatever comes behind it
    logarithms.add(std::log(number));
  }
  if (numbers.empty()) return ErrorCode::kArgument;
  return std::exp(logarithms.result() / static_cast<double>(numbers.size()));
}

Operand call_harmean(Call& call) {
  const Numbers numbers = numbers_from(call, 0);
  Sum parts;
  for (const double number : numbers) {
    if (number <= 0) call.fail(ErrorCode::kArgument);
    if (!call.failed()) parts.add(1 / number);
  }
  if (numbers.empty()) return ErrorCode::kArgument;
  return static_cast<double>(numbers.size()) / parts.result();
}

// ---- Form ----

// The numbers' distances from their mean in standard deviations; nothing if those are zero.
Numbers standardized(const Numbers& numbers, Of of) {
  const double mean = mean_of(numbers);
  Sum squares;
  for (const double number : numbers) squares.add((number - mean) * (number - mean));
  const double count = static_cast<double>(numbers.size()) - (of == Of::kSample ? 1 : 0);
  const double unit = std::sqrt(squares.result() / count);
  Numbers result;
  if (unit == 0) return result;
  for (const double number : numbers) result.push_back((number - mean) / unit);
  return result;
}

template <Of of>
Operand call_skew(Call& call) {
  const Numbers numbers = numbers_from(call, 0);
  const auto count = static_cast<double>(numbers.size());
  if (count < 3) return ErrorCode::kDivision;
  const Numbers distances = standardized(numbers, of);
  if (distances.empty()) return ErrorCode::kArgument;
  Sum cubes;
  for (const double distance : distances) cubes.add(distance * distance * distance);
  if (of == Of::kPopulation) return cubes.result() / count;
  return cubes.result() * count / (count - 1) / (count - 2);
}

Operand call_kurt(Call& call) {
  const Numbers numbers = numbers_from(call, 0);
  const auto count = static_cast<double>(numbers.size());
  if (count < 4) return ErrorCode::kDivision;
  const Numbers distances = standardized(numbers, Of::kSample);
  if (distances.empty()) return ErrorCode::kDivision;
  Sum sum;
  for (const double distance : distances) {
    const double square = distance * distance;
    sum.add(square * square);
  }
  const double divisor = (count - 2) * (count - 3);
  return sum.result() * (count * (count + 1) / ((count - 1) * divisor)) -
         3.0 * (count - 1) * (count - 1) / divisor;
}

// ---- Order ----

double middle_of(const Numbers& sorted) {
  const std::size_t middle = sorted.size() / 2;
  return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

Operand call_median(Call& call) {
  Numbers numbers = numbers_from(call, 0);
  if (numbers.empty()) return ErrorCode::kValue;
  std::sort(numbers.begin(), numbers.end());
  return middle_of(numbers);
}

Operand call_mode(Call& call) {
  std::map<double, int> counts;
  for (const double number : numbers_from(call, 0)) ++counts[number];
  const auto most = std::max_element(counts.begin(), counts.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  if (most == counts.end() || most->second < 2) return ErrorCode::kNotAvailable;
  return most->first;
}

enum class End : std::uint8_t { kSmallest, kLargest };

template <End end>
Operand call_nth(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  const double place = floor_of(call.number(1));
  if (place < 1 || place > static_cast<double>(numbers.size())) return ErrorCode::kArgument;
  const auto index = static_cast<std::size_t>(place);
  return end == End::kSmallest ? numbers[index - 1] : numbers[numbers.size() - index];
}

Operand call_percentile(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  const double share = call.number(1);
  if (share < 0 || share > 1 || numbers.empty()) return ErrorCode::kArgument;
  return at_share(numbers, share);
}

Operand call_quartile(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  const double quarter = floor_of(call.number(1));
  if (quarter < 0 || quarter > 4 || numbers.empty()) return ErrorCode::kArgument;
  return quarter == 2 ? middle_of(numbers) : at_share(numbers, quarter / 4);
}

// Between the ends, none of which is reached.
Operand inner_percentile(const Numbers& numbers, double share) {
  const auto count = static_cast<double>(numbers.size());
  const double place = share * (count + 1) - 1;
  if (share <= 0 || share >= 1 || place < 0 || place > count - 1) return ErrorCode::kArgument;
  const double below = floor_of(place);
  const auto index = static_cast<std::size_t>(below);
  const double rest = place - below;
  return rest == 0 ? numbers[index] : numbers[index] + rest * (numbers[index + 1] - numbers[index]);
}

Operand call_percentile_exc(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  return inner_percentile(numbers, call.number(1));
}

Operand call_quartile_exc(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  const double quarter = floor_of(call.number(1));
  return quarter == 2 && numbers.size() > 1 ? middle_of(numbers) : inner_percentile(numbers, quarter / 4);
}

template <bool averaged>
Operand call_rank(Call& call) {
  const double number = call.number(0);
  const bool ascending = call.logical(2, false);
  double before = 0, equal = 0;
  call.each_number_of(1, [&](double other) {
    if (other == number) ++equal;
    if (ascending ? other < number : other > number) ++before;
  });
  if (equal == 0) return ErrorCode::kNotAvailable;
  return averaged ? before + (equal + 1) / 2 : before + 1;
}

// The share of the way through the sorted numbers at which a number stands; ends: the share of the smallest
// is 0 and that of the largest 1.
template <bool ends>
Operand call_percentrank(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  const double number = call.number(1);
  const double digits = call.missing(2) ? 3 : floor_of(call.number(2));
  if (numbers.empty() || digits < 1) return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  if (number < numbers.front() || number > numbers.back()) return ErrorCode::kNotAvailable;
  const auto above = std::lower_bound(numbers.begin(), numbers.end(), number);
  double place = static_cast<double>(above - numbers.begin());
  if (*above != number) place = place - 1 + (number - *(above - 1)) / (*above - *(above - 1));
  const auto count = static_cast<double>(numbers.size());
  const double share = ends ? (count > 1 ? place / (count - 1) : 1) : (place + 1) / (count + 1);
  if (share == 0) return 0.0;
  const double unit =
      power_of_ten(static_cast<int>(std::min(digits - 1 - std::floor(std::log10(share)), 300.0)));
  return std::floor(share * unit + 0.5) / unit;  // plainly, not by fifteen digits
}

Operand call_trimmean(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  const double share = call.number(1);
  if (share < 0 || share >= 1 || numbers.empty()) return ErrorCode::kArgument;
  const auto cut = static_cast<std::ptrdiff_t>(floor_of(share * static_cast<double>(numbers.size()) / 2));
  return mean_of(Numbers(numbers.begin() + cut, numbers.end() - cut));
}

Operand call_standardize(Call& call) {
  const double x = call.number(0);
  const double mean = call.number(1);
  const double deviation = call.number(2);
  if (deviation < 0) return ErrorCode::kArgument;
  return deviation == 0 ? Operand(ErrorCode::kDivision) : Operand((x - mean) / deviation);
}

// How many numbers are at most each limit, and above the limit before; then how many are above all.
Operand call_frequency(Call& call) {
  const Numbers numbers = sorted_numbers_of(call, 0);
  const Numbers limits = numbers_of(call, 1);
  Numbers sorted = limits;
  std::sort(sorted.begin(), sorted.end());
  Array& result = call.make_array(static_cast<std::int32_t>(limits.size()) + 1, 1);
  const auto up_to = [&](double limit) {
    return static_cast<double>(std::upper_bound(numbers.begin(), numbers.end(), limit) - numbers.begin());
  };
  std::map<double, bool> counted;
  for (std::size_t i = 0; i < limits.size(); ++i) {
    const auto place = std::lower_bound(sorted.begin(), sorted.end(), limits[i]);
    const double before = place == sorted.begin() ? 0 : up_to(*(place - 1));
    const bool again = counted[limits[i]];
    counted[limits[i]] = true;
    result.at(static_cast<std::int32_t>(i), 0) = again ? 0 : up_to(limits[i]) - before;
  }
  result.at(static_cast<std::int32_t>(limits.size()), 0) =
      static_cast<double>(numbers.size()) - (sorted.empty() ? 0 : up_to(sorted.back()));
  return &result;
}

constexpr Function kSamplesFunctions[] = {
    {"AVEDEV", 1, kAnyNumber, "r", call_avedev},
    {"AVERAGEA", 1, kAnyNumber, "r", call_averagea},
    {"COUNTA", 1, kAnyNumber, "r", call_counta},
    {"DEVSQ", 1, kAnyNumber, "r", call_devsq},
    {"FREQUENCY", 2, 2, "r", call_frequency, nullptr, kGivesArrays},
    {"GEOMEAN", 1, kAnyNumber, "r", call_geomean},
    {"HARMEAN", 1, kAnyNumber, "r", call_harmean},
    {"KURT", 1, kAnyNumber, "r", call_kurt},
    {"LARGE", 2, 2, "rs", call_nth<End::kLargest>},
    {"MAXA", 1, kAnyNumber, "r", call_maxa},
    {"MEDIAN", 1, kAnyNumber, "r", call_median},
    {"MINA", 1, kAnyNumber, "r", call_mina},
    {"MODE", 1, kAnyNumber, "a", call_mode},
    {"MODE.SNGL", 1, kAnyNumber, "a", call_mode},
    {"PERCENTILE", 2, 2, "rs", call_percentile},
    {"PERCENTILE.EXC", 2, 2, "rs", call_percentile_exc},
    {"PERCENTILE.INC", 2, 2, "rs", call_percentile},
    {"PERCENTRANK", 2, 3, "rss", call_percentrank<true>},
    {"PERCENTRANK.EXC", 2, 3, "rss", call_percentrank<false>},
    {"PERCENTRANK.INC", 2, 3, "rss", call_percentrank<true>},
    {"QUARTILE", 2, 2, "rs", call_quartile},
    {"QUARTILE.EXC", 2, 2, "rs", call_quartile_exc},
    {"QUARTILE.INC", 2, 2, "rs", call_quartile},
    {"RANK", 2, 3, "srs", call_rank<false>},
    {"RANK.AVG", 2, 3, "srs", call_rank<true>},
    {"RANK.EQ", 2, 3, "srs", call_rank<false>},
    {"SKEW", 1, kAnyNumber, "r", call_skew<Of::kSample>},
    {"SKEW.P", 1, kAnyNumber, "r", call_skew<Of::kPopulation>},
    {"SMALL", 2, 2, "rs", call_nth<End::kSmallest>},
    {"STANDARDIZE", 3, 3, "s", call_standardize},
    {"STDEV", 1, kAnyNumber, "r", deviation<Of::kSample, Texts::kPassedOver>},
    {"STDEV.P", 1, kAnyNumber, "r", deviation<Of::kPopulation, Texts::kPassedOver>},
    {"STDEV.S", 1, kAnyNumber, "r", deviation<Of::kSample, Texts::kPassedOver>},
    {"STDEVA", 1, kAnyNumber, "r", deviation<Of::kSample, Texts::kZero>},
    {"STDEVP", 1, kAnyNumber, "r", deviation<Of::kPopulation, Texts::kPassedOver>},
    {"STDEVPA", 1, kAnyNumber, "r", deviation<Of::kPopulation, Texts::kZero>},
    {"TRIMMEAN", 2, 2, "rs", call_trimmean},
    {"VAR", 1, kAnyNumber, "r", variance<Of::kSample, Texts::kPassedOver>},
    {"VAR.P", 1, kAnyNumber, "r", variance<Of::kPopulation, Texts::kPassedOver>},
    {"VAR.S", 1, kAnyNumber, "r", variance<Of::kSample, Texts::kPassedOver>},
    {"VARA", 1, kAnyNumber, "r", variance<Of::kSample, Texts::kZero>},
    {"VARP", 1, kAnyNumber, "r", variance<Of::kPopulation, Texts::kPassedOver>},
    {"VARPA", 1, kAnyNumber, "r", variance<Of::kPopulation, Texts::kZero>},
};

}  // namespace

std::span<const Function> sample_functions() {
  return kSamplesFunctions;
}

}  // namespace ordvane::calc
