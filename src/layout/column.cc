#include "layout/column.h"

#include <iterator>
#include <utility>

namespace ordvane::layout {

Column name_column(std::string caption) {
  return {.caption = std::move(caption),
          .alignment = host::HAlign::kLeft,
          .caption_alignment = host::HAlign::kLeft,
          .width = kNameColumnWidth,
          .text = true};
}

Column figure_column(std::string caption, host::HAlign alignment) {
  return {.caption = std::move(caption), .alignment = alignment};
}

std::vector<Column> grouped(std::string caption, std::int32_t row, std::vector<Column> columns,
                            std::int32_t rows) {
  const auto count = static_cast<std::int32_t>(columns.size());
  if (count > 0)
    columns.front().headings.push_back(
        {.caption = std::move(caption), .row = row, .columns = count, .rows = rows});
  return columns;
}

void append(std::vector<Column>& columns, std::vector<Column> more) {
  columns.insert(columns.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace ordvane::layout
