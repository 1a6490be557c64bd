// Columns of report tables as data: what a report says about each column of a table, from left to right.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/excel.h"

namespace ordvane::layout {

inline constexpr double kNameColumnWidth = 22.0;  // characters
inline constexpr double kFitColumn = -1.0;

// A caption over columns side by side, centred in one merged cell of the header. Columns that printed pages
// part have it on every page.
struct GroupHeading {
  std::string caption;
  std::int32_t row;      // of the header, from 1: the first one that it takes
  std::int32_t columns;  // from the one that it is given with on
  std::int32_t rows = 1;
};

struct Column {
  std::string caption;  // in the last header row
  host::HAlign alignment = host::HAlign::kRight;
  host::HAlign caption_alignment = host::HAlign::kCenter;
  double width = kFitColumn;       // characters, at least; kFitColumn: what the contents take
  std::string number_format = {};  // English codes; empty: General, of texts that of texts
  bool text = false;               // names and addresses: they stay what they are, whatever they read like
  bool indented = false;           // caption and cells keep clear of the rule at the left
  bool rule = false;               // at the right, through header and body
  bool begins_block = false;  // printed pages side by side begin with such a column, as long as there are any
  std::string note = {};      // at the caption
  std::vector<GroupHeading> headings = {};  // those that begin with this column
};

// Names and addresses, at the left.
Column name_column(std::string caption);
// Figures, and what is as short: fitted, under a centred caption.
Column figure_column(std::string caption, host::HAlign alignment = host::HAlign::kRight);

// The columns with a caption over all of them, in header row `row` and as many more as `rows` says. Without
// any column there is no caption.
std::vector<Column> grouped(std::string caption, std::int32_t row, std::vector<Column> columns,
                            std::int32_t rows = 1);

void append(std::vector<Column>& columns, std::vector<Column> more);

}  // namespace ordvane::layout
