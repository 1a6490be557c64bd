#include "office/book.h"

#include <bit>
#include <cmath>
#include <functional>
#include <span>
#include <utility>

#include "host/side_by_side.h"
#include "office/refusal.h"

namespace ordvane::office {
namespace {

constexpr std::size_t kMostStyles = 65000;
constexpr double kDigitPixels = 7;
constexpr double kPaddingPixels = 5;

std::size_t hash_of(const CellStyle& style) {
  std::size_t hash = std::hash<std::string>()(style.number_format);
  const auto add = [&hash](auto... values) {
    constexpr std::size_t kFactor = 0x9E3779B1;
    ((hash = (hash ^ static_cast<std::size_t>(values)) * kFactor), ...);
  };
  const auto number_of = [](const std::optional<host::Color>& color) { return color.value_or(-1); };
  add(std::hash<std::string>()(style.font_name), std::bit_cast<std::uint64_t>(style.font_size), style.bold,
      style.italic, number_of(style.font_color), number_of(style.fill), style.horizontal, style.vertical,
      style.indent, style.wrap, style.locked);
  for (const EdgeLine* line : {&style.left, &style.top, &style.right, &style.bottom})
    add(line->line_style, line->weight, number_of(line->color));
  return hash;
}

}  // namespace

StyleTable::StyleTable() {
  intern(CellStyle{});
}

StyleId StyleTable::intern(const CellStyle& style) {
  const std::size_t hash = hash_of(style);
  for (auto [known, end] = ids_.equal_range(hash); known != end; ++known)
    if (styles_[known->second] == style) return known->second;
  if (styles_.size() >= kMostStyles) refuse("Too many different cell formats");
  const auto id = static_cast<StyleId>(styles_.size());
  styles_.push_back(style);
  ids_.emplace(hash, id);
  return id;
}

TextId TextTable::intern(std::string_view text) {
  if (texts_.size() == texts_.capacity())
    texts_.reserve(2 * texts_.size() + 1);  // so that both grow, or none
  const auto [place, added] = ids_.try_emplace(std::string(text), static_cast<TextId>(texts_.size()));
  if (added) texts_.push_back(&place->first);
  return place->second;
}

host::CellValue value_of(const TextTable& texts, const CellContent& cell) {
  host::CellValue value;
  value.kind = cell.kind();
  if (value.kind == host::CellKind::kText)
    value.text = texts.at(static_cast<TextId>(cell.value()));
  else
    value.number = cell.value();
  return value;
}

RowBand::RowBand(std::int32_t row, std::int32_t row_count, std::int32_t column, std::int32_t column_count)
    : first_row(row),
      first_column(column),
      columns(column_count),
      styles(static_cast<std::size_t>(column_count)) {
  add_rows(row_count);
}

void RowBand::add_rows(std::int32_t count) {
  const auto all = static_cast<std::size_t>(rows + count);
  const std::size_t present = cells.size();
  styles.add_rows(all - styles.rows());
  cells.resize(all * static_cast<std::size_t>(columns));
  host::fill_side_by_side(std::span(cells).subspan(present), CellContent());
  rows += count;
}

std::int32_t column_pixels(double characters) {
  const double pixels = characters < 1 ? characters * (kDigitPixels + kPaddingPixels)
                                       : characters * kDigitPixels + kPaddingPixels;
  return static_cast<std::int32_t>(std::lround(pixels));
}

double column_characters(std::int32_t pixels) {
  const double narrowest_full = kDigitPixels + kPaddingPixels;
  const double characters =
      pixels < narrowest_full ? pixels / narrowest_full : (pixels - kPaddingPixels) / kDigitPixels;
  return std::round(characters * 100) / 100;
}

}  // namespace ordvane::office
