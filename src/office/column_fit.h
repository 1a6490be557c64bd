// How wide a column must be for its cells to show in full.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <unordered_set>

#include "office/book.h"
#include "office/number_format.h"
#include "office/text_width.h"

namespace ordvane::office {

// Takes the cells of one column and measures as few of them as it can: digits are all of one width, so of the
// numbers in most formats only the extreme ones count.
class ColumnFit {
 public:
  explicit ColumnFit(const BookModel& book) : book_(book) {}

  void add(StyleId style, const CellContent& cell);
  // What the other one has taken, of other cells of the column.
  void add(ColumnFit other);
  // The column's width in pixels. Nothing when no cell has contents.
  std::optional<std::int32_t> pixels();

 private:
  // The cells of one style.
  struct StyleFit {
    explicit StyleFit(const CellStyle& style);
    void add_number(double number);
    void add_general(double number);
    void add(const StyleFit& other);
    void measure(const host::CellValue& value);
    void finish();

    bool wraps;
    double indent;  // points
    NumberFormat format;
    TextMeasure font;
    bool general, by_size;
    double lowest = 0, highest = 0;  // of the numbers that need not be measured one by one
    bool has_numbers = false, has_zero = false;
    std::int32_t longest_positive = 0, longest_negative = 0;  // characters of general numbers so far
    std::unordered_set<TextId> texts;
    double widest = 0;
  };

  const BookModel& book_;
  std::map<StyleId, StyleFit> fits_;
  StyleFit* last_fit_ = nullptr;
  StyleId last_style_ = 0;
};

}  // namespace ordvane::office
