#include "xlsx/shared_texts.h"

#include "text/utf16.h"
#include "xlsx/parts.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {
namespace {

constexpr std::int32_t kCellTextLimit = 32767;  // UTF-16 units

void check_length(const office::SheetModel& sheet, const office::RowBand& band, std::size_t cell,
                  const std::string& text) {
  if (text.size() <= kCellTextLimit || text::utf16_length(text) <= kCellTextLimit) return;
  const auto columns = static_cast<std::size_t>(band.columns);
  const std::string name = office::cell_name(band.first_row + static_cast<std::int32_t>(cell / columns),
                                             band.first_column + static_cast<std::int32_t>(cell % columns));
  refuse("sheet '" + sheet.name + "', cell " + name + ": a text is longer than 32767 characters");
}

}  // namespace

SharedTexts collect_texts(const office::BookModel& book) {
  SharedTexts texts;
  std::vector<bool> is_used(book.texts.size());
  for (const auto& sheet : book.sheets) {
    for (const office::RowBand& band : sheet->bands) {
      for (std::size_t cell = 0; cell < band.cells.size(); ++cell) {
        if (band.cells[cell].kind() != host::CellKind::kText) continue;
        const auto id = static_cast<office::TextId>(band.cells[cell].value());
        ++texts.references;
        if (is_used[id]) continue;
        check_length(*sheet, band, cell, book.texts.at(id));
        is_used[id] = true;
      }
    }
  }
  texts.number.resize(is_used.size());
  for (office::TextId id = 0; id < is_used.size(); ++id) {
    if (!is_used[id]) continue;
    texts.number[id] = static_cast<std::uint32_t>(texts.used.size());
    texts.used.push_back(id);
  }
  return texts;
}

std::string shared_texts_part(const office::BookModel& book, const SharedTexts& texts) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("sst").attr("xmlns", kMainSpace).attr("count", texts.references);
  xml.attr("uniqueCount", texts.used.size());
  for (const office::TextId id : texts.used) {
    xml.start("si");
    text_element(xml, "t", book.texts.at(id));
    xml.end();
  }
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
