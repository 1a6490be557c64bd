#include "office/book.h"

#include <array>
#include <cmath>
#include <cstring>
#include <utility>

#include "office/refusal.h"

namespace ordvane::office {
namespace {

constexpr std::size_t kMostStyles = 65000;
constexpr double kDigitPixels = 7;
constexpr double kPaddingPixels = 5;

// Equal styles, and only they, have the same key.
std::string key_of(const CellStyle& style) {
  constexpr std::size_t kUsualLength = 192;
  std::string key;
  key.reserve(kUsualLength);
  const auto add = [&key](const auto&... values) {
    std::array<char, (sizeof values + ...)> bytes;
    char* at = bytes.data();
    ((std::memcpy(at, &values, sizeof values), at += sizeof values), ...);
    key.append(bytes.data(), bytes.size());
  };
  const auto number_of = [](const std::optional<host::Color>& color) {
    return color ? std::int64_t{*color} : std::int64_t{-1} << 32U;
  };
  add(style.number_format.size(), style.font_name.size());
  key += style.number_format;
  key += style.font_name;
  add(style.font_size, style.bold, style.italic, number_of(style.font_color), number_of(style.fill),
      style.horizontal, style.vertical, style.indent, style.wrap, style.locked);
  for (const EdgeLine* line : {&style.left, &style.top, &style.right, &style.bottom})
    add(line->line_style, line->weight, number_of(line->color));
  return key;
}

}  // namespace

StyleTable::StyleTable() {
  intern(CellStyle{});
}

StyleId StyleTable::intern(const CellStyle& style) {
  std::string key = key_of(style);
  const auto found = ids_.find(key);
  if (found != ids_.end()) return found->second;
  if (styles_.size() >= kMostStyles) refuse("Too many different cell formats");
  const auto id = static_cast<StyleId>(styles_.size());
  styles_.push_back(style);
  ids_.emplace(std::move(key), id);
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
  cells.resize(all * static_cast<std::size_t>(columns));
  styles.add_rows(all - styles.rows());
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
