#include "xlsx/shared_texts.h"

#include <algorithm>
#include <functional>
#include <mutex>

#include "host/side_by_side.h"
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

// Some cells of a band.
struct Cells {
  const office::SheetModel* sheet;
  const office::RowBand* band;
  std::size_t first, end;
};

std::vector<Cells> all_cells(const office::BookModel& book) {
  constexpr std::size_t kAtOnce = std::size_t{1} << 19U;
  std::vector<Cells> pieces;
  for (const auto& sheet : book.sheets)
    for (const office::RowBand& band : sheet->bands)
      for (std::size_t first = 0; first < band.cells.size(); first += kAtOnce)
        pieces.push_back({sheet.get(), &band, first, std::min(first + kAtOnce, band.cells.size())});
  return pieces;
}

// Returns how many of the cells hold texts, and marks these.
std::uint64_t find_texts(const office::BookModel& book, const Cells& cells, std::vector<bool>& is_used) {
  std::uint64_t references = 0;
  for (std::size_t cell = cells.first; cell < cells.end; ++cell) {
    const office::CellContent& content = cells.band->cells[cell];
    if (content.kind() != host::CellKind::kText) continue;
    const auto id = static_cast<office::TextId>(content.value());
    ++references;
    if (is_used[id]) continue;
    check_length(*cells.sheet, *cells.band, cell, book.texts.at(id));
    is_used[id] = true;
  }
  return references;
}

}  // namespace

SharedTexts collect_texts(const office::BookModel& book) {
  SharedTexts texts;
  std::vector<bool> is_used(book.texts.size());
  const std::vector<Cells> pieces = all_cells(book);
  std::size_t cells = 0;
  for (const Cells& piece : pieces) cells += piece.end - piece.first;
  constexpr std::size_t kLeastShared = std::size_t{1} << 20U;
  if (cells < kLeastShared) {
    for (const Cells& piece : pieces) texts.references += find_texts(book, piece, is_used);
  } else {
    std::mutex mutex;
    host::each_side_by_side(pieces.size(), host::processors(), [&](std::size_t i) {
      std::vector<bool> used(is_used.size());
      const std::uint64_t references = find_texts(book, pieces[i], used);
      const std::lock_guard lock(mutex);
      texts.references += references;
      std::transform(used.begin(), used.end(), is_used.begin(), is_used.begin(), std::logical_or<>());
    });
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
