#include "office/book.h"

#include <cmath>

#include "office/refusal.h"

namespace ordvane::office {
namespace {

constexpr std::size_t kMostStyles = 65000;
constexpr double kDigitPixels = 7;
constexpr double kPaddingPixels = 5;

// Equal styles, and only they, have the same key.
class StyleKey {
 public:
  explicit StyleKey(const CellStyle& style) {
    add_text(style.number_format);
    add_text(style.font_name);
    add(style.font_size);
    add(style.bold);
    add(style.italic);
    add(style.font_color);
    add(style.fill);
    for (const EdgeLine* line : {&style.left, &style.top, &style.right, &style.bottom}) {
      add(line->line_style);
      add(line->weight);
      add(line->color);
    }
    add(style.horizontal);
    add(style.vertical);
    add(style.indent);
    add(style.wrap);
    add(style.locked);
  }
  const std::string& text() const { return key_; }

 private:
  template <class Plain>
  void add(const Plain& value) {
    key_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void add(const std::optional<host::Color>& color) {
    add(color.has_value());
    add(color.value_or(0));
  }
  void add_text(const std::string& text) {
    add(text.size());
    key_ += text;
  }

  std::string key_;
};

}  // namespace

StyleTable::StyleTable() {
  intern(CellStyle{});
}

StyleId StyleTable::intern(const CellStyle& style) {
  const StyleKey key(style);
  const auto found = ids_.find(key.text());
  if (found != ids_.end()) return found->second;
  if (styles_.size() >= kMostStyles) refuse("Too many different cell formats");
  const auto id = static_cast<StyleId>(styles_.size());
  styles_.push_back(style);
  ids_.emplace(key.text(), id);
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
