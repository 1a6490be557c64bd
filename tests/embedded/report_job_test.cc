#include "embedded/report_job.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "environment/string_table.h"
#include "runfile/values.h"
#include "session/text_id.h"
#include "support/external_checks.h"
#include "support/snapshot.h"

namespace ordvane::embedded {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr double kNone = host::kMissingNumber;
const double kNaN = std::nan("");

// Two inputs of three steps; profit follows both, tax only the second, and one output is never a number. The
// third input was not kept by the engine.
runfile::Run small_run() {
  runfile::Run run;
  run.file = "small.run.json";
  const auto place = [](runfile::Item& item, const char* name, const char* cell, double base) {
    item.name = name;
    item.book = "small.xlsx";
    item.sheet = "Plan";
    item.cell = item.range = cell;
    item.base = base;
    item.formula = test::number_text(base);
  };
  run.inputs.resize(3);
  place(run.inputs[0], "Price", "B1", 10);
  place(run.inputs[1], "Not kept", "B2", 1);
  place(run.inputs[2], "", "B3", 4);
  run.inputs[1].saved_samples = false;
  run.inputs[2].labels = {{"A3", "Volume"}};
  for (runfile::Input& input : run.inputs) input.steps = 3;
  run.outputs.resize(3);
  place(run.outputs[0], "Profit", "B5", 40);
  place(run.outputs[1], "Tax", "B6", -8);
  place(run.outputs[2], "Broken", "B7", 0);
  run.outputs[0].formula = "=B1*B3";
  run.outputs[0].number_format = "0.00";
  run.outputs[2].base.reset();
  run.outputs[2].formula = "=1/0";
  run.recalculations = 9;
  run.input_values = {8, 10, 12, 1, 2, 3, 2, 4, 8};
  const double error = runfile::encode_error(host::CellError::kDiv0);
  run.output_values = {32,    40,    48,    7,     7,     7,     20,   40,   80,   // Profit
                       -8,    -8,    -8,    -8,    -8,    -8,    -4,   kNaN, -16,  // Tax
                       error, error, error, error, error, error, kNaN, kNaN, kNaN};
  return run;
}

std::shared_ptr<const runfile::Run> shared(runfile::Run run) {
  return std::make_shared<const runfile::Run>(std::move(run));
}

std::vector<std::string> sheet_names(const office::BookModel& book) {
  std::vector<std::string> names;
  for (const auto& sheet : book.sheets) names.push_back(sheet->name);
  return names;
}

std::string file_text(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// An empty folder, gone at the end.
class Folder {
 public:
  Folder() { std::filesystem::create_directories(path_); }
  ~Folder() { std::filesystem::remove_all(path_); }
  std::filesystem::path operator/(const char* name) const { return path_ / name; }
  std::size_t files() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::filesystem::path path_ =
      std::filesystem::path(testing::TempDir()) /
      (std::string("ordvane-") + testing::UnitTest::GetInstance()->current_test_info()->name());
};

std::int32_t error_code(const std::function<void()>& step) {
  try {
    step();
  } catch (const host::Error& error) {
    return error.code();
  }
  return 0;
}

TEST(OpenModel, HoldsItemsAndLabels) {
  const auto application = open_model(small_run());
  const auto sheet = application->workbook("small.xlsx")->worksheet("Plan");
  EXPECT_EQ(application->active_sheet()->name(), "Plan");
  EXPECT_EQ(sheet->range("B1")->value(), host::CellValue(10.0));
  EXPECT_EQ(sheet->range("B5")->value(), host::CellValue(40.0));
  EXPECT_EQ(sheet->range("B5")->formula(), "=B1*B3");
  EXPECT_EQ(sheet->range("B5")->number_format(), "0.00");
  EXPECT_TRUE(sheet->range("B7")->value().is_error());
  EXPECT_EQ(sheet->range("A3")->value(), host::CellValue("Volume"));
}

TEST(OpenModel, AFunctionInsideAFormulaHasTheBaseValue) {
  runfile::Run run = small_run();
  run.inputs[0].formula = "=1+Vary(10)";
  run.inputs[0].function = "Vary(10)";
  const auto application = open_model(run);
  const auto cell = application->workbook("small.xlsx")->worksheet("Plan")->range("B1");
  EXPECT_EQ(cell->formula(), "=1+Vary(10)");
  cell->set_formula("=Vary(10)");
  EXPECT_EQ(cell->value(), host::CellValue(10.0));
}

TEST(OpenModel, DatesAreShownAsDates) {
  runfile::Run run = small_run();
  run.inputs[0].date = run.outputs[0].date = run.inputs[1].date = true;
  run.inputs[1].number_format = "d mmm";
  const auto application = open_model(run, "dd.mm.yyyy");
  const auto sheet = application->workbook("small.xlsx")->worksheet("Plan");
  EXPECT_EQ(sheet->range(run.inputs[0].cell)->number_format(), "dd.mm.yyyy");
  EXPECT_EQ(sheet->range(run.inputs[1].cell)->number_format(), "d mmm");
  EXPECT_EQ(sheet->range(run.outputs[0].cell)->number_format(), "dd.mm.yyyy");
}

// Sheets of one layout hold the same formula texts. Each cell has its own base value, or none, whichever
// sheet comes first and whatever its formula would come to.
TEST(RankOutputs, TakesTheBaseValueOfTheCellItself) {
  constexpr std::optional<double> kNull;
  struct Case {
    const char *formula, *function;  // of every output
    std::array<std::optional<double>, 3> bases;
  };
  const Case kCases[] = {
      {"=B1*B3", "", {40, kNull, 7}},
      {"=B1*B3", "", {kNull, 40, kNull}},
      {"=1+Goal(B1)", "Goal(B1)", {kNull, 3, -8}},
      {"40", "", {kNull, 40, kNull}},
  };
  for (const Case& c : kCases) {
    runfile::Run run = small_run();
    const char* const sheets[] = {"Plan", "February", "March"};
    for (std::size_t o = 0; o < 3; ++o) {
      run.outputs[o].sheet = sheets[o];
      run.outputs[o].cell = run.outputs[o].range = "B5";
      run.outputs[o].formula = c.formula;
      run.outputs[o].function = c.function;
      run.outputs[o].base = c.bases[o];
    }
    const auto rankings = rank_outputs(shared(run), {});
    for (std::size_t o = 0; o < 3; ++o)
      EXPECT_EQ(rankings[o].base, c.bases[o].value_or(kNone)) << c.formula << " of output " << o + 1;
  }
}

TEST(RankOutputs, TellsWhatEachInputDid) {
  const auto rankings = rank_outputs(shared(small_run()), {});
  struct Case {
    std::size_t output;
    double base;
    std::size_t effect;
    const char* input;
    std::int32_t input_index;
    double low, high, swing, low_change, high_change, input_at_low, input_at_high;
    std::int32_t failed;
    bool moves;
  };
  const Case kCases[] = {
      {0, 40, 0, "Volume", 2, 20, 80, 60, -0.5, 1, 2, 8, 0, true},
      {0, 40, 1, "Price", 0, 32, 48, 16, -0.2, 0.2, 8, 12, 0, true},
      {1, -8, 0, "Volume", 2, -16, -4, 12, -1, 0.5, 8, 2, 1, true},  // the step without a number is left out
      {1, -8, 1, "Price", 0, -8, -8, 0, 0, 0, kNone, kNone, 0, false},
      {2, kNone, 0, "Price", 0, kNone, kNone, kNone, kNone, kNone, kNone, kNone, 3, false},
  };
  ASSERT_EQ(rankings.size(), 3U);
  for (const Case& each : kCases) {
    const OutputRanking& ranking = rankings[each.output];
    SCOPED_TRACE(testing::Message() << "output " << each.output << ", effect " << each.effect);
    EXPECT_EQ(ranking.output_index, static_cast<std::int32_t>(each.output));
    EXPECT_EQ(ranking.base, each.base);
    ASSERT_EQ(ranking.effects.size(), 2U);
    const Effect& effect = ranking.effects[each.effect];
    EXPECT_EQ(effect.rank, static_cast<std::int32_t>(each.effect) + 1);
    EXPECT_THAT(effect.input, StartsWith(each.input));
    EXPECT_EQ(effect.input_index, each.input_index);
    EXPECT_EQ(effect.low, each.low);
    EXPECT_EQ(effect.high, each.high);
    EXPECT_EQ(effect.swing, each.swing);
    EXPECT_EQ(effect.facts.steps, 3);
    EXPECT_EQ(effect.facts.failed, each.failed);
    EXPECT_EQ(effect.facts.moves, each.moves);
    EXPECT_DOUBLE_EQ(effect.low_change, each.low_change);
    EXPECT_DOUBLE_EQ(effect.high_change, each.high_change);
    EXPECT_EQ(effect.input_at_low, each.input_at_low);
    EXPECT_EQ(effect.input_at_high, each.input_at_high);
  }
}

TEST(RankOutputs, TakesOutputsInTheOrderAskedForAndOnlyThoseThereAre) {
  const auto run = shared(small_run());
  const auto rankings = rank_outputs(run, {1, 0, 1});
  ASSERT_EQ(rankings.size(), 2U);
  EXPECT_EQ(rankings[0].output_index, 1);
  EXPECT_EQ(rankings[0].effects[0].low, -16);
  EXPECT_EQ(rankings[1].output_index, 0);
  for (const std::int32_t position : {-1, 3})
    EXPECT_EQ(error_code([&] { rank_outputs(run, {position}); }), host::errc::kSubscriptOutOfRange);
  for (const std::int32_t simulation : {0, 2})
    EXPECT_EQ(error_code([&] { rank_outputs(run, {}, simulation); }), host::errc::kSubscriptOutOfRange);
}

TEST(MakeReports, WritesTheSheetsThatAreWanted) {
  struct Case {
    const char* what;
    bool tornado, spider, sensitivity, output_detail, detail_by_input;
    std::vector<std::string> sheets;
  };
  const Case kCases[] = {
      {"only the summary", false, false, false, false, false, {"Summary"}},
      {"tornado", true, false, false, false, false, {"Tornado B6", "Tornado B5", "Summary"}},
      {"spider", false, true, false, false, false, {"Spider B6", "Spider B5", "Summary"}},
      {"sensitivity", false, false, true, false, false, {"Sensitivity B6", "Sensitivity B5", "Summary"}},
      {"details", false, false, false, true, true, {"Detail B6", "Detail B5", "Detail by input", "Summary"}},
  };
  for (const Case& each : kCases) {
    ReportOptions options;
    options.outputs = {1, 0};
    options.tornado = each.tornado;
    options.spider = each.spider;
    options.sensitivity = each.sensitivity;
    options.output_detail = each.output_detail;
    options.detail_by_input = each.detail_by_input;
    EXPECT_EQ(sheet_names(*make_reports(shared(small_run()), options)), each.sheets) << each.what;
  }
}

TEST(WriteReports, SpeaksEveryLanguage) {
  const Folder folder;
  for (const auto& [code, language] : environment::all_languages()) {
    SCOPED_TRACE(code);
    ReportOptions options;
    options.language = code;
    options.overwrite = true;
    options.outputs = {1};
    options.output_detail = options.detail_by_input = true;
    const auto texts = environment::make_string_table(language);
    std::vector<std::string> names;
    for (const std::int16_t id :
         {text_id::kTornadoSheetName.number, text_id::kSpiderSheetName.number,
          text_id::kSensitivitySheetName.number, text_id::kOutputDetailSheetName.number,
          text_id::kDetailByInputSheetName.number, text_id::kSummarySheetName.number})
      names.push_back(texts->GetString(id, std::string("B6")));
    EXPECT_EQ(sheet_names(*make_reports(shared(small_run()), options)), names);
    write_reports(shared(small_run()), folder / "reports.xlsx", options);
    EXPECT_EXTERNAL(test::validate_xlsx(folder / "reports.xlsx"));
  }
}

TEST(MakeReports, TheThresholdLeavesOutputsWithoutAGraph) {
  ReportOptions options;
  options.outputs = {0};
  options.spider = options.sensitivity = false;
  options.set_threshold(5);
  EXPECT_THAT(sheet_names(*make_reports(shared(small_run()), options)),
              ElementsAre("Outputs not shown", "Summary"));
  options.set_threshold(1.5);  // exactly the swing of the first input
  EXPECT_THAT(sheet_names(*make_reports(shared(small_run()), options)), ElementsAre("Tornado B5", "Summary"));
}

TEST(MakeReports, KeepsALogWhenAsked) {
  const Folder folder;
  ReportOptions options;
  options.log_folder = (folder / "").parent_path().string();
  options.watermark = "Draft";
  make_reports(shared(small_run()), options);
  const std::string log = file_text(folder / "OrdvaneReports8.Log");
  EXPECT_THAT(log, StartsWith("OrdvaneReports.Class_Initialize\r\n"));
  EXPECT_THAT(log, HasSubstr("OrdvaneReports.GenerateReports Exit\r\n"));
  EXPECT_TRUE(log.ends_with("Ordvane Reports Terminated\r\n"));
}

TEST(MakeReports, RefusesWhatItHasNoTextsOrOutputsFor) {
  ReportOptions options;
  options.language = "xx";
  EXPECT_EQ(error_code([&] { make_reports(shared(small_run()), options); }),
            host::errc::kInvalidProcedureCall);
  options = {};
  options.outputs = {3};
  EXPECT_EQ(error_code([&] { make_reports(shared(small_run()), options); }),
            host::errc::kSubscriptOutOfRange);
  runfile::Run run = small_run();
  run.outputs.clear();
  run.output_values.clear();
  EXPECT_EQ(error_code([&] { make_reports(shared(run), {}); }), host::errc::kNothingToReport);
}

TEST(WriteReports, SaysWhatWasWrittenAndWritesTheSameBytesAgain) {
  const Folder folder;
  ReportOptions options;
  options.outputs = {0};
  options.clock = [] { return std::chrono::sys_days(std::chrono::May / 4 / 2026) + std::chrono::hours(9); };
  const WrittenReports written = write_reports(shared(small_run()), folder / "a.xlsx", options);
  EXPECT_EQ(written.sheets, 4U);
  EXPECT_EQ(written.charts, 4U);  // a tornado, a spider and one sensitivity chart per input
  write_reports(shared(small_run()), folder / "b.xlsx", options);
  EXPECT_EQ(file_text(folder / "a.xlsx"), file_text(folder / "b.xlsx"));
  EXPECT_EQ(folder.files(), 2U);
}

TEST(WriteReports, ShowsProgressFromTheRunToTheFile) {
  const Folder folder;
  std::vector<std::string> texts;
  ReportOptions options;
  options.progress = [&](const std::string& text) { texts.push_back(text); };
  write_reports(shared(small_run()), folder / "a.xlsx", options);
  ASSERT_GT(texts.size(), 3U);
  EXPECT_EQ(texts.front(), "Reading the results of the run");
  EXPECT_EQ(texts.back(), "Saving the workbook");
}

// Asked to stop at any moment, once: nothing is written and what was there stays.
TEST(WriteReports, CancelledAtAnyMomentLeavesWhatWasThere) {
  const Folder folder;
  std::ofstream(folder / "a.xlsx") << "before";
  const auto run = shared(small_run());
  for (int nth = 1;; ++nth) {
    int calls = 0;
    ReportOptions options;
    options.outputs = {0};
    options.overwrite = true;
    options.output_detail = options.detail_by_input = true;
    options.cancelled = [&] { return ++calls == nth; };
    const std::int32_t code = error_code([&] { write_reports(run, folder / "a.xlsx", options); });
    EXPECT_EQ(folder.files(), 1U) << "call " << nth;
    if (calls < nth) {
      EXPECT_EQ(code, 0);
      EXPECT_GT(nth, 20);
      EXPECT_THAT(file_text(folder / "a.xlsx"), StartsWith("PK"));
      break;
    }
    EXPECT_EQ(code, host::errc::kUserCancelled) << "call " << nth;
    EXPECT_EQ(file_text(folder / "a.xlsx"), "before") << "call " << nth;
  }
}

// A failure after the report workbook is open ends as an error, not as a workbook that lacks something.
TEST(WriteReports, AFailureAtAnyStepLeavesNothing) {
  const Folder folder;
  const auto run = shared(small_run());
  for (int nth = 1;; ++nth) {
    int calls = 0;
    ReportOptions options;
    options.spider = options.sensitivity = false;
    options.progress = [&](const std::string&) {
      if (++calls == nth) throw host::Error(host::errc::kOutOfMemory, "no room");
    };
    const std::int32_t code = error_code([&] { write_reports(run, folder / "a.xlsx", options); });
    if (calls < nth) {
      EXPECT_EQ(code, 0);
      EXPECT_GT(nth, 3);
      break;
    }
    EXPECT_EQ(code, host::errc::kOutOfMemory) << "call " << nth;
    EXPECT_EQ(folder.files(), 0U) << "call " << nth;
  }
  EXPECT_EQ(error_code([&] { write_reports(run, folder / "missing/a.xlsx", {}); }), host::errc::kHostRefused);
}

}  // namespace
}  // namespace ordvane::embedded
