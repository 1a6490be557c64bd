// Excel through IDispatch, asked of the stand-in: the conformance suite of the interface, and what only
// automation has.
#include "automation/excel_dispatch.h"

#include <gtest/gtest.h>

#include "automation/late_bound.h"
#include "host/implementation.h"
#include "office/office.h"
#include "windows/excel_stand_in.h"

std::shared_ptr<ordvane::host::Application> ordvane::host::make_implementation() {
  const auto stand_in = std::make_shared<test::StandIn>(office::make_application());
  return automation::wrap_excel(test::make_excel_stand_in(stand_in).get());
}

namespace ordvane::test {
namespace {

class ExcelDispatch : public testing::Test {
 protected:
  std::shared_ptr<office::OfficeApplication> office = office::make_application();
  std::shared_ptr<StandIn> stand_in = std::make_shared<StandIn>(office);
  std::shared_ptr<host::Application> excel = automation::wrap_excel(make_excel_stand_in(stand_in).get());
  std::shared_ptr<host::Workbook> book = excel->add_workbook();
  std::shared_ptr<host::Worksheet> sheet = excel->active_sheet();

  template <class Step>
  long calls_of(Step&& step) {
    const long before = stand_in->all_calls();
    step();
    return stand_in->all_calls() - before;
  }
};

TEST_F(ExcelDispatch, TextsStayWhatTheyAre) {
  const std::string long_text(1500, 'x');
  const std::string all[] = {"123",     "-1.5",
                             "1e5",     "=1+1",
                             "+5",      "@name",
                             "'quoted", "#N/A",
                             "TRUE",    "false",
                             "wahr",    "5/1",
                             "Mar 5",   "SEPT2",
                             " - ",     "12:30",
                             "50%",     "$5",
                             "1 1/2",   "(3)",
                             "Profit",  "Net present value",
                             "Größe",   "B4",
                             "a",       "😀 7",
                             long_text, "7" + long_text};
  const auto rows = static_cast<std::int32_t>(std::size(all));
  for (const char* formats : {"general", "text", "mixed"}) {
    host::CellBlock block(rows, 2);
    for (std::int32_t row = 1; row <= rows; ++row) block.set(row, 2, all[static_cast<std::size_t>(row - 1)]);
    const auto cells = book->add_worksheet()->range(1, 1, rows, 2);
    if (*formats == 't') cells->set_number_format("@");
    if (*formats == 'm')
      for (std::int32_t row = 1; row <= rows; row += 2) cells->cell(row, 2)->set_number_format("@");
    for (const bool one_by_one : {false, true}) {
      if (!one_by_one) cells->put(block);
      for (std::int32_t row = 1; row <= rows; ++row) {
        const host::CellValue& expected = all[static_cast<std::size_t>(row - 1)];
        if (one_by_one) cells->cell(row, 2)->set_value(expected);
        EXPECT_EQ(cells->cell(row, 2)->value(), expected) << formats << ": " << expected.text;
      }
    }
    cells->set_value("77");
    EXPECT_EQ(cells->cell(rows, 1)->value(), host::CellValue("77")) << formats;
  }
}

TEST_F(ExcelDispatch, TextsCrossWhole) {
  const std::string name("a\0ä😀b", 9);
  sheet->range("B2")->set_value(name);
  EXPECT_EQ(sheet->range("B2")->value().text, name);
}

TEST_F(ExcelDispatch, ErrorsCarryCodeDescriptionAndSource) {
  const struct {
    const char* what;
    std::function<void()> step;
    std::int32_t code;
    const char* source;
  } cases[] = {
      {"refused by Excel", [&] { sheet->range("A1")->set_column_width(300); }, host::errc::kHostRefused,
       "Microsoft Excel"},
      {"no such member of a collection", [&] { book->worksheet("nowhere"); },
       host::errc::kSubscriptOutOfRange, "Ordvane"},
      {"an automation code",
       [&] { stand_in->application = nullptr, excel = automation::wrap_excel(nullptr); },
       host::errc::kObjectNotSet, "Ordvane"},
  };
  for (const auto& c : cases) {
    try {
      c.step();
      ADD_FAILURE() << c.what;
    } catch (const host::Error& error) {
      EXPECT_EQ(error.code(), c.code) << c.what;
      EXPECT_EQ(error.source(), c.source) << c.what;
      EXPECT_NE(error.description(), "") << c.what;
    }
  }
}

TEST_F(ExcelDispatch, WritesAndReadsABlockWithOneCall) {
  const auto calls = [&](std::int32_t rows) {
    host::CellBlock block(rows, 8);
    for (std::int32_t row = 1; row <= rows; ++row) {
      block.set(row, 1, "Input " + std::to_string(row));
      for (std::int32_t column = 2; column <= 8; ++column) block.set(row, column, row * 0.5);
    }
    const auto cells = sheet->range(1, 1, rows, 8);
    return calls_of([&] {
      cells->put(block);
      EXPECT_EQ(cells->values().value(rows, 8), host::CellValue(rows * 0.5));
    });
  };
  calls(1);
  EXPECT_EQ(calls(10), calls(3000));
  EXPECT_LE(calls(10), 3) << "one to write, one to read, one to ask for the cells' format";
}

TEST_F(ExcelDispatch, LooksNamesUpOnce) {
  const auto again = [&] {
    const auto range = sheet->range(2, 2, 3, 3);
    range->set_font({.name = "Arial", .size = 9, .bold = true});
    range->set_border(host::Edge::kBottom, {.line_style = 1, .weight = 2, .color_index = 15});
    sheet->add_chart(0, 0, 100, 100)->chart()->new_series()->set_name("=x");
  };
  again();
  const long lookups = stand_in->name_lookups;
  again();
  EXPECT_EQ(stand_in->name_lookups, lookups);
}

TEST_F(ExcelDispatch, ReleasesEveryObject) {
  EXPECT_GT(stand_in->live_objects, 0);
  book.reset();
  sheet.reset();
  excel.reset();
  EXPECT_EQ(stand_in->live_objects, 0);
}

}  // namespace
}  // namespace ordvane::test
