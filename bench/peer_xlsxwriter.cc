// The peer of the workbook writer: libxlsxwriter writing sheets of the same sizes, filled with numbers and a
// name in the first column of every row. No charts, no run to read.
//
//   peer_xlsxwriter BOOK.xlsx ROWSxCOLUMNS...

#include <xlsxwriter.h>

#include <cstdint>
#include <cstdio>
#include <string>

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s BOOK.xlsx ROWSxCOLUMNS...\n", argv[0]);
    return 2;
  }
  lxw_workbook* book = workbook_new(argv[1]);
  lxw_format* percent = workbook_add_format(book);
  format_set_num_format(percent, "0.00%");
  std::uint32_t noise = 1;
  for (int i = 2; i < argc; ++i) {
    unsigned rows = 0;
    unsigned columns = 0;
    if (std::sscanf(argv[i], "%ux%u", &rows, &columns) != 2) return 2;
    lxw_worksheet* sheet = workbook_add_worksheet(book, nullptr);
    for (unsigned row = 0; row < rows; ++row) {
      const std::string name = "Input " + std::to_string(row / 30) + " (B" + std::to_string(row / 30) + ")";
      worksheet_write_string(sheet, row, 0, name.c_str(), nullptr);
      for (unsigned column = 1; column < columns; ++column) {
        noise = noise * 1664525 + 1013904223;
        const double value = static_cast<double>(noise) / 1e5;
        worksheet_write_number(sheet, row, static_cast<lxw_col_t>(column), value,
                               column % 3 == 0 ? percent : nullptr);
      }
    }
  }
  return workbook_close(book) == LXW_NO_ERROR ? 0 : 1;
}
