#include "office/digits_text.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "model/shown_number.h"

namespace ordvane::office {
namespace {

using model::Decimal;
using Token = NumberFormat::Token;
using Section = NumberFormat::Section;
using Kind = Token::Kind;

struct DigitPlaces {
  std::size_t whole = 0, fraction = 0, exponent = 0;
};

DigitPlaces count_places(const Section& section) {
  DigitPlaces places;
  std::size_t* counted = &places.whole;
  for (const Token& token : section.tokens) {
    if (token.kind == Kind::kPoint) counted = &places.fraction;
    if (token.kind == Kind::kExponent) counted = &places.exponent;
    if (token.kind == Kind::kDigit) ++*counted;
  }
  return places;
}

// Digits of the whole part for each of its places, from left to right, with group marks.
std::vector<std::string> whole_digits(const Section& section, const std::string& digits,
                                      std::size_t place_count, const std::string& group) {
  std::vector<std::string> shown(place_count);
  std::vector<const Token*> places;
  for (const Token& token : section.tokens)
    if (token.kind == Kind::kDigit && places.size() < place_count) places.push_back(&token);
  std::size_t count = 0;  // digits shown so far, from the right
  const auto show = [&](std::string& place, const std::string& digit) {
    if (digit.empty()) return;
    const bool mark = section.groups && count > 0 && count % 3 == 0 && digit != " ";
    place.insert(0, digit + (mark ? group : ""));
    ++count;
  };
  for (std::size_t p = place_count; p-- > 0;) {
    if (count < digits.size())
      show(shown[p], digits.substr(digits.size() - 1 - count, 1));
    else
      show(shown[p], filler(*places[p]));
  }
  while (place_count > 0 && count < digits.size())
    show(shown[0], digits.substr(digits.size() - 1 - count, 1));
  return shown;
}

std::string fill_places(const Section& section, const DigitPlaces& places, const Decimal& decimal,
                        int exponent, const NumberSymbols& symbols) {
  const std::string digits = decimal.whole(), fraction = decimal.fraction();
  const std::vector<std::string> whole = whole_digits(section, digits, places.whole, symbols.group);
  std::string text;
  std::size_t whole_place = 0, fraction_place = 0;
  bool after_point = false, after_exponent = false;
  for (const Token& token : section.tokens) {
    switch (token.kind) {
      case Kind::kPoint:
        text += (places.whole == 0 && !after_point ? digits : "") + symbols.decimal;
        after_point = true;
        break;
      case Kind::kExponent:
        after_exponent = true;
        text += model::exponent_text(exponent, places.exponent, token.text == "+");
        break;
      case Kind::kDigit:
        if (after_exponent) break;
        if (after_point)
          text += fraction_place < fraction.size() ? fraction.substr(fraction_place, 1) : filler(token);
        else
          text += whole[whole_place++];
        if (after_point) ++fraction_place;
        break;
      default:
        text += token.text;
    }
  }
  return text;
}

}  // namespace

std::string filler(const Token& place) {
  return place.text == "0" ? "0" : place.text == "?" ? " " : "";
}

std::string digits_text(const Section& section, double number, const NumberSymbols& symbols) {
  const DigitPlaces places = count_places(section);
  Decimal decimal(number);
  if (!decimal.is_zero()) decimal.exponent += section.scale;
  int exponent = 0;
  if (section.is_exponential && !decimal.is_zero()) {
    // The exponent is a multiple of the number of places before the point.
    const int step = std::max(static_cast<int>(places.whole), 1);
    const auto take_exponent = [&] {
      const int power = decimal.exponent - 1;
      const int part = static_cast<int>(std::floor(static_cast<double>(power) / step)) * step;
      exponent += part;
      decimal.exponent -= part;
    };
    take_exponent();
    decimal.round(static_cast<int>(places.fraction));
    take_exponent();  // rounding may have made it ten
  } else {
    decimal.round(static_cast<int>(places.fraction));
  }
  return fill_places(section, places, decimal, exponent, symbols);
}

}  // namespace ordvane::office
