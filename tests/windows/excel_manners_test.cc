// Excel's manners that no other spreadsheet has, each switched on in the stand-in: the reports come out as
// they do without automation, and the user's model is what it was.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "windows/dispatch_bench.h"
#include "windows/texts.h"

namespace ordvane::test {
namespace {

using service::RunShape;

std::string everything_of(DispatchBench& bench, const std::string& name) {
  const auto book = bench.application->model(*bench.application->workbook(name));
  return snapshot(*book) + Looks::of(*book);
}

// ---- Languages ----

RunShape formatted_shape() {
  RunShape shape;
  shape.groups = true;
  shape.input_sheets = {"Inputs", "It's", "123"};
  shape.formats = {"#,##0.00", "General", "0.0%", "dd/mm/yyyy hh:mm", "#,##0.00;[Red]-#,##0.00"};
  shape.output_bases = {1234567.891, 45000.25, 0, -1e-9};
  shape.effects = {{1000.5, -50000.25, 3}, {2, 2, 0}, {2, 2, 0}, {1e-10, 0, 1e-9}};
  return shape;
}

// Axes have none where another language names them.
std::string without_colors(std::string text) {
  constexpr std::string_view kColor = "[Red]";
  for (std::size_t at = text.find(kColor); at != std::string::npos; at = text.find(kColor, at))
    text.erase(at, kColor.size());
  return text;
}

TEST(ExcelManners, EveryLanguageShowsTheSameNumbers) {
  std::vector<std::pair<const char*, Choose>> reports(kReports.begin(), kReports.end());
  reports.emplace_back("everything", service::ask_for_everything);
  for (const StandInLanguage* language : {&kEnglishExcel, &kGermanExcel, &kFrenchExcel, &kJapaneseExcel}) {
    for (const auto& [report, choose] : reports) {
      SCOPED_TRACE(std::string(language->name) + " " + report);
      DispatchBench direct(formatted_shape()), late(formatted_shape());
      for (const DispatchBench* bench : {&direct, &late})
        bench->application->set_number_symbols({language->decimal, language->group});
      late.stand_in->behaviours.language = language;
      std::string error;
      const std::string name = direct.make(false, choose);
      ASSERT_EQ(late.make(true, choose, &error), name);
      EXPECT_EQ(error, "");
      EXPECT_EQ(first_difference(without_colors(everything_of(late, name)),
                                 without_colors(everything_of(direct, name))),
                "");
      EXPECT_EQ(late.stand_in->live_objects, 0);
    }
  }
}

// ---- The user's model ----

constexpr std::int32_t kRows = 14, kColumns = 4;

// Inputs whose cells are each something else. All but the last are on one sheet.
RunShape model_shape() {
  RunShape shape;
  shape.groups = true;
  shape.with_functions = true;
  shape.input_sheets.assign(9, "Inputs");
  shape.input_sheets.back() = "Locked";
  shape.input_books.assign(9, "Model.xlsx");
  shape.formats = {"General", "0.00", "@"};
  shape.effects.assign(2, {1, 5, -3, 2, 2, 0, 4, 1, 7});
  return shape;
}

std::shared_ptr<host::Range> model_cell(DispatchBench& bench, const char* sheet, const std::string& cell) {
  return bench.application->workbook("Model.xlsx")->worksheet(sheet)->range(cell);
}

void arrange(DispatchBench& bench) {
  Behaviours& behaviours = bench.stand_in->behaviours;
  behaviours.formats_formulas = true;
  behaviours.protected_sheets = {"Locked"};
  const auto place = [&](const char* cell) { return model_cell(bench, "Inputs", cell)->address(true, true); };
  behaviours.ties = {{place("B5"), CellTie::kOneCellArray},
                     {place("B6"), CellTie::kPartOfArray},
                     {place("B7"), CellTie::kSpills},
                     {place("B8"), CellTie::kArrayFormula}};
  behaviours.tables = {place("B9")};
}

std::string model_of(DispatchBench& bench) {
  std::string text;
  for (const char* sheet : {"Inputs", "Locked", "Results"}) {
    for (std::int32_t row = 1; row <= kRows; ++row) {
      for (std::int32_t column = 1; column <= kColumns; ++column) {
        const auto cell = model_cell(bench, sheet, "A1")->cell(row, column);
        text += cell->address(true, true) + " " + cell->formula() + " | " + value_text(cell->value()) +
                " | " + cell->number_format() + "\n";
      }
    }
  }
  for (const auto& [cell, tie] : bench.stand_in->behaviours.ties)
    text += cell + " tie " + std::to_string(static_cast<int>(tie)) + "\n";
  return text;
}

TEST(ExcelManners, TheModelIsWhatItWas) {
  constexpr long kMostRecalculations = 4;  // before and after each reading of it
  for (const bool dynamic_arrays : {true, false}) {
    for (const auto& [report, choose] : kReports) {
      SCOPED_TRACE(std::string(report) + (dynamic_arrays ? "" : " without dynamic arrays"));
      DispatchBench direct(model_shape()), late(model_shape());
      arrange(late);
      Behaviours& behaviours = late.stand_in->behaviours;
      if (!dynamic_arrays) {
        behaviours.unknown = {"Range.Formula2", "Range.HasSpill"};
        std::erase_if(behaviours.ties, [](const auto& tie) { return tie.second == CellTie::kArrayFormula; });
      }
      const std::string before = model_of(late);
      std::string error;
      const std::string name = direct.make(false, choose);
      ASSERT_EQ(late.make(true, choose, &error), name);
      EXPECT_EQ(error, "");
      EXPECT_EQ(first_difference(model_of(late), before), "");
      EXPECT_EQ(behaviours.changes_heard, 0);
      EXPECT_TRUE(behaviours.events);
      EXPECT_LE(behaviours.recalculations, kMostRecalculations);
      EXPECT_EQ(first_difference(everything_of(late, name), everything_of(direct, name)), "");
    }
  }
}

// A formula that is all of its cell is read, and nothing is written for it.
TEST(ExcelManners, NothingIsWrittenWhereAFunctionIsAllOfItsFormula) {
  DispatchBench bench;
  std::string error;
  bench.make(true, service::ask_for_everything, &error);
  EXPECT_EQ(error, "");
  EXPECT_EQ(bench.stand_in->behaviours.model_writes, 0);
}

// What a cell comes to with another formula.
TEST(ExcelManners, FormulasAreTriedWhereThatLeavesNoTrace) {
  const struct {
    const char* what;
    void (*arrange)(Behaviours&, const std::string& cell);
    const char* formula;
    double expected;
  } cases[] = {
      {"tried", [](Behaviours&, const std::string&) {}, "6*7", 42},
      {"evaluated in an array",
       [](Behaviours& b, const std::string& cell) { b.ties[cell] = CellTie::kPartOfArray; }, "6*7", 42},
      {"evaluated where writing is refused",
       [](Behaviours& b, const std::string&) { b.refused = {"Range.Formula2"}; }, "6*7", 42},
      {"read where it cannot be evaluated",
       [](Behaviours& b, const std::string&) { b.protected_sheets = {"Sheet1"}; }, "UNKNOWN(1)", 142},
  };
  for (const auto& c : cases) {
    const auto stand_in = std::make_shared<StandIn>(office::make_application());
    const auto excel = automation::wrap_excel(make_excel_stand_in(stand_in).get());
    const auto cell = excel->add_workbook()->worksheets().front()->range("B2");
    cell->set_formula("=100+6*7");
    c.arrange(stand_in->behaviours, stand_in->application->active_sheet()->range("B2")->address(true, true));
    EXPECT_EQ(cell->value_with(c.formula), host::CellValue(c.expected)) << c.what;
    EXPECT_EQ(cell->formula(), "=100+6*7") << c.what;
  }
}

// ---- What Excel refuses ----

struct Limit {
  const char* what;
  void (*switch_on)(Behaviours&);
  void (*shape)(RunShape&) = [](RunShape&) {};
  // How much of the workbook is what it is without the limit.
  enum class Same { kAll, kSheets, kWidthsNearly } same = Same::kAll;
};

// Sheets with the number of their charts.
std::string sheets_of(DispatchBench& bench, const std::string& name) {
  std::string text;
  for (const auto& sheet : bench.application->model(*bench.application->workbook(name))->sheets)
    text += sheet->name + " " + std::to_string(sheet->charts.size()) + "\n";
  return text;
}

void expect_nearly_same_widths(DispatchBench& late, DispatchBench& direct, const std::string& name) {
  constexpr double kNearly = 0.4;  // characters
  const auto late_book = late.application->model(*late.application->workbook(name));
  const auto book = direct.application->model(*direct.application->workbook(name));
  for (std::size_t at = 0; at < book->sheets.size(); ++at)
    for (const auto& [column, props] : book->sheets[at]->columns)
      EXPECT_NEAR(late_book->sheets[at]->columns.at(column).width.value_or(0), props.width.value_or(0),
                  kNearly)
          << book->sheets[at]->name << " " << column;
}

const Limit kLimits[] = {
    {"captions of 255 characters", [](Behaviours& b) { b.longest_caption = 255; },
     [](RunShape& s) { s.more_name = std::string(300, 'x'); }, Limit::Same::kSheets},
    {"texts of arrays and formulas", [](Behaviours&) {},
     [](RunShape& s) { s.more_name = std::string(8300, 'x'); }, Limit::Same::kSheets},
    {"a plot area that stays within its chart", [](Behaviours& b) { b.clamps_plot = true; }},
    {"Excel 2007, whose plot area has an inside to be read only",
     [](Behaviours& b) {
       b.version = "12.0";
       b.clamps_plot = true;
       b.refused = {"PlotArea.InsideLeft", "PlotArea.InsideTop", "PlotArea.InsideWidth",
                    "PlotArea.InsideHeight", "DataLabel.Text"};
     }},
    {"Page Layout view", [](Behaviours& b) { b.page_layout_view = true; }, [](RunShape& s) { s.steps = 60; }},
    {"panes that do not freeze at all",
     [](Behaviours& b) {
       b.refused = {"Window.FreezePanes", "Window.View"};
     },
     [](RunShape& s) { s.steps = 60; }, Limit::Same::kSheets},
    {"a chart sheet that is active", [](Behaviours& b) { b.chart_sheet_active = true; }},
    {"no printer", [](Behaviours& b) { b.refused = {"Worksheet.PageSetup"}; }, [](RunShape&) {},
     Limit::Same::kSheets},
    {"no printer to talk to", [](Behaviours& b) { b.refused = {"Application.PrintCommunication"}; }},
    {"no PrintCommunication, as in Excel 2007",
     [](Behaviours& b) { b.unknown = {"Application.PrintCommunication"}; }},
    {"add-ins that are not loaded", [](Behaviours& b) { b.refused = {"Application.Run"}; },
     [](RunShape& s) { s.nameless = true; }},
    {"properties that cannot be written",
     [](Behaviours& b) { b.refused = {"Workbook.BuiltinDocumentProperties"}; }, [](RunShape&) {},
     Limit::Same::kSheets},
    {"a Normal font of 10 pixels", [](Behaviours& b) { b.digit_pixels = 10; }, [](RunShape&) {},
     Limit::Same::kWidthsNearly},
};

TEST(ExcelManners, ReportsSurviveEveryLimit) {
  for (const Limit& limit : kLimits) {
    for (const auto& [report, choose] : kReports) {
      SCOPED_TRACE(std::string(limit.what) + ": " + report);
      RunShape shape;
      shape.groups = true;
      shape.formats = {"#,##0.00", "0.0%"};
      limit.shape(shape);
      DispatchBench direct(shape), late(shape);
      limit.switch_on(late.stand_in->behaviours);
      std::string error;
      const std::string name = direct.make(false, choose);
      ASSERT_EQ(late.make(true, choose, &error), name) << error;
      EXPECT_EQ(error, "");
      EXPECT_EQ(late.environment->messages, direct.environment->messages);
      EXPECT_EQ(sheets_of(late, name), sheets_of(direct, name));
      if (limit.same == Limit::Same::kAll) {
        EXPECT_EQ(first_difference(everything_of(late, name), everything_of(direct, name)), "");
      }
      if (limit.same == Limit::Same::kWidthsNearly) expect_nearly_same_widths(late, direct, name);
    }
  }
}

}  // namespace
}  // namespace ordvane::test
