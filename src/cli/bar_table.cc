#include "cli/bar_table.h"

#include <algorithm>

#include "cli/terminal.h"

namespace ordvane::cli {
namespace {

constexpr int kFewestBarColumns = 12;
constexpr int kWantedBarColumns = 20;  // goes before the columns that are left out first
constexpr int kMostBarColumns = 64;
constexpr int kFewestNameColumns = 12;
constexpr int kBarGap = 1;

}  // namespace

BarTable::BarTable(std::vector<Column> columns, std::size_t bar_at)
    : columns_(std::move(columns)), bar_at_(bar_at) {
  std::vector<std::string> headings;
  for (const Column& column : columns_) headings.push_back(column.heading);
  rows_.push_back(std::move(headings));
}

void BarTable::add(std::vector<std::string> row) {
  rows_.push_back(std::move(row));
}

int BarTable::widest(std::size_t column) const {
  int width = 0;
  for (auto row = rows_.begin() + 1; row != rows_.end(); ++row)
    if (column + (has_words(*row) ? 1 : 0) < row->size())
      width = std::max(width, unicode::display_width((*row)[column]));
  return width == 0 ? 0 : std::max(width, unicode::display_width(columns_[column].heading));
}

int BarTable::fit(int total) {
  widths_.clear();
  int level = 0;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    widths_.push_back(widest(i));
    if (columns_[i].name) widths_[i] = std::min(widths_[i], std::max(total / 3, kFewestNameColumns));
    level = std::max(level, columns_[i].optional);
  }
  for (;; --level) {
    int taken = kBarGap;
    shown_.clear();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      shown_.push_back(widths_[i] > 0 && columns_[i].optional <= level);
      if (shown_[i]) taken += columns_[i].gap + widths_[i];
    }
    bar_ = total - taken;
    if (level == 0 || bar_ >= (level > 1 ? kWantedBarColumns : kFewestBarColumns)) break;
  }
  bar_ = std::clamp(bar_, kFewestBarColumns, kMostBarColumns);
  return bar_;
}

std::string BarTable::line(const std::vector<std::string>& row, const std::string& bar) const {
  std::string line;
  const std::size_t cells = row.size() - (has_words(row) ? 1 : 0);
  for (std::size_t i = 0; i < cells; ++i) {
    if (i == bar_at_) line += std::string(kBarGap, ' ') + bar;
    if (!shown_[i]) continue;
    line += std::string(static_cast<std::size_t>(columns_[i].gap), ' ') +
            fitted(row[i], widths_[i],
                   columns_[i].name || columns_[i].left ? unicode::Side::kLeft : unicode::Side::kRight);
  }
  if (has_words(row)) line += "  " + row.back();
  line.resize(line.find_last_not_of(' ') + 1);
  return line + '\n';
}

std::string BarTable::text(const std::function<std::string(std::size_t row)>& bar) const {
  std::string text =
      inked(line(rows_.front(), std::string(static_cast<std::size_t>(bar_), ' ')), Ink::kHeading);
  for (std::size_t i = 1; i < rows_.size(); ++i)
    text += line(rows_[i], has_words(rows_[i]) ? "" : bar(i - 1));
  return text;
}

}  // namespace ordvane::cli
