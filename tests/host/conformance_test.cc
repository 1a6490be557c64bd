// What every implementation of host/excel.h promises, asked through the interface alone.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "host/implementation.h"

namespace ordvane::host {
namespace {

class Conformance : public testing::Test {
 protected:
  std::shared_ptr<Application> app = make_implementation();
  std::shared_ptr<Workbook> book = app->add_workbook();
  std::shared_ptr<Worksheet> sheet = app->active_sheet();

  std::shared_ptr<Range> at(const std::string& address) { return sheet->range(address); }
  CellValue value(const std::string& address) { return at(address)->value(); }
  std::shared_ptr<Chart> make_chart() { return sheet->add_chart(10, 20, 300, 200)->chart(); }
};

// The error number that a step ends with, 0 for none.
template <class Step>
std::int32_t fault(Step&& step) {
  try {
    step();
    return 0;
  } catch (const Error& error) {
    return error.code();
  }
}

TEST_F(Conformance, ANewWorkbookIsActiveAndHasOneEmptySheet) {
  EXPECT_EQ(app->active_workbook()->name(), book->name());
  ASSERT_EQ(book->worksheets().size(), 1U);
  EXPECT_EQ(app->active_sheet()->name(), book->worksheets()[0]->name());
  EXPECT_EQ(app->active_cell()->address(true, false), "$A$1");
  EXPECT_EQ(value("A1"), CellValue());
  EXPECT_FALSE(book->multi_user_editing());
  const auto second = app->add_workbook();
  EXPECT_NE(second->name(), book->name());
  book->activate();
  EXPECT_EQ(app->active_workbook()->name(), book->name());
}

TEST_F(Conformance, ApplicationStateIsKept) {
  app->set_calculation(Calculation::kManual);
  app->set_screen_updating(false);
  app->set_display_alerts(false);
  app->set_interactive(false);
  app->set_cursor(Cursor::kWait);
  EXPECT_EQ(app->status_bar(), "");
  app->set_status_bar("Reading");
  EXPECT_EQ(app->status_bar(), "Reading");
  app->set_status_bar("");
  EXPECT_EQ(app->status_bar(), "") << "the application's own text again";
  EXPECT_EQ(app->calculation(), Calculation::kManual);
  EXPECT_FALSE(app->screen_updating());
  EXPECT_FALSE(app->display_alerts());
  EXPECT_FALSE(app->interactive());
  EXPECT_EQ(app->cursor(), Cursor::kWait);
}

TEST_F(Conformance, WorkbooksAndSheetsAreFoundByNameInAnyCase) {
  sheet->set_name("Überblick");
  EXPECT_EQ(book->worksheet("überBLICK")->name(), "Überblick");
  EXPECT_EQ(fault([&] { book->worksheet("Other"); }), errc::kSubscriptOutOfRange);
  EXPECT_EQ(fault([&] { app->workbook("No such book"); }), errc::kSubscriptOutOfRange);
  EXPECT_EQ(app->workbook(book->name())->worksheets().size(), 1U);
}

TEST_F(Conformance, SheetNamesFollowTheRules) {
  book->add_worksheet()->set_name("Taken");
  for (const char* name : {"Sensitivity 1", "1234567890123456789012345678901", "it's",
                           "ÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄÄ"}) {  // 31 characters, 62 bytes
    sheet->set_name(name);
    EXPECT_EQ(sheet->name(), name);
  }
  sheet->set_name("Same");
  for (const char* name : {"12345678901234567890123456789012", "", "a/b", "a\\b", "a?", "*", "[a", "a]",
                           "a:b", "'a", "a'", "tAkEn", "history"}) {
    EXPECT_THROW(sheet->set_name(name), Error) << name;
    EXPECT_EQ(sheet->name(), "Same");
  }
  EXPECT_NO_THROW(sheet->set_name("SAME")) << "a sheet may keep its own name in another case";
}

TEST_F(Conformance, SheetsAreMovedWithTheirContents) {
  const std::string first = sheet->name();
  at("A1")->set_value("first");
  for (const char* name : {"B", "C", "D"}) {
    book->add_worksheet()->set_name(name);
    book->worksheet(name)->range("A1")->set_value(name);
  }
  const auto names = [&] {
    std::string text;
    for (const auto& each : book->worksheets()) text += (each->name() == first ? "A" : each->name());
    return text;
  };
  book->worksheet("d")->move_before(first);
  EXPECT_EQ(names(), "DABC");
  book->worksheet("D")->move_before("c");
  EXPECT_EQ(names(), "ABDC");
  EXPECT_EQ(fault([&] { sheet->move_before("E"); }), errc::kSubscriptOutOfRange);
  EXPECT_EQ(at("A1")->value().text, "first");
  EXPECT_EQ(book->worksheet("D")->range("A1")->value().text, "D");
}

TEST_F(Conformance, SheetsComeAfterTheLastAndTheLastOneStays) {
  const auto added = book->add_worksheet();
  EXPECT_EQ(book->worksheets().back()->name(), added->name());
  const auto cell = added->range("A1");
  added->remove();
  EXPECT_EQ(book->worksheets().size(), 1U);
  EXPECT_EQ(app->active_sheet()->name(), sheet->name());
  EXPECT_THROW(cell->value(), Error);
  EXPECT_THROW(added->name(), Error);
  EXPECT_THROW(sheet->remove(), Error);
  EXPECT_NO_THROW(sheet->name());
}

TEST_F(Conformance, AddressesAreRead) {
  for (const auto& [address, absolute] : {std::pair("B4", "$B$4"),
                                          {"$b$4", "$B$4"},
                                          {"a1:c6", "$A$1:$C$6"},
                                          {"C6:A1", "$A$1:$C$6"},
                                          {"XFD1048576", "$XFD$1048576"},
                                          {"$A$1:$A$1", "$A$1"}})
    EXPECT_EQ(at(address)->address(true, false), absolute);
  for (const char* wrong : {"XFE1", "A1048577", "A0", "A01", "", "4B", "A1:", "A1:B2:C3", "A-1", "Ä1",
                            "AAAAAAAAAA1", "A99999999999", "$$A1"})
    EXPECT_THROW(at(wrong), Error) << wrong;
}

TEST_F(Conformance, RangesReachAnywhereOnTheSheet) {
  const auto range = at("C3:D5");
  EXPECT_EQ(range->row(), 3);
  EXPECT_EQ(range->column(), 3);
  EXPECT_EQ(range->row_count(), 3);
  EXPECT_EQ(range->column_count(), 2);
  const struct {
    const char* what;
    std::function<std::shared_ptr<Range>()> make;
    const char* address;  // "" where it lies outside the sheet
  } cases[] = {
      {"first cell", [&] { return range->cell(1, 1); }, "C3"},
      {"cell outside the range", [&] { return range->cell(10, 5); }, "G12"},
      {"cell before the range", [&] { return range->cell(0, -1); }, "A2"},
      {"cell before the sheet", [&] { return range->cell(-2, 1); }, ""},
      {"offset", [&] { return range->offset(-2, 4); }, "G1:H3"},
      {"offset before the sheet", [&] { return range->offset(0, -3); }, ""},
      {"offset past the sheet", [&] { return range->offset(1048574, 0); }, ""},
      {"offset past all numbers", [&] { return range->offset(2147483647, 0); }, ""},
      {"larger", [&] { return range->resize(4, 1); }, "C3:C6"},
      {"to the last row", [&] { return range->resize(1048574, 1); }, "C3:C1048576"},
      {"too large", [&] { return range->resize(1048575, 1); }, ""},
      {"empty", [&] { return range->resize(0, 1); }, ""},
      {"past all numbers", [&] { return range->resize(2147483647, 2147483647); }, ""},
      {"by numbers", [&] { return sheet->range(2, 3, 1, 2); }, "C2:D2"},
      {"by wrong numbers", [&] { return sheet->range(0, 1, 1, 1); }, ""},
  };
  for (const auto& c : cases) {
    std::string address;
    const std::int32_t code = fault([&] { address = c.make()->address(false, false); });
    EXPECT_EQ(address, c.address) << c.what;
    EXPECT_EQ(code, *c.address ? 0 : errc::kHostRefused) << c.what;
  }
}

TEST_F(Conformance, ExternalAddressesLeadBack) {
  for (const char* name :
       {"Plain", "With blank", "It's", "A1", "R1C1", "2024", "a'b'c", "Größe", "TRUE", "x-y"}) {
    sheet->set_name(name);
    book->add_worksheet();
    const std::string address = at("B2:C4")->address(true, true);
    const auto found = app->range(address);
    EXPECT_EQ(found->worksheet()->name(), name) << address;
    EXPECT_EQ(found->worksheet()->workbook()->name(), book->name()) << address;
    EXPECT_EQ(found->address(false, false), "B2:C4");
  }
  sheet->set_name("It's");
  EXPECT_EQ(app->range("'[" + book->name() + "]It''s'!D5")->address(false, false), "D5");
  for (const char* wrong :
       {"'[nowhere.xlsx]It''s'!A1", "'[Book1]No sheet'!A1", "'It''s!A1", "nonsense", "!A1"})
    EXPECT_THROW(app->range(wrong), Error) << wrong;
}

TEST_F(Conformance, ValuesAreKeptAsTheyAre) {
  const CellValue last = "Größe 😀", yes = CellValue::boolean(true), no = CellValue::boolean(false);
  for (const CellValue& kept : std::vector<CellValue>{
           {}, 0.1 + 0.2, -1e300, "text", "", "=1+1", "123", CellError::kNA, yes, no, last}) {
    at("B2")->set_value(kept);
    EXPECT_EQ(value("B2"), kept) << kept.text << kept.number;
  }
  EXPECT_THROW(at("B2")->set_value(std::string(32768, 'x')), Error);
  EXPECT_EQ(value("B2"), last) << "a refused value changes nothing";
  EXPECT_NO_THROW(at("B2")->set_value(std::string(32767, 'x')));
}

TEST_F(Conformance, BlocksAreWrittenAndReadWhole) {
  CellBlock block(3, 2);
  block.set(1, 1, 1.5);
  block.set(1, 2, "one");
  block.set(2, 1, "one");
  block.set(3, 2, CellError::kDiv0);
  at("B2:C5")->set_value("old");
  at("B2:C4")->put(block);
  const CellBlock read = at("A1:D6")->values();
  const CellValue expected[6][4] = {
      {{}, {}, {}, {}},       {{}, 1.5, "one", {}}, {{}, "one", {}, {}}, {{}, {}, CellError::kDiv0, {}},
      {{}, "old", "old", {}}, {{}, {}, {}, {}},
  };
  for (std::int32_t row = 1; row <= 6; ++row)
    for (std::int32_t column = 1; column <= 4; ++column)
      EXPECT_EQ(read.value(row, column), expected[row - 1][column - 1]) << row << "," << column;
  EXPECT_THROW(at("B2:C5")->put(block), Error) << "sizes differ";
  EXPECT_EQ(value("B5").text, "old");

  CellBlock below(1, 2);
  below.set(1, 1, "two");
  const CellBlock* const blocks[] = {&block, &below};
  at("B2:C5")->put_blocks(blocks);
  EXPECT_EQ(value("B3").text, "one");
  EXPECT_EQ(value("B5").text, "two");
  EXPECT_EQ(value("C5"), CellValue());
  EXPECT_THROW(at("B2:C4")->put_blocks(blocks), Error);
}

TEST_F(Conformance, EmptyingCellsKeepsTheirFormats) {
  at("A1:B2")->set_value(5.0);
  at("A1:B2")->set_number_format("0.00%");
  at("A1:B2")->put(CellBlock(2, 2));
  EXPECT_EQ(value("B2"), CellValue());
  EXPECT_EQ(at("B2")->number_format(), "0.00%");
  EXPECT_EQ(at("B2")->number_format_local(), "0.00%");
  EXPECT_EQ(at("C2")->number_format(), "General");
  EXPECT_TRUE(at("C2")->locked());
}

TEST_F(Conformance, RowsTakeFormatsOfTheirOwn) {
  // More areas of one format than an address names.
  std::vector<std::string> formats(120);
  for (std::size_t row = 0; row < formats.size(); ++row)
    formats[row] = row % 5 == 3 ? "" : row % 2 == 0 ? "0.00%" : "0.0";
  at("B1:C120")->set_number_format("@");
  at("B1:C120")->set_row_formats(formats);
  for (std::int32_t row = 1; row <= 120; ++row) {
    const std::string& format = formats[static_cast<std::size_t>(row - 1)];
    EXPECT_EQ(at("C" + std::to_string(row))->number_format(), format.empty() ? "General" : format) << row;
  }
  EXPECT_EQ(at("D3")->number_format(), "General");
  EXPECT_THROW(at("B1:C119")->set_row_formats(formats), Error);
}

TEST_F(Conformance, ColourScalesRise) {
  at("B1:C4")->add_color_scale({{0, 0xFFFFFF}, {1, 0x009FE6}});
  at("B1:C4")->add_color_scale({{-1, 0x009FE6}, {0.5, 0xFFFFFF}, {2, 0x993333}});
  using Stops = std::vector<ColorStop>;
  for (const Stops& stops : {Stops{{0, 1}}, Stops{{0, 1}, {0, 2}}, Stops{{0, 1}, {1, 2}, {2, 3}, {3, 4}}})
    EXPECT_THROW(at("B1")->add_color_scale(stops), Error);
  at("A1:C9")->set_auto_filter();
  at("A2:C9")->set_auto_filter();
}

TEST_F(Conformance, EnteredTextsBecomeValuesOrFormulas) {
  struct Case {
    const char* entered;
    CellValue value;
    const char* formula;
  };
  at("A1")->set_value(7.0);
  const Case cases[] = {
      {"400000", 400000.0, "400000"},
      {"-1.5e3", -1500.0, "-1500"},
      {"TRUE", CellValue::boolean(true), "TRUE"},
      {"some text", "some text", "some text"},
      {"#N/A", CellError::kNA, "#N/A"},
      {"", {}, ""},
      {"=A1*2", 14.0, "=A1*2"},
      {"=$A$1+1", 8.0, "=$A$1+1"},
      {"inf", "inf", "inf"},
      {"=1/0", CellError::kDiv0, "=1/0"},
  };
  for (const Case& c : cases) {
    at("B1")->set_formula(c.entered);
    EXPECT_EQ(value("B1"), c.value) << c.entered;
    EXPECT_EQ(at("B1")->formula(), c.formula);
  }
  at("B1")->set_formula("=A1");
  at("B1")->set_value(3.0);
  EXPECT_EQ(at("B1")->formula(), "3") << "a value replaces the formula";
}

TEST_F(Conformance, RelativeReferencesMoveWithTheCell) {
  at("A1:A3")->set_formula("=B1+$B1+B$1+$B$1");
  EXPECT_EQ(at("A3")->formula(), "=B3+$B3+B$1+$B$1");
  at("C2:D2")->set_formula("=SUM(A1:A$9)&\"A1\"&MAX1(A1)");
  EXPECT_EQ(at("D2")->formula(), "=SUM(B1:B$9)&\"A1\"&MAX1(B1)");
  at("F1:F2")->set_formula("=Sheet2!A1+'It''s A1'!A1+A1048576");
  EXPECT_EQ(at("F2")->formula(), "=Sheet2!A2+'It''s A1'!A2+#REF!");
}

TEST_F(Conformance, FormulasFollowTheirCells) {
  at("A1:A3")->set_value(2.0);
  at("B1")->set_formula("=SUM(A1:A3)");
  at("B2")->set_formula("=B1*10");
  EXPECT_EQ(value("B2"), CellValue(60.0));
  at("A2")->set_value(5.0);
  app->calculate();
  EXPECT_EQ(value("B2"), CellValue(90.0));
  EXPECT_EQ(at("B1:B2")->values().value(2, 1), CellValue(90.0));
  EXPECT_EQ(app->max(*at("A1:B2")), 90.0);
}

TEST_F(Conformance, EvaluationNeverThrows) {
  at("A1")->set_value(4.0);
  EXPECT_EQ(app->evaluate("A1^2-1"), CellValue(15.0));
  EXPECT_EQ(app->evaluate("\"Pro\"&\"fit\""), CellValue("Profit"));
  EXPECT_EQ(at("C9")->evaluate("A1^2-1"), CellValue(15.0));
  EXPECT_EQ(value("C9"), CellValue()) << "stays as it is";
  for (const char* wrong : {"", "1+", "NOSUCHFUNCTION(1)", "(((", "\"open", "A1:", "1 2"})
    EXPECT_TRUE(app->evaluate(wrong).is_error()) << wrong;
}

TEST_F(Conformance, ExtremesOfARange) {
  at("A1")->set_value(-3.0);
  at("A2")->set_value("500");
  at("A3")->set_value(8.0);
  at("A4")->set_value(CellValue::boolean(true));
  EXPECT_EQ(app->min(*at("A1:A6")), -3);
  EXPECT_EQ(app->max(*at("A1:A6")), 8);
  EXPECT_EQ(app->min(*at("A3:A6")), 8);
  EXPECT_EQ(app->max(*at("B1:B9")), 0);
  at("A5")->set_value(CellError::kNA);
  EXPECT_THROW(app->min(*at("A1:A6")), Error);
  EXPECT_THROW(app->max(*at("A1:A6")), Error);
}

TEST_F(Conformance, MergedCellsKeepTheFirst) {
  at("B2:D3")->set_value("x");
  at("B2")->set_value("first");
  at("B2:D3")->set_merge(true);
  EXPECT_EQ(value("B2").text, "first");
  for (const char* covered : {"C2", "D2", "B3", "D3"}) EXPECT_EQ(value(covered), CellValue()) << covered;
  at("D4")->set_value("kept");
  EXPECT_THROW(at("D3:E4")->set_merge(true), Error) << "a part of a merged cell";
  EXPECT_EQ(value("D4").text, "kept");
  EXPECT_NO_THROW(at("A1:E5")->set_merge(true)) << "whole merged cells are taken in";
  EXPECT_EQ(value("B2"), CellValue());
  at("C3")->set_merge(false);
  EXPECT_NO_THROW(at("E5:F6")->set_merge(true)) << "the merge is undone";
}

TEST_F(Conformance, PlacesAddUp) {
  EXPECT_DOUBLE_EQ(at("A1")->left(), 0);
  EXPECT_DOUBLE_EQ(at("A1")->top(), 0);
  const double width = at("A1")->width();
  at("B1:C1")->set_column_width(20);
  EXPECT_NEAR(at("C7")->column_width(), 20, 0.1);
  EXPECT_GT(at("B1")->width(), 2 * width);
  EXPECT_DOUBLE_EQ(at("D1")->left(), at("A1:C1")->width());
  at("B1")->set_columns_hidden(true);
  EXPECT_DOUBLE_EQ(at("B1")->width(), 0);
  at("B1")->set_columns_hidden(false);
  EXPECT_NEAR(at("B1")->column_width(), 20, 0.1);
  at("A2:A3")->set_row_height(30);
  EXPECT_DOUBLE_EQ(at("A3")->row_height(), 30);
  EXPECT_DOUBLE_EQ(at("A1:A4")->height(), at("A5")->top());
  EXPECT_DOUBLE_EQ(at("A4")->top(), at("A1")->height() + 60);
  EXPECT_THROW(at("A1")->set_column_width(256), Error);
  EXPECT_THROW(at("A1")->set_column_width(-1), Error);
  EXPECT_THROW(at("A1")->set_row_height(410), Error);
  EXPECT_THROW(at("A1")->set_indent(16), Error);
}

TEST_F(Conformance, ColumnsFitTheCellsOfTheRangeOnly) {
  at("A1")->set_value("A title that is much longer than the column below it");
  at("A2")->set_value("An ordinary header");
  at("B2")->set_value("merged, so it has no say in this");
  at("B2:C2")->set_merge(true);
  const double untouched = at("B1")->column_width();
  at("A2:C3")->auto_fit_columns();
  EXPECT_GT(at("A1")->column_width(), 12);
  EXPECT_LT(at("A1")->column_width(), 25);
  EXPECT_DOUBLE_EQ(at("B1")->column_width(), untouched);
  at("A1:A3")->auto_fit_columns();
  EXPECT_GT(at("A1")->column_width(), 35);
}

TEST_F(Conformance, OnlyTheActiveSheetIsSelectedOn) {
  at("B2:C3")->select();
  EXPECT_EQ(app->active_cell()->address(false, false), "B2");
  at("C3")->activate();
  EXPECT_EQ(app->active_cell()->address(false, false), "C3");
  const auto other = book->add_worksheet();
  other->activate();
  EXPECT_THROW(at("A1")->select(), Error);
  EXPECT_EQ(app->active_sheet()->name(), other->name());
  sheet->activate();
  EXPECT_EQ(app->active_cell()->address(false, false), "C3");
}

TEST_F(Conformance, UnknownMacrosAreRefused) {
  EXPECT_EQ(fault([&] { app->run("NoSuchMacro", *at("A1"), 1); }), errc::kHostRefused);
}

TEST_F(Conformance, AxesExistOnceASeriesIsOnThem) {
  const auto chart = make_chart();
  EXPECT_THROW(chart->axis(AxisType::kValue, AxisGroup::kPrimary), Error);
  const auto series = chart->new_series();
  EXPECT_NO_THROW(chart->axis(AxisType::kCategory, AxisGroup::kPrimary));
  EXPECT_THROW(chart->axis(AxisType::kValue, AxisGroup::kSecondary), Error);
  const auto second = chart->new_series();
  second->set_axis_group(AxisGroup::kSecondary);
  const auto axis = chart->axis(AxisType::kValue, AxisGroup::kSecondary);
  axis->set_maximum_scale(1);
  chart->set_has_axis(AxisType::kValue, AxisGroup::kSecondary, false);
  EXPECT_THROW(axis->set_maximum_scale(2), Error);
  EXPECT_THROW(axis->set_major_gridline_border({}), Error);
}

TEST_F(Conformance, ChartsRefuseWhatTheyDoNotHave) {
  const auto chart = make_chart();
  EXPECT_EQ(chart->series_count(), 0);
  EXPECT_THROW(chart->series(1), Error);
  const double constants[] = {0, 1};
  chart->new_series()->set_values(constants);
  const auto series = chart->series(1);
  series->set_x_values(*at("A1:A2"));
  EXPECT_THROW(series->point(0), Error);
  EXPECT_THROW(series->point(3), Error);
  const auto point = series->point(2);
  EXPECT_THROW(point->data_label(), Error);
  point->apply_data_labels(false);
  EXPECT_NO_THROW(point->data_label()->set_text("Base"));
  EXPECT_THROW(point->set_marker_size(73), Error);
  chart->set_has_legend(true);
  chart->delete_legend();
  EXPECT_THROW(chart->delete_legend(), Error);
  EXPECT_THROW(chart->format_title(1, 2, {}), Error);
}

TEST_F(Conformance, PagesAreSetUpFromRowsAndColumnsOfTheSheet) {
  const std::int32_t beyond_rows = sheet->row_limit() + 1, beyond_columns = sheet->column_limit() + 1;
  const struct {
    const char* what;
    PageSetup setup;
    bool taken;
  } cases[] = {
      {"titles, breaks and a fit",
       {.fit_to_pages_wide = 2,
        .print_title_rows = {3, 5},
        .print_title_columns = {1, 28},
        .row_breaks = {9, 30}},
       true},
      {"a scale and breaks both ways", {.scale = 55, .row_breaks = {9}, .column_breaks = {4, 30}}, true},
      {"an area", {.fit_to_pages_wide = 1, .print_rows = 40, .print_columns = 30, .row_breaks = {2}}, true},
      {"nothing", {}, true},
      {"an area beyond the sheet", {.print_rows = 40, .print_columns = beyond_columns}, false},
      {"title rows below the sheet", {.print_title_rows = {3, beyond_rows}}, false},
      {"title columns beside the sheet", {.print_title_columns = {1, beyond_columns}}, false},
      {"a page before the first row", {.row_breaks = {1}}, false},
      {"a page below the sheet", {.row_breaks = {beyond_rows}}, false},
      {"a page before the first column", {.column_breaks = {1}}, false},
      {"a page beside the sheet", {.column_breaks = {beyond_columns}}, false},
      {"a scale of nothing", {.scale = 9}, false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(fault([&] { sheet->set_page_setup(c.setup); }) == 0, c.taken) << c.what;
}

TEST_F(Conformance, ChartFramesStandWhereTheyArePut) {
  const auto chart = make_chart();
  const auto frame = chart->container();
  EXPECT_DOUBLE_EQ(frame->left(), 10);
  EXPECT_DOUBLE_EQ(frame->top(), 20);
  EXPECT_DOUBLE_EQ(frame->width(), 300);
  frame->set_height(150.5);
  EXPECT_DOUBLE_EQ(chart->container()->height(), 150.5);
  chart->set_plot_area_interior({.color_index = 36, .pattern_color_index = 1, .pattern = 1});
  EXPECT_EQ(chart->plot_area_interior_color(), 0x99FFFF);  // blue 99, green FF, red FF
  const auto series = chart->new_series();
  frame->remove();
  EXPECT_THROW(chart->set_title("gone"), Error);
  EXPECT_THROW(series->set_name("gone"), Error);
  EXPECT_THROW(frame->width(), Error);
}

}  // namespace
}  // namespace ordvane::host
