// A table with a column of bars, as wide as the terminal.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace ordvane::cli {

// A column without any text below its heading is left out.
class BarTable {
 public:
  struct Column {
    std::string heading;
    int gap = 1;        // blanks before it
    bool left = false;  // its cells stand at the left
    bool name = false;  // so do these, and a long one is cut
    int optional = 0;   // columns of the highest number are left out first where there is no room; 0: never
  };

  // The bars stand before the column `bar_at`, counted from 0.
  BarTable(std::vector<Column> columns, std::size_t bar_at);
  // Printable cells, one a column. In a row of fewer cells the last one is words instead of a bar and of what
  // stands around it.
  void add(std::vector<std::string> row);
  // Chooses the columns that fit; returns the width of the bars.
  int fit(int total);
  // The headings, then the rows. `bar`: the bar of a row, counted from 0; not asked for where words stand.
  std::string text(const std::function<std::string(std::size_t row)>& bar) const;

 private:
  int widest(std::size_t column) const;  // 0: there is no text in it
  bool has_words(const std::vector<std::string>& row) const { return row.size() < columns_.size(); }
  std::string line(const std::vector<std::string>& row, const std::string& bar) const;

  std::vector<Column> columns_;
  std::size_t bar_at_;
  std::vector<std::vector<std::string>> rows_;  // the first one is the headings
  std::vector<int> widths_;
  std::vector<bool> shown_;
  int bar_ = 0;
};

}  // namespace ordvane::cli
