#include "read_back.h"

#include <algorithm>
#include <cmath>

#include "automation/cell_variants.h"
#include "host/error.h"
#include "measure.h"

namespace ordvane::acceptance {
namespace {

using office::AxisModel;
using office::BookModel;
using office::ChartModel;
using office::SheetModel;

constexpr std::int32_t kXlLandscape = 2, kXlManualBreak = -4135, kXlPageBreakPreview = 2, kXlNormalView = 1;
// Excel fits plot areas and charts to whole pixels, which are 0.75 points on most screens and more on some.
constexpr double kPoints = 2.5;

// What was compared, and what differed.
class Findings {
 public:
  void expect(const std::string& where, const std::string& found, const std::string& wanted) {
    ++compared_;
    if (found != wanted) differ(where, found, wanted);
  }
  void expect(const std::string& where, double found, double wanted, double tolerance) {
    ++compared_;
    if (!(std::abs(found - wanted) <= tolerance)) differ(where, number_text(found), number_text(wanted));
  }
  void expect_true(const std::string& where, bool found, bool wanted) {
    expect(where, found ? "true" : "false", wanted ? "true" : "false");
  }
  // Reads and compares; what Excel refuses differs.
  template <class Step>
  void step(const std::string& where, Step&& read) {
    try {
      read();
    } catch (const host::Error& error) {
      ++compared_;
      differ(where, "error " + code_text(error.code()) + " " + error.description(), "an answer");
    }
  }
  std::string verdict(const std::string& what) const {
    if (differing_ != 0)
      throw Wrong{std::to_string(differing_) + " of " + std::to_string(compared_) + " " + what + " differ\n" +
                  lines_};
    if (compared_ == 0) throw Wrong{"there were no " + what + " to compare"};
    return std::to_string(compared_) + " " + what;
  }

 private:
  void differ(const std::string& where, const std::string& found, const std::string& wanted) {
    constexpr std::size_t kShown = 12;
    if (++differing_ <= kShown) lines_ += where + ": " + found + ", expected " + wanted + "\n";
    if (differing_ == kShown + 1) lines_ += "...\n";
  }

