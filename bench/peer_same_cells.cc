// The peer of the workbook writer at full size: libxlsxwriter, in the mode that keeps one row in memory,
// writes the cells and formats of a report workbook from a dump (bench/dump_cells.cc). Merged cells are left
// out, because that mode cannot go back to a row; so the peer does a little less.
//
//   peer_same_cells DUMP BOOK.xlsx

#include <xlsxwriter.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

class Reader {
 public:
  explicit Reader(const char* path) : file_(std::fopen(path, "rb")) {
    if (file_ != nullptr) std::setvbuf(file_, nullptr, _IOFBF, 1U << 20U);
  }
  ~Reader() {
    if (file_ != nullptr) std::fclose(file_);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool is_open() const { return file_ != nullptr; }
  std::int32_t number() { return value<std::int32_t>(); }
  double real() { return value<double>(); }
  std::string text() {
    std::string result(static_cast<std::size_t>(number()), '\0');
    if (std::fread(result.data(), 1, result.size(), file_) != result.size()) std::abort();
    return result;
  }

 private:
  template <class T>
  T value() {
    T result;
    if (std::fread(&result, sizeof result, 1, file_) != 1) std::abort();
    return result;
  }

  std::FILE* file_;
};

lxw_color_t rgb(std::int32_t bgr) {
  return static_cast<lxw_color_t>((bgr & 0xFF) << 16 | (bgr & 0xFF00) | (bgr >> 16 & 0xFF));
}

std::uint8_t alignment(std::int32_t excel) {
  switch (excel) {
    case -4131:
      return LXW_ALIGN_LEFT;
    case -4108:
      return LXW_ALIGN_CENTER;
    case -4152:
      return LXW_ALIGN_RIGHT;
    default:
      return LXW_ALIGN_NONE;
  }
}

lxw_format* style(lxw_workbook* book, Reader& in) {
  lxw_format* format = workbook_add_format(book);
  const std::string number_format = in.text();
  if (number_format != "General") format_set_num_format(format, number_format.c_str());
  format_set_font_size(format, in.real());
  if (in.number() != 0) format_set_bold(format);
  if (in.number() != 0) format_set_italic(format);
  if (in.number() != 0) format_set_text_wrap(format);
  if (const std::int32_t color = in.number(); color >= 0) format_set_font_color(format, rgb(color));
  if (const std::int32_t fill = in.number(); fill >= 0) {
    format_set_pattern(format, LXW_PATTERN_SOLID);
    format_set_bg_color(format, rgb(fill));
  }
  format_set_align(format, alignment(in.number()));
  if (const std::int32_t indent = in.number(); indent > 0)
    format_set_indent(format, static_cast<std::uint8_t>(indent));
  using SetLine = void (*)(lxw_format*, std::uint8_t);
  using SetColor = void (*)(lxw_format*, lxw_color_t);
  const SetLine lines[] = {format_set_left, format_set_top, format_set_right, format_set_bottom};
  const SetColor colors[] = {format_set_left_color, format_set_top_color, format_set_right_color,
                             format_set_bottom_color};
  for (int edge = 0; edge < 4; ++edge) {
    const std::int32_t line = in.number();
    const std::int32_t color = in.number();
    if (line == 0) continue;
    lines[edge](format, LXW_BORDER_THIN);
    colors[edge](format, rgb(color));
  }
  return format;
}

enum Kind { kBlank, kNumber, kText, kBoolean, kError };

void write_sheet(lxw_workbook* book, Reader& in, const std::vector<lxw_format*>& styles,
                 const std::vector<std::string>& texts) {
  lxw_worksheet* sheet = workbook_add_worksheet(book, in.text().c_str());
  for (std::int32_t widths = in.number(); widths > 0; --widths) {
    const auto column = static_cast<lxw_col_t>(in.number() - 1);
    worksheet_set_column(sheet, column, column, in.real(), nullptr);
  }
  for (std::int32_t row = in.number(); row != 0; row = in.number()) {
    const auto line = static_cast<lxw_row_t>(row - 1);
    for (std::int32_t cells = in.number(); cells > 0; --cells) {
      const auto column = static_cast<lxw_col_t>(in.number() - 1);
      const std::int32_t style_id = in.number();
      lxw_format* format = style_id == 0 ? nullptr : styles[static_cast<std::size_t>(style_id)];
      const std::int32_t kind = in.number();
      const double number = in.real();
      if (kind == kText)
        worksheet_write_string(sheet, line, column, texts[static_cast<std::size_t>(number)].c_str(), format);
      else if (kind == kBlank || kind == kError)
        worksheet_write_blank(sheet, line, column, format);
      else
        worksheet_write_number(sheet, line, column, number, format);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s DUMP BOOK.xlsx\n", argv[0]);
    return 2;
  }
  Reader in(argv[1]);
  if (!in.is_open()) {
    std::fprintf(stderr, "cannot read %s\n", argv[1]);
    return 1;
  }
  lxw_workbook_options options = {};
  options.constant_memory = LXW_TRUE;
  lxw_workbook* book = workbook_new_opt(argv[2], &options);
  std::vector<lxw_format*> styles(static_cast<std::size_t>(in.number()));
  for (lxw_format*& format : styles) format = style(book, in);
  std::vector<std::string> texts(static_cast<std::size_t>(in.number()));
  for (std::string& text : texts) text = in.text();
  for (std::int32_t sheets = in.number(); sheets > 0; --sheets) write_sheet(book, in, styles, texts);
  return workbook_close(book) == LXW_NO_ERROR ? 0 : 1;
}
