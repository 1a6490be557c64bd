// The host interfaces over the shared state. A handle is cheap: it names what it stands for and checks on
// every use that it is still there.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/excel.h"
#include "office/state.h"

namespace ordvane::office {

class WorkbookHandle final : public host::Workbook {
 public:
  explicit WorkbookHandle(std::shared_ptr<Book> book) : book_(std::move(book)) {}

  std::string name() override;
  bool multi_user_editing() override;
  std::vector<std::shared_ptr<host::Worksheet>> worksheets() override;
  std::shared_ptr<host::Worksheet> worksheet(const std::string& name) override;
  std::shared_ptr<host::Worksheet> add_worksheet() override;
  void set_properties(const host::DocumentProperties& properties) override;
  void activate() override;

  const std::shared_ptr<Book>& book();

 private:
  std::shared_ptr<Book> book_;
};

class WorksheetHandle final : public host::Worksheet {
 public:
  explicit WorksheetHandle(std::shared_ptr<Sheet> sheet) : sheet_(std::move(sheet)) {}

  std::shared_ptr<host::Workbook> workbook() override;
  std::string name() override;
  void set_name(const std::string& name) override;
  std::int32_t row_limit() override;
  std::int64_t cell_limit() override;
  std::int32_t column_limit() override;
  std::shared_ptr<host::Range> range(const std::string& address) override;
  std::shared_ptr<host::Range> range(std::int32_t row, std::int32_t column, std::int32_t rows,
                                     std::int32_t columns) override;
  std::shared_ptr<host::ChartObject> add_chart(double left, double top, double width, double height) override;
  void set_page_setup(const host::PageSetup& setup) override;
  void freeze_panes(std::int32_t rows, std::int32_t columns) override;
  void set_display_gridlines(bool shown) override;
  void activate() override;
  void move_before(const std::string& name) override;
  void remove() override;

 private:
  Sheet& sheet() const;

  std::shared_ptr<Sheet> sheet_;
};

class RangeHandle final : public host::Range {
 public:
  // Throws unless the area lies on the sheet.
  RangeHandle(std::shared_ptr<Sheet> sheet, const Area& area);

  std::shared_ptr<host::Worksheet> worksheet() override;
  std::int32_t row() override;
  std::int32_t column() override;
  std::int32_t row_count() override;
  std::int32_t column_count() override;
  std::string address(bool absolute, bool external) override;
  std::shared_ptr<host::Range> cell(std::int32_t row, std::int32_t column) override;
  std::shared_ptr<host::Range> offset(std::int32_t rows, std::int32_t columns) override;
  std::shared_ptr<host::Range> resize(std::int32_t rows, std::int32_t columns) override;

  host::CellValue value() override;
  void set_value(const host::CellValue& value) override;
  host::CellBlock values() override;
  void put_blocks(std::span<const host::CellBlock* const> blocks) override;
  std::string formula() override;
  void set_formula(const std::string& formula) override;
  host::CellValue value_with(const std::string& formula) override { return evaluate(formula); }
  host::CellValue evaluate(const std::string& formula) override;

  std::string number_format() override;
  std::string number_format_local() override;
  void set_number_format(const std::string& format) override;
  void set_row_formats(const std::vector<std::string>& formats) override;
  void set_font(const host::FontFormat& font) override;
  void set_interior(const host::InteriorFormat& interior) override;
  void set_border(host::Edge edge, const host::BorderFormat& border) override;
  void add_color_scale(const std::vector<host::ColorStop>& stops) override;
  void set_auto_filter() override;
  void set_alignment(host::HAlign horizontal, host::VAlign vertical) override;
  void set_indent(std::int32_t level) override;
  void set_wrap_text(bool wrap) override;
  bool locked() override;

  void set_merge(bool merged) override;
  void auto_fit_columns() override;
  double column_width() override;
  void set_column_width(double characters) override;
  void set_columns_hidden(bool hidden) override;
  double row_height() override;
  void set_row_height(double points) override;
  double left() override;
  double top() override;
  double width() override;
  double height() override;
  void add_comment(const std::string& text) override;
  void select() override;
  void activate() override;

  const std::shared_ptr<Sheet>& sheet_handle();
  const Area& area() const { return area_; }

 private:
  Sheet& sheet() const;
  std::shared_ptr<RangeHandle> at(const Area& area) const;
  void require_active_sheet() const;

  std::shared_ptr<Sheet> sheet_;
  Area area_;
};

// The embedded range, sheet and area behind a handle of this application; throws for any other.
RangeHandle& embedded(host::Range& range);
WorkbookHandle& embedded(host::Workbook& book);

// The colour that a format asks for, by value or by index. Nothing when it asks for none.
std::optional<host::Color> chosen_color(const std::optional<host::Color>& color,
                                        const std::optional<std::int32_t>& index);

std::shared_ptr<host::ChartObject> make_chart(const std::shared_ptr<Sheet>& sheet, double left, double top,
                                              double width, double height);

}  // namespace ordvane::office
