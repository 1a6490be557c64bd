#include "office/fraction_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <span>

#include "model/decimal.h"
#include "office/digits_text.h"

namespace ordvane::office {
namespace {

using Token = NumberFormat::Token;
using Section = NumberFormat::Section;
using Kind = Token::Kind;

struct Ratio {
  std::int64_t numerator = 0, denominator = 1;

  double apart(double number) const {
    return std::fabs(static_cast<double>(numerator) / static_cast<double>(denominator) - number);
  }
};

// The nearest to a number below 1 of those whose denominator is not above `greatest`: the last convergent of
// its continued fraction that is not, or what lies between the one before and the next.
Ratio nearest_ratio(double number, std::int64_t greatest) {
  constexpr double kNothing = 1e-12;
  const auto limit = static_cast<double>(greatest);
  Ratio before{0, 1}, last{1, 0};
  for (double rest = number;;) {
    const double part = std::floor(rest);
    if (static_cast<double>(before.denominator) + part * static_cast<double>(last.denominator) > limit) break;
    const auto steps = static_cast<std::int64_t>(part);
    const Ratio next{before.numerator + steps * last.numerator,
                     before.denominator + steps * last.denominator};
    before = last;
    last = next;
    if (rest - part < kNothing) return last;
    rest = 1 / (rest - part);
  }
  const std::int64_t steps = (greatest - before.denominator) / last.denominator;
  const Ratio between{before.numerator + steps * last.numerator,
                      before.denominator + steps * last.denominator};
  return between.apart(number) < last.apart(number) ? between : last;
}

std::string literals_of(std::span<const Token> tokens) {
  std::string text;
  for (const Token& token : tokens) text += token.text;
  return text;
}

// Digits at the right end of their places.
std::string numerator_text(std::int64_t number, std::span<const Token> places) {
  std::string text = std::to_string(number);
  for (std::size_t n = text.size(); n < places.size(); ++n)
    text.insert(0, filler(places[places.size() - 1 - n]));
  return text;
}

// Digits at the left end of their places, but behind zeros.
std::string denominator_text(std::int64_t number, std::span<const Token> places) {
  const std::string digits = std::to_string(number);
  std::string before, behind;
  for (std::size_t n = digits.size(); n < places.size(); ++n)
    (places[n].text == "0" ? before : behind) += filler(places[n]);
  return before + digits + behind;
}

std::string blanks_in(std::span<const Token> places) {
  return std::string(static_cast<std::size_t>(std::count_if(
                         places.begin(), places.end(), [](const Token& place) { return place.text == "?"; })),
                     ' ');
}

bool is_place(const Token& token) {
  return token.kind == Kind::kDigit;
}

// The parts of a section that shows fractions.
struct Parts {
  explicit Parts(const Section& section);

  Ratio ratio_of(double number) const;  // of what is below 1
  // `shows_zero`: without a place for it, too.
  std::string whole_text(double number, bool shows_zero, const NumberSymbols& symbols) const;

  Section whole;  // what stands in front of the numerator
  bool has_whole = false;
  std::span<const Token> above, below;  // places; none below of a given denominator
  std::int64_t divisor = 0;             // the given denominator, or 0
  std::span<const Token> rest;
};

Parts::Parts(const Section& section) : whole(section) {
  const std::span<const Token> tokens(section.tokens);
  std::size_t stroke = 0;
  while (tokens[stroke].kind != Kind::kStroke) ++stroke;
  std::size_t first = stroke, end = stroke + 1;
  while (first > 0 && is_place(tokens[first - 1])) --first;
  while (end < tokens.size() && is_place(tokens[end])) ++end;
  above = tokens.subspan(first, stroke - first);
  below = tokens.subspan(stroke + 1, end - stroke - 1);
  if (below.empty()) {
    const std::string& given = tokens[end++].text;
    std::from_chars(given.data(), given.data() + given.size(), divisor);
  }
  rest = tokens.subspan(end);
  whole.tokens.resize(first);
  whole.scale = 0;
  has_whole = std::any_of(whole.tokens.begin(), whole.tokens.end(), is_place);
}

Ratio Parts::ratio_of(double number) const {
  constexpr std::size_t kMostPlaces = 6;
  if (divisor > 0) return {std::llround(number * static_cast<double>(divisor)), divisor};
  const int places = static_cast<int>(std::min(below.size(), kMostPlaces));
  return nearest_ratio(number, static_cast<std::int64_t>(model::power_of_ten(places)) - 1);
}

std::string Parts::whole_text(double number, bool shows_zero, const NumberSymbols& symbols) const {
  if (number != 0 || !shows_zero) return digits_text(whole, number, symbols);
  Section with_zero = whole;
  std::find_if(with_zero.tokens.rbegin(), with_zero.tokens.rend(), is_place)->text = "0";
  return digits_text(with_zero, number, symbols);
}

}  // namespace

std::optional<std::string> fraction_text(const Section& section, double number,
                                         const NumberSymbols& symbols) {
  constexpr double kMost = 1e9, kMostWhole = 1e15;
  const Parts parts(section);
  number *= model::power_of_ten(section.scale);
  if (!(number < (parts.has_whole ? kMostWhole : kMost))) return std::nullopt;
  double whole = std::floor(number);
  Ratio ratio = parts.ratio_of(number - whole);
  if (!parts.has_whole) {
    ratio.numerator += static_cast<std::int64_t>(whole) * ratio.denominator;
  } else if (ratio.numerator == ratio.denominator) {
    whole += 1;
    ratio.numerator = 0;
  }
  const std::string& last_above = parts.above.back().text;
  const bool is_blank = parts.has_whole && ratio.numerator == 0 && last_above != "0";
  const std::string fraction =
      is_blank ? blanks_in(parts.above) + (last_above == "?" ? " " : "") + blanks_in(parts.below)
               : numerator_text(ratio.numerator, parts.above) + "/" +
                     denominator_text(ratio.denominator, parts.below);
  return (parts.has_whole ? parts.whole_text(whole, is_blank, symbols) : literals_of(parts.whole.tokens)) +
         fraction + literals_of(parts.rest);
}

}  // namespace ordvane::office