  std::size_t compared_ = 0, differing_ = 0;
  std::string lines_;
};

std::string text_of(const host::CellValue& value) {
  switch (value.kind) {
    case host::CellKind::kBlank:
      return "blank";
    case host::CellKind::kText:
      return value.text.empty() ? "blank" : '"' + value.text + '"';
    case host::CellKind::kError:
      return std::string(host::cell_error_text(value.error()));
    case host::CellKind::kBoolean:
      return value.number != 0 ? "TRUE" : "FALSE";
    default:
      return number_text(value.number);
  }
}

// A cell of the expected workbook; blank where there is none.
host::CellValue value_at(const BookModel& book, const SheetModel& sheet, std::int32_t row,
                         std::int32_t column) {
  for (const office::RowBand& band : sheet.bands)
    if (row >= band.first_row && row < band.first_row + band.rows && column >= band.first_column &&
        column < band.first_column + band.columns)
      return value_of(book.texts, band.cells[band.index(row, column)]);
  return {};
}

bool same(const host::CellValue& a, const host::CellValue& b) {
  if (a.kind == host::CellKind::kNumber && b.kind == host::CellKind::kNumber)
    return std::abs(a.number - b.number) <= 1e-9 * std::max(std::abs(a.number), std::abs(b.number));
  return text_of(a) == text_of(b);
}

LateBound sheet_of(const LateBound& workbook, const SheetModel& sheet) {
  return workbook.object(L"Worksheets", L"Sheets").object(L"Item", L"Worksheet", {sheet.name});
}

template <class Visit>
std::string each_sheet(const LateBound& workbook, const BookModel& expected, const std::string& what,
                       Visit&& visit) {
  Findings findings;
  for (const auto& sheet : expected.sheets)
    findings.step(sheet->name, [&] { visit(sheet_of(workbook, *sheet), *sheet, findings); });
  return findings.verdict(what);
}

template <class Visit>
std::string each_chart(const LateBound& workbook, const BookModel& expected, const std::string& what,
                       Visit&& visit) {
  return each_sheet(workbook, expected, what,
                    [&](const LateBound& sheet, const SheetModel& model, Findings& findings) {
                      if (model.charts.empty()) return;
                      const LateBound frames = sheet.object(L"ChartObjects", L"ChartObjects");
                      for (std::size_t at = 0; at < model.charts.size(); ++at) {
                        const std::string where = model.name + ", chart " + std::to_string(at + 1);
                        findings.step(where, [&] {
                          visit(frames.object(L"Item", L"ChartObject", {static_cast<std::int32_t>(at + 1)}),
                                *model.charts[at], where, findings);
                        });
                      }
                    });
}

std::string compare_sheets(const LateBound& workbook, const BookModel& expected) {
  Findings findings;
  const LateBound sheets = workbook.object(L"Worksheets", L"Sheets");
  const std::int32_t count = sheets.get(L"Count").whole();
  for (std::int32_t at = 1; at <= std::max(count, static_cast<std::int32_t>(expected.sheets.size())); ++at) {
    const std::string name =
        at <= count ? sheets.object(L"Item", L"Worksheet", {at}).get(L"Name").text() : "(none)";
    const auto position = static_cast<std::size_t>(at - 1);
    findings.expect("sheet " + std::to_string(at), name,
                    position < expected.sheets.size() ? expected.sheets[position]->name : "(none)");
  }
  return findings.verdict("sheets");
}

void compare_band(const LateBound& sheet, const BookModel& book, const SheetModel& model,
                  const office::RowBand& band, Findings& findings) {
  const std::string area = office::area_name({band.first_row, band.first_column, band.rows, band.columns});
  const host::CellBlock block = automation::cell_block(
      sheet.object(L"Range", L"Range", {area}).get(L"Value2"), band.rows, band.columns);
  for (std::int32_t row = 0; row < band.rows; ++row)
    for (std::int32_t column = 0; column < band.columns; ++column) {
      const std::int32_t r = band.first_row + row, c = band.first_column + column;
      const host::CellValue found = block.value(row + 1, column + 1);
      const host::CellValue wanted = value_of(book.texts, band.cells[band.index(r, c)]);
      const std::string wanted_text = text_of(wanted);
      findings.expect(model.name + "!" + office::cell_name(r, c),
                      same(found, wanted) ? wanted_text : text_of(found), wanted_text);
    }
}

// Cells of one format below one another are asked for at once.
void compare_formats(const LateBound& sheet, const BookModel& book, const SheetModel& model,
                     const office::RowBand& band, Findings& findings) {
  const auto format = [&](std::int32_t row, std::int32_t column) -> const std::string& {
    return book.styles.at(band.style(band.index(row, column))).number_format;
  };
  const std::int32_t end = band.first_row + band.rows;
  for (std::int32_t column = band.first_column; column < band.first_column + band.columns; ++column)
    for (std::int32_t row = band.first_row, next = row; row < end; row = next) {
      while (next < end && format(next, column) == format(row, column)) ++next;
      if (format(row, column) == "General") continue;
      const std::string area = office::area_name({row, column, next - row, 1});
      findings.step(model.name + "!" + area, [&] {
        findings.expect(model.name + "!" + area,
                        shown(sheet.object(L"Range", L"Range", {area}), L"NumberFormat"),
                        format(row, column));
      });
    }
}

std::string compare_number_formats(const LateBound& workbook, const BookModel& expected) {
  return each_sheet(workbook, expected, "number formats",
                    [&](const LateBound& sheet, const SheetModel& model, Findings& findings) {
                      for (const auto& band : model.bands)
                        compare_formats(sheet, expected, model, band, findings);
                    });
}

// Fonts differ between machines, and with them what fits.
std::string compare_widths(const LateBound& workbook, const BookModel& expected) {
  return each_sheet(workbook, expected, "column widths",
                    [](const LateBound& sheet, const SheetModel& model, Findings& findings) {
                      for (const auto& [column, properties] : model.columns) {
                        if (!properties.width || properties.hidden) continue;
                        const LateBound cell =
                            sheet.object(L"Range", L"Range", {office::cell_name(1, column)});
                        findings.expect(model.name + ", column " + office::column_name(column),
                                        cell.get(L"ColumnWidth").number(), *properties.width,
                                        1.5 + 0.2 * *properties.width);
                      }
                    });
}

void compare_breaks(const LateBound& breaks, bool rows, const std::vector<std::int32_t>& expected,
                    const std::string& where, Findings& findings) {
  std::string found, wanted;
  const std::int32_t count = breaks.get(L"Count").whole();
  for (std::int32_t at = 1; at <= count; ++at) {
    const LateBound one = breaks.object(L"Item", L"PageBreak", {at});
    if (one.get(L"Type").whole() != kXlManualBreak) continue;
    found +=
        std::to_string(one.object(L"Location", L"Location").get(rows ? L"Row" : L"Column").whole()) + " ";
  }
  for (const std::int32_t position : expected) wanted += std::to_string(position) + " ";
  findings.expect(where, found, wanted);
}

std::int32_t pages_of(const Variant& value) {
  return value.value().vt == VT_BOOL ? 0 : value.whole();
}

std::string compare_pages(const LateBound& excel, const LateBound& workbook, const BookModel& expected) {
  return each_sheet(
      workbook, expected, "page settings",
      [&](const LateBound& sheet, const SheetModel& model, Findings& findings) {
        const LateBound page = sheet.object(L"PageSetup", L"PageSetup");
        findings.expect_true(model.name + ", landscape", page.get(L"Orientation").whole() == kXlLandscape,
                             model.page.landscape);
        findings.expect(model.name + ", pages wide", pages_of(page.get(L"FitToPagesWide")),
                        model.page.fit_to_pages_wide, 0);
        findings.expect(model.name + ", pages tall", pages_of(page.get(L"FitToPagesTall")),
                        model.page.fit_to_pages_tall, 0);
        // Breaks outside of what a window shows are told of in this view only.
        sheet.call(L"Activate");
        const auto view = [&](std::int32_t wanted) {
          host::ignoring_errors([&] { excel.object(L"ActiveWindow", L"Window").put(L"View", wanted); });
        };
        view(kXlPageBreakPreview);
        findings.step(model.name + ", breaks", [&] {
          compare_breaks(sheet.object(L"HPageBreaks", L"HPageBreaks"), true, model.page.row_breaks,
                         model.name + ", breaks before rows", findings);
          compare_breaks(sheet.object(L"VPageBreaks", L"VPageBreaks"), false, model.page.column_breaks,
                         model.name + ", breaks before columns", findings);
        });
        view(kXlNormalView);
      });
}

std::string title_of(const ChartModel& chart) {
  std::string text;
  for (const office::TextRun& run : chart.title) text += run.text;
  return text;
}

// Line ends are Excel's own.
std::string plain_line_ends(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

void compare_chart(const LateBound& frame, const ChartModel& model, const std::string& where,
                   Findings& findings) {
  findings.expect(where + ", width", frame.get(L"Width").number(), model.width, kPoints);
  findings.expect(where + ", height", frame.get(L"Height").number(), model.height, kPoints);
  const LateBound chart = frame.object(L"Chart", L"Chart");
  findings.expect_true(where + ", legend", chart.get(L"HasLegend").truth(), model.has_legend);
  findings.expect_true(where + ", title", chart.get(L"HasTitle").truth(), !model.title.empty());
  if (!model.title.empty())
    findings.expect(where + ", title",
                    plain_line_ends(chart.object(L"ChartTitle", L"ChartTitle").get(L"Text").text()),
                    plain_line_ends(title_of(model)));
  findings.expect(where + ", series",
                  chart.object(L"SeriesCollection", L"SeriesCollection").get(L"Count").number(),
                  static_cast<double>(model.series.size()), 0);
}

std::vector<host::CellValue> expected_data(const BookModel& book, const office::SeriesData& data) {
  if (data.sheet.empty()) return data.constants;
  std::vector<host::CellValue> values;
  for (const auto& sheet : book.sheets) {
    if (sheet->name != data.sheet) continue;
    for (std::int32_t row = 0; row < data.area.rows; ++row)
      for (std::int32_t column = 0; column < data.area.columns; ++column)
        values.push_back(value_at(book, *sheet, data.area.row + row, data.area.column + column));
  }
  return values;
}

std::vector<host::CellValue> list_of(const Variant& array) {
  std::vector<host::CellValue> values;
  if (!array.is_array()) return {automation::cell_value(array.value())};
  LONG first = 0, last = -1;
  SafeArrayGetLBound(array.value().parray, 1, &first);
  SafeArrayGetUBound(array.value().parray, 1, &last);
  for (LONG at = first; at <= last; ++at) {
    Variant element;
    SafeArrayGetElement(array.value().parray, &at, element.receive());
    values.push_back(automation::cell_value(element.value()));
  }
  return values;
}

void compare_data(const std::vector<host::CellValue>& found, const std::vector<host::CellValue>& wanted,
                  const std::string& where, Findings& findings) {
  findings.expect(where + ", points", static_cast<double>(found.size()), static_cast<double>(wanted.size()),
                  0);
  for (std::size_t at = 0; at < std::min(found.size(), wanted.size()); ++at) {
    // Texts and blanks among numbers count as 0 or nothing in a chart.
    if (wanted[at].kind != host::CellKind::kNumber) continue;
    const std::string text = text_of(wanted[at]);
    findings.expect(where + " at " + std::to_string(at + 1),
                    same(found[at], wanted[at]) ? text : text_of(found[at]), text);
  }
}

LateBound series_of(const LateBound& frame, std::size_t at) {
  return frame.object(L"Chart", L"Chart")
      .object(L"SeriesCollection", L"Series", {static_cast<std::int32_t>(at + 1)});
}

std::string compare_series(const LateBound& workbook, const BookModel& expected) {
  return each_chart(
      workbook, expected, "series values",
      [&](const LateBound& frame, const ChartModel& model, const std::string& where, Findings& findings) {
        for (std::size_t at = 0; at < model.series.size(); ++at) {
          const LateBound series = series_of(frame, at);
          const office::SeriesModel& wanted = *model.series[at];
          const std::string here = where + ", series " + std::to_string(at + 1);
          findings.expect(here + ", name", series.get(L"Name").text(), wanted.name);
          findings.expect(here + ", kind", series.get(L"ChartType").number(),
                          static_cast<double>(wanted.kind), 0);
          compare_data(list_of(series.get(L"Values")), expected_data(expected, wanted.values), here,
                       findings);
          compare_data(list_of(series.get(L"XValues")), expected_data(expected, wanted.x_values),
                       here + ", x", findings);
        }
      });
}

void compare_axis(const LateBound& axis, const AxisModel& model, const std::string& where,
                  Findings& findings) {
  const auto bound = [&](const wchar_t* property, const std::optional<double>& wanted, const char* what) {
    if (!wanted) return;
    findings.expect(where + what, axis.get(property).number(), *wanted,
                    1e-9 * std::max(1.0, std::abs(*wanted)));
  };
  bound(L"MinimumScale", model.minimum, ", minimum");
  bound(L"MaximumScale", model.maximum, ", maximum");
  bound(L"MajorUnit", model.major_unit, ", unit");
  findings.expect_true(where + ", reversed", axis.get(L"ReversePlotOrder").truth(), model.reversed);
  findings.expect_true(where + ", title", axis.get(L"HasTitle").truth(), !model.title.empty());
  if (!model.title.empty())
    findings.expect(where + ", title", axis.object(L"AxisTitle", L"AxisTitle").get(L"Text").text(),
                    model.title);
  if (model.number_format)
    findings.expect(where + ", format", axis.object(L"TickLabels", L"TickLabels").get(L"NumberFormat").text(),
                    *model.number_format);
}

std::string compare_axes(const LateBound& workbook, const BookModel& expected) {
  return each_chart(
      workbook, expected, "axis settings",
      [](const LateBound& frame, const ChartModel& model, const std::string& where, Findings& findings) {
        for (std::int32_t group = 1; group <= 2; ++group) {
          const bool used = std::any_of(model.series.begin(), model.series.end(), [&](const auto& series) {
            return static_cast<std::int32_t>(series->group) == group;
          });
          for (std::int32_t type = 1; used && type <= 2; ++type) {
            const AxisModel& wanted = model.axes[group - 1][type - 1];
            const std::string here =
                where + ", axis " + std::to_string(type) + (group == 2 ? " (secondary)" : "");
            if (!wanted.present) continue;
            findings.step(here, [&] {
              compare_axis(frame.object(L"Chart", L"Chart").object(L"Axes", L"Axis", {type, group}), wanted,
                           here, findings);
            });
          }
        }
      });
}

std::string compare_plots(const LateBound& workbook, const BookModel& expected) {
  return each_chart(
      workbook, expected, "edges of plot areas",
      [](const LateBound& frame, const ChartModel& model, const std::string& where, Findings& findings) {
        if (!model.plot.inside) return;
        const LateBound plot = frame.object(L"Chart", L"Chart").object(L"PlotArea", L"PlotArea");
        const auto edge = [&](const wchar_t* property, double wanted, const char* what) {
          findings.expect(where + what, plot.get(property).number(), wanted, kPoints);
        };
        edge(L"InsideLeft", model.plot.inside->left, ", left");
        edge(L"InsideTop", model.plot.inside->top, ", top");
        edge(L"InsideWidth", model.plot.inside->width, ", width");
        edge(L"InsideHeight", model.plot.inside->height, ", height");
      });
}

std::string compare_labels(const LateBound& workbook, const BookModel& expected) {
  return each_chart(
      workbook, expected, "labels",
      [](const LateBound& frame, const ChartModel& model, const std::string& where, Findings& findings) {
        for (std::size_t at = 0; at < model.series.size(); ++at)
          for (const auto& [position, point] : model.series[at]->points) {
            if (!point.label || !point.label->text) continue;
            const std::string here = where + ", label " + std::to_string(position);
            findings.step(here, [&] {
              findings.expect(here,
                              series_of(frame, at)
                                  .object(L"Points", L"Point", {position})
                                  .object(L"DataLabel", L"DataLabel")
                                  .get(L"Text")
                                  .text(),
                              *point.label->text);
            });
          }
      });
}

}  // namespace

std::string compare_values(const LateBound& workbook, const BookModel& expected) {
  return each_sheet(workbook, expected, "cells",
                    [&](const LateBound& sheet, const SheetModel& model, Findings& findings) {
                      for (const auto& band : model.bands)
                        compare_band(sheet, expected, model, band, findings);
                    });
}

void check_workbook(Results& results, const LateBound& workbook, const BookModel& expected) {
  const LateBound excel = workbook.object(L"Application", L"Application");
  results.check("sheets", [&] { return compare_sheets(workbook, expected); });
  results.check("texts and numbers", [&] { return compare_values(workbook, expected); });
  results.check("number formats", [&] { return compare_number_formats(workbook, expected); });
  results.check("column widths", [&] { return compare_widths(workbook, expected); });
  results.check("charts", [&] { return each_chart(workbook, expected, "chart settings", compare_chart); });
  results.check("series", [&] { return compare_series(workbook, expected); });
  results.check("axes", [&] { return compare_axes(workbook, expected); });
  results.check("plot areas", [&] { return compare_plots(workbook, expected); });
  results.check("labels of bars", [&] { return compare_labels(workbook, expected); });
  results.check("pages", [&] { return compare_pages(excel, workbook, expected); });
}

}  // namespace ordvane::acceptance
