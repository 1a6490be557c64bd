// Makes one detail report of a run in memory and dumps its cells and formats for the peer of the workbook
// writer.
//
//   dump_cells RUN.run.json DUMP detail-by-input|output-detail
//
// The dump, in the machine's own byte order, texts as a 32-bit length and bytes:
//   styles   count; each: number format, font size (double), bold, italic, wrap (32-bit each), font colour,
//   fill
//            (0xBBGGRR, -1 none), horizontal alignment, indent, then left, top, right, bottom: line (1 or 0),
//            colour
//   texts    count; each a text
//   sheets   count; each: name, columns with a width (count; column, width as double), then rows until a row
//   number 0:
//            row number, cells; each cell: column, style, kind (host::CellKind), 8 bytes: number, or number
//            of the text

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "embedded/report_job.h"
#include "runfile/run.h"

namespace {

using namespace ordvane;

class Dump {
 public:
  explicit Dump(const char* path) : file_(std::fopen(path, "wb")) {
    if (file_ == nullptr) throw std::runtime_error(std::string("cannot write ") + path);
    std::setvbuf(file_, nullptr, _IOFBF, 1U << 20U);
  }
  ~Dump() { std::fclose(file_); }
  Dump(const Dump&) = delete;
  Dump& operator=(const Dump&) = delete;

  void put(std::int32_t value) { std::fwrite(&value, sizeof value, 1, file_); }
  void put(double value) { std::fwrite(&value, sizeof value, 1, file_); }
  void put(const std::string& text) {
    put(static_cast<std::int32_t>(text.size()));
    std::fwrite(text.data(), 1, text.size(), file_);
  }

 private:
  std::FILE* file_;
};

void put_style(Dump& dump, const office::CellStyle& style) {
  dump.put(style.number_format);
  dump.put(style.font_size);
  for (const bool flag : {style.bold, style.italic, style.wrap}) dump.put(flag ? 1 : 0);
  dump.put(style.font_color.value_or(-1));
  dump.put(style.fill.value_or(-1));
  dump.put(static_cast<std::int32_t>(style.horizontal));
  dump.put(style.indent);
  for (const office::EdgeLine& edge : {style.left, style.top, style.right, style.bottom}) {
    dump.put(edge.line_style == host::kXlNone ? 0 : 1);
    dump.put(edge.color.value_or(0));
  }
}

void put_row(Dump& dump, const office::SheetModel& sheet, std::int32_t row) {
  std::int32_t cells = 0;
  const auto covers = [row](const office::RowBand& band) {
    return row >= band.first_row && row < band.first_row + band.rows;
  };
  for (const office::RowBand& band : sheet.bands)
    if (covers(band)) cells += band.columns;
  if (cells == 0) return;
  dump.put(row);
  dump.put(cells);
  for (const office::RowBand& band : sheet.bands) {
    if (!covers(band)) continue;
    for (std::int32_t column = band.first_column; column < band.first_column + band.columns; ++column) {
      const std::size_t at = band.index(row, column);
      dump.put(column);
      dump.put(static_cast<std::int32_t>(band.style(at)));
      dump.put(static_cast<std::int32_t>(band.cells[at].kind()));
      dump.put(band.cells[at].value());
    }
  }
}

void put_book(Dump& dump, const office::BookModel& book) {
  dump.put(static_cast<std::int32_t>(book.styles.size()));
  for (std::size_t i = 0; i < book.styles.size(); ++i)
    put_style(dump, book.styles.at(static_cast<office::StyleId>(i)));
  dump.put(static_cast<std::int32_t>(book.texts.size()));
  for (std::size_t i = 0; i < book.texts.size(); ++i) dump.put(book.texts.at(static_cast<office::TextId>(i)));
  dump.put(static_cast<std::int32_t>(book.sheets.size()));
  for (const auto& sheet : book.sheets) {
    dump.put(sheet->name);
    std::int32_t widths = 0;
    for (const auto& [column, props] : sheet->columns) widths += props.width ? 1 : 0;
    dump.put(widths);
    for (const auto& [column, props] : sheet->columns) {
      if (!props.width) continue;
      dump.put(column);
      dump.put(*props.width);
    }
    std::int32_t last = 0;
    for (const office::RowBand& band : sheet->bands) last = std::max(last, band.first_row + band.rows - 1);
    for (std::int32_t row = 1; row <= last; ++row) put_row(dump, *sheet, row);
    dump.put(0);
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s RUN.run.json DUMP detail-by-input|output-detail\n", argv[0]);
    return 2;
  }
  embedded::ReportOptions options;
  options.tornado = options.spider = options.sensitivity = false;
  options.detail_by_input = std::strcmp(argv[3], "detail-by-input") == 0;
  options.output_detail = !options.detail_by_input;
  const auto run = std::make_shared<const runfile::Run>(runfile::read_run(argv[1]));
  const auto book = embedded::make_reports(run, options);
  Dump dump(argv[2]);
  put_book(dump, *book);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
