#include "office/column_fit.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ordvane::office {
namespace {

using host::CellKind;
using host::CellValue;

constexpr double kPointsOfPixel = 0.75;
constexpr double kIndentPoints = 6.75;
constexpr double kPaddingPixels = 7;  // the grid's padding and a little room for other fonts' rounding

// General shows whole numbers of this size in full, and others between these bounds without an exponent.
constexpr double kGeneralEnd = 1e11, kGeneralStart = 1e-4;
constexpr std::int32_t kLongestGeneral = 11;

// Whether General shows a number of this size with more than `length` characters: whether it has more
// decimals than fit beside its whole part.
bool shows_more_than(std::int32_t length, double size) {
  constexpr std::array<double, 12> kPowers = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11};
  constexpr double kShownPrecision = 1e-13;
  if (length >= kLongestGeneral) return false;
  std::size_t whole = 1;
  while (whole + 1 < kPowers.size() && size >= kPowers[whole]) ++whole;
  const std::int32_t decimals = length - static_cast<std::int32_t>(whole) - 1;
  if (decimals < 0) return true;
  const double scaled = size * kPowers[static_cast<std::size_t>(decimals)];
  return std::fabs(scaled - std::round(scaled)) > scaled * kShownPrecision;
}

}  // namespace

ColumnFit::StyleFit::StyleFit(const CellStyle& style)
    : wraps(style.wrap),
      indent(style.indent * kIndentPoints),
      format(style.number_format),
      font(style.font_name, style.font_size, style.bold),
      general(format.is_general()),
      by_size(format.grows_with_size()) {}

void ColumnFit::StyleFit::measure(const CellValue& value) {
  widest = std::max(widest, font.width(format.text(value)) + indent);
}

void ColumnFit::StyleFit::add_number(double number) {
  const bool whole = general && std::fabs(number) < kGeneralEnd && number == std::floor(number);
  if (by_size || whole) {
    has_numbers = true;
    has_zero = has_zero || number == 0;
    lowest = std::min(lowest, number);
    highest = std::max(highest, number);
  } else if (general) {
    add_general(number);
  } else {
    measure(number);
  }
}

// Of numbers shown without an exponent only those with more characters than any before are measured.
void ColumnFit::StyleFit::add_general(double number) {
  const double size = std::fabs(number);
  const bool plain = size >= kGeneralStart && size < kGeneralEnd;
  std::int32_t& longest = number < 0 ? longest_negative : longest_positive;
  if (plain && !shows_more_than(longest, size)) return;
  measure(number);
  if (plain) longest = static_cast<std::int32_t>(format.text(size).size());
}

// Texts and general numbers were measured there.
void ColumnFit::StyleFit::add(const StyleFit& other) {
  widest = std::max(widest, other.widest);
  has_numbers = has_numbers || other.has_numbers;
  has_zero = has_zero || other.has_zero;
  lowest = std::min(lowest, other.lowest);
  highest = std::max(highest, other.highest);
}

void ColumnFit::StyleFit::finish() {
  if (!has_numbers) return;
  if (has_zero) measure(0.0);
  if (lowest < 0) measure(lowest);
  if (highest > 0) measure(highest);
}

void ColumnFit::add(StyleId style, const CellContent& cell) {
  const CellKind kind = cell.kind();
  if (kind == CellKind::kBlank) return;
  if (!last_fit_ || style != last_style_) {
    last_fit_ = &fits_.try_emplace(style, book_.styles.at(style)).first->second;
    last_style_ = style;
  }
  StyleFit& fit = *last_fit_;
  if (fit.wraps) return;
  if (kind == CellKind::kNumber) {
    fit.add_number(cell.number());
  } else if (kind == CellKind::kText) {
    const auto text = static_cast<TextId>(cell.value());
    if (fit.texts.insert(text).second) fit.measure(book_.texts.at(text));
  } else {
    fit.measure(value_of(book_.texts, cell));
  }
}

void ColumnFit::add(ColumnFit other) {
  last_fit_ = nullptr;
  while (!other.fits_.empty()) {
    const auto added = fits_.insert(other.fits_.extract(other.fits_.begin()));
    if (!added.inserted) added.position->second.add(added.node.mapped());
  }
}

std::optional<std::int32_t> ColumnFit::pixels() {
  double widest = 0;
  for (auto& [style, fit] : fits_) {
    fit.finish();
    widest = std::max(widest, fit.widest);
  }
  if (widest <= 0) return std::nullopt;
  return static_cast<std::int32_t>(std::ceil(widest / kPointsOfPixel) + kPaddingPixels);
}

}  // namespace ordvane::office
