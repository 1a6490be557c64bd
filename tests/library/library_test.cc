// The library as a program sees it: public headers only, linked to the shared library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <sstream>
#include <thread>

#include "ordvane.h"
#include "ordvane/model.h"
#include "ordvane/ranking.h"
#include "ordvane/report.h"
#include "support/external_checks.h"

namespace ordvane {
namespace {

namespace fs = std::filesystem;
using test::file_text;
using testing::Each;
using testing::HasSubstr;

const fs::path kExample = fs::path(ORDVANE_SOURCE_DIR) / "examples/solar-plant/solar-plant.run.json";
const fs::path kPlant = fs::path(ORDVANE_SOURCE_DIR) / "examples/solar-plant/solar-plant.xlsx";
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Two inputs of three steps and two outputs, of which the second is no number at some of them; both inputs
// together in a group of 2 x 2.
struct Small {
  RunDescription description;
  std::vector<double> values = {8, 10, 12, 2, 4, 8};
  std::vector<double> results = {32, 1, 40, 2, 48, 3, 20, kNaN, 40, kNaN, 80, kNaN};
  std::vector<TextResult> texts = {{9, "#DIV/0!"}, {11, "too much"}};
  std::vector<double> group_values = {8, 12, 2, 8};
  std::vector<double> group_results = {16, 1, 64, 1, 24, 1, 96, 1};
  std::vector<TextResult> group_texts;

  Small() {
    description.inputs.resize(2);
    description.inputs[0].name = "Price";
    description.inputs[0].base = 10;
    description.inputs[0].steps = 3;
    description.inputs[1].base = 4;
    description.inputs[1].steps = 3;
    description.inputs[1].labels = {{"B2", "Volume"}};
    description.outputs.resize(2);
    description.outputs[0].name = "Profit";
    description.outputs[0].base = 40;
    description.outputs[1].book = "Other.xlsx";
    description.outputs[1].sheet = "Taxes";
    description.outputs[1].cell = "D9";
    description.groups = {{{0, 1}, {2, 2}}};
  }
  ordvane::Run run() const {
    return ordvane::Run::from_arrays(description,
                                     {values, results, texts, group_values, group_results, group_texts});
  }
};

struct Failure {
  ErrorCode code{};
  std::string what;
};

Failure failure_of(const std::function<void()>& step) {
  try {
    step();
  } catch (const Error& error) {
    return {error.code(), error.what()};
  }
  return {};
}

TEST(Ranking, LeavesOutFiguresThatTheRunDoesNotGive) {
  const ordvane::Run run = Small().run();
  const Ranking taxes = rank(run, 1);
  EXPECT_EQ(taxes.name, "D9");
  EXPECT_EQ(taxes.base, std::nullopt);
  ASSERT_EQ(taxes.effects.size(), 2U);
  EXPECT_EQ(taxes.effects[0].name, "Price");
  EXPECT_EQ(taxes.effects[0].swing, 2);
  EXPECT_EQ(taxes.effects[0].low_change, std::nullopt) << "there is no base";
  const Effect& volume = taxes.effects[1];
  EXPECT_THAT((std::vector{volume.low, volume.high, volume.swing, volume.low_change, volume.high_change,
                           volume.input_at_low, volume.input_at_high}),
              Each(std::nullopt))
      << "empty, an error, a text";
  EXPECT_EQ(std::tuple(volume.steps, volume.failed, volume.moves, volume.leaves_out_base),
            std::tuple(3, 3, false, false));
  EXPECT_EQ(taxes.groups[0].interaction, std::nullopt);
  EXPECT_STREQ(state_name(taxes.groups[0].interaction_state), "no_own_swing");
  EXPECT_STREQ(state_name(InteractionState{99}), "unknown");
}

TEST(Run, MakesUpWhatIsLeftOut) {
  const ordvane::Run run = Small().run();
  EXPECT_EQ(run.simulations(), 1);
  EXPECT_EQ(run.recalculations(), 10U);
  EXPECT_EQ(run.inputs()[1].book, "Model");
  EXPECT_EQ(run.inputs()[1].sheet, "Inputs");
  EXPECT_EQ(run.inputs()[1].cell, "A2");
  EXPECT_EQ(run.inputs()[1].formula, "4");
  EXPECT_EQ(run.outputs()[0].sheet, "Outputs");
  EXPECT_EQ(run.outputs()[0].cell, "A1");
  EXPECT_EQ(run.outputs()[1].sheet, "Taxes");
  EXPECT_EQ(run.find_output("taxes!$d$9"), 1U);
  EXPECT_THAT(run.describe(), HasSubstr("Recalculations"));
  EXPECT_THAT(run.describe(), Not(HasSubstr("File")));
}

// What an array says must come to the same as what a file says, to the last byte of a report.
TEST(Run, OfArraysIsTheSameAsOfAFile) {
  const test::TemporaryFolder folder;
  std::ofstream(folder / "small.run.json") << R"({"format": "ordvane-run", "version": 1, "simulations": 1,
 "inputs": [{"name": "Price", "book": "Model", "sheet": "Inputs", "cell": "A1", "base": 10, "steps": 3},
            {"book": "Model", "sheet": "Inputs", "cell": "A2", "base": 4, "steps": 3,
             "labels": [{"cell": "B2", "text": "Volume"}]}],
 "outputs": [{"name": "Profit", "book": "Model", "sheet": "Outputs", "cell": "A1", "base": 40},
             {"book": "Other.xlsx", "sheet": "Taxes", "cell": "D9", "base": null}],
 "recalculations": [[1, 1, 1, 8, 32, 1], [1, 1, 2, 10, 40, 2], [1, 1, 3, 12, 48, 3], [1, 2, 1, 2, 20, null],
                    [1, 2, 2, 4, 40, "#DIV/0!"], [1, 2, 3, 8, 80, "too much"]],
 "groups": [{"members": [1, 2], "steps": 2}],
 "groupRecalculations": [[1, 1, 1, 8, 2, 16, 1], [1, 1, 2, 8, 8, 64, 1], [1, 1, 3, 12, 2, 24, 1],
                         [1, 1, 4, 12, 8, 96, "#N/A"]]})";
  ReportOptions options;
  options.output_detail = options.detail_by_input = options.multi_way = true;
  Small small;
  small.group_results[7] = kNaN;
  small.group_texts = {{7, "#N/A"}};
  EXPECT_EQ(pack_reports(small.run(), options),
            pack_reports(ordvane::Run::read(folder / "small.run.json"), options));
}

TEST(Errors, HaveACodeAndSayWhatIsExpected) {
  const test::TemporaryFolder folder;
  const fs::path there = folder / "there.xlsx", text = folder / "text.xlsx";
  std::ofstream(there) << "old";
  std::ofstream(text) << "old";
  const ordvane::Run run = Small().run();
  const auto made = [](const std::function<void(Small&)>& change) {
    return [change] {
      Small small;
      change(small);
      small.run();
    };
  };
  const auto reported = [&](const std::function<void(ReportOptions&)>& change) {
    return [&run, change] {
      ReportOptions options;
      change(options);
      pack_reports(run, options);
    };
  };
  const struct {
    std::function<void()> step;
    ErrorCode code;
    std::string what;
  } kCases[] = {
      {[&] { ordvane::Run::read(folder / "no.json"); }, ErrorCode::kBadRun,
       "cannot be read: there is no such file"},
      {made([](Small& s) { s.description.inputs[0].name = "Pr\xE4"; }), ErrorCode::kBadRun,
       "run:inputs[0].name: is \"Pr\\xE4\", which is not UTF-8 text"},
      {made([](Small& s) { s.description.outputs[0].base = HUGE_VAL; }), ErrorCode::kBadRun,
       "run:outputs[0].base: is inf; a number between"},
      {made([](Small& s) { s.description.simulations = 2; }), ErrorCode::kBadRun,
       "run:values: has 6 numbers; 12 are expected (2 simulations of 6 recalculations)"},
      {made([](Small& s) { s.results.pop_back(); }), ErrorCode::kBadRun,
       "run:results: has 11 numbers; 12 are expected (6 rows of 2 outputs)"},
      {made([](Small& s) { s.results[3] = -1e300; }), ErrorCode::kBadRun,
       "run:results[3]: is -1e+300; a number between -1e300 and 1e300 is expected"},
      {made([](Small& s) { s.texts[1].at = 12; }), ErrorCode::kBadRun,
       "run:texts[1].at: is 12; a position among the 12 results, counted from 0, is expected"},
      {made([](Small& s) {
         s.group_texts = {{8, "x"}};
       }),
       ErrorCode::kBadRun, "run:groupTexts[0].at: is 8"},
      {made([](Small& s) { s.description.groups[0].members[1] = 2; }), ErrorCode::kBadRun,
       "run:groups[0].members[1]: is 3; a position of an input, 1 to 2, is expected"},
      {[&] { run.find_output("Profits"); }, ErrorCode::kInvalidArgument,
       "\"Profits\" is no output of the run; its outputs are Profit (Outputs!A1), Taxes!D9"},
      {[&] {
         rank_outputs(run, {0, 2});
       },
       ErrorCode::kInvalidArgument, "outputs[1]: is 2; a position of an output, 0 to 1, is expected"},
      {reported([](ReportOptions& o) { o.outputs = {9}; }), ErrorCode::kInvalidArgument, "outputs[0]: is 9"},
      {reported([](ReportOptions& o) { o.max_inputs = 33; }), ErrorCode::kInvalidArgument,
       "max_inputs: is 33; a whole number from 1 to 32 is expected"},
      {reported([](ReportOptions& o) { o.threshold = kNaN; }), ErrorCode::kInvalidArgument,
       "threshold: is nan"},
      {reported([](ReportOptions& o) { o.language = "xx"; }), ErrorCode::kInvalidArgument,
       "language: is \"xx\"; one of de, en,"},
      {reported([](ReportOptions& o) { o.watermark = "\xFF"; }), ErrorCode::kInvalidArgument,
       "watermark: is"},
      {reported([](ReportOptions& o) { o.created = std::chrono::sys_seconds(std::chrono::days(-36600)); }),
       ErrorCode::kInvalidArgument, "created: is in the year 1869"},
      {[&] { write_reports(run, there); }, ErrorCode::kFileExists, "there.xlsx: is there already"},
      {[&] { write_reports(run, folder / "no" / "a.xlsx"); }, ErrorCode::kFile,
       "cannot write: there is no such file"},
      {[&] { add_reports(run, text); }, ErrorCode::kBadWorkbook, "text.xlsx: it is no workbook"},
      {[&] { Model model(text); }, ErrorCode::kBadWorkbook, "text.xlsx: it is no sound workbook"},
      {[&] { Model(kPlant).set("Finance!B5", kNaN); }, ErrorCode::kInvalidArgument,
       "Finance!B5: is set to nan"},
      {[&] { Model(kPlant).value("B5"); }, ErrorCode::kInvalidArgument, "cell: is B5 without a sheet"},
      {[&] { sweep_workbook(kPlant, R"({"inputs": 1})"); }, ErrorCode::kBadRun, "definition:inputs: is 1"},
      {[&] { sweep_workbook(kPlant, "{}", {.run = there}); }, ErrorCode::kFileExists,
       "there.xlsx: is there already"},
  };
  for (const auto& c : kCases) {
    const Failure failure = failure_of(c.step);
    EXPECT_EQ(failure.code, c.code) << c.what << '\n' << failure.what;
    EXPECT_THAT(failure.what, HasSubstr(c.what));
  }
  Small without_groups;
  without_groups.description.groups.clear();
  without_groups.group_values.clear();
  without_groups.group_results.clear();
  ReportOptions options;
  options.multi_way = true;
  EXPECT_THAT(failure_of([&] { pack_reports(without_groups.run(), options); }).what,
              HasSubstr("multi_way: the run varied no inputs together"));
  EXPECT_EQ(file_text(there), "old");
  EXPECT_EQ(file_text(text), "old");
  EXPECT_STREQ(code_name(ErrorCode::kBadRun), "bad_run");
  EXPECT_STREQ(code_name(ErrorCode{99}), "unknown");
}

TEST(Reports, AreTheSameBytesEverywhere) {
  const test::TemporaryFolder folder;
  const ordvane::Run run = ordvane::Run::read(kExample);
  const std::string packed = pack_reports(run);
  const fs::path file = folder / "a.xlsx";
  const WrittenReports written = write_reports(run, file);
  EXPECT_GT(written.sheets, 10U);
  EXPECT_GT(written.charts, 10U);
  EXPECT_TRUE(file_text(file) == packed);
  std::ostringstream stream(std::ios::binary);
  EXPECT_EQ(write_reports(run, stream).charts, written.charts);
  EXPECT_TRUE(stream.str() == packed);
  std::ofstream full("/dev/full", std::ios::binary);
  EXPECT_EQ(failure_of([&] { write_reports(run, full); }).code, ErrorCode::kFile);

  // Into a workbook that is there: its sheets and as many more.
  std::ofstream(folder / "b.xlsx", std::ios::binary) << packed;
  EXPECT_EQ(add_reports(run, folder / "b.xlsx").sheets, written.sheets);
  ReportOptions options;
  options.overwrite = true;
  options.percent = true;
  write_reports(run, file, options);
  EXPECT_FALSE(file_text(file) == packed);
  EXPECT_EXTERNAL(test::openpyxl_reads(
      folder / "b.xlsx", "assert len(book.sheetnames) == 2 * " + std::to_string(written.sheets)));
}

std::string packed_by_c(const std::function<void(ordvane_options*)>& set) {
  ordvane_run* read = nullptr;
  ordvane_bytes* bytes = nullptr;
  ordvane_options* options = ordvane_options_new();
  set(options);
  EXPECT_EQ(ordvane_run_read(kExample.c_str(), &read, nullptr), ORDVANE_OK);
  EXPECT_EQ(ordvane_pack_reports(read, options, &bytes, nullptr), ORDVANE_OK);
  std::string packed(ordvane_bytes_data(bytes), ordvane_bytes_size(bytes));
  ordvane_bytes_free(bytes);
  ordvane_options_free(options);
  ordvane_run_free(read);
  return packed;
}

// Every option does something, and the same in both interfaces.
// Each of them in C++ and in C alike, and unlike every other.
TEST(Options, ChangeTheReports) {
  using Set = std::function<void(ReportOptions&, ordvane_options*)>;
  const auto flag = [](bool ReportOptions::*member, auto* in_c) -> Set {
    return [=](ReportOptions& o, ordvane_options* c) { o.*member = true, in_c(c, 1); };
  };
  const auto in_tornado = [](const Set& set) -> Set {
    return [=](ReportOptions& o, ordvane_options* c) {
      o.tornado = true, ordvane_options_set_tornado(c, 1);
      set(o, c);
    };
  };
  const auto color = [&](std::optional<Color> ReportOptions::*member, auto* in_c) {
    return in_tornado([=](auto& o, auto* c) { o.*member = Color{1, 2, 3}, in_c(c, 0x010203); });
  };
  using R = ReportOptions;
  const struct {
    const char* what;
    Set set;
    const char* progress = "";  // what is then told, and else is not
  } kCases[] = {
      {"matrix", flag(&R::matrix, ordvane_options_set_matrix), "Writing which input moves what"},
      {"tornado", flag(&R::tornado, ordvane_options_set_tornado), "Drawing the tornado graph"},
      {"spider", flag(&R::spider, ordvane_options_set_spider), "Drawing the spider graph"},
      {"sensitivity", flag(&R::sensitivity, ordvane_options_set_sensitivity),
       "Drawing the sensitivity graphs"},
      {"output detail", flag(&R::output_detail, ordvane_options_set_output_detail)},
      {"detail by input", flag(&R::detail_by_input, ordvane_options_set_detail_by_input)},
      {"multi-way", flag(&R::multi_way, ordvane_options_set_multi_way)},
      {"percent", in_tornado(flag(&R::percent, ordvane_options_set_percent))},
      {"bar colour", color(&R::bar_color, ordvane_options_set_bar_color)},
      {"base colour", color(&R::base_color, ordvane_options_set_base_color)},
      {"low colour", color(&R::low_color, ordvane_options_set_low_color)},
      {"labels", in_tornado([](auto& o, auto* c) {
         o.labels = BarLabels::kBoth, ordvane_options_set_labels(c, ORDVANE_LABELS_BOTH);
       })},
      {"outputs", [](auto& o, auto* c) { o.outputs = {2}, ordvane_options_add_output(c, 2); }},
      {"most inputs",
       in_tornado([](auto& o, auto* c) { o.max_inputs = 3, ordvane_options_set_max_inputs(c, 3); })},
      {"all inputs", in_tornado([](auto& o, auto* c) {
         o.max_inputs = 4, ordvane_options_set_max_inputs(c, 4);
         o.all_inputs = true, ordvane_options_set_all_inputs(c, 1);
       })},
      {"threshold",
       in_tornado([](auto& o, auto* c) { o.threshold = 0.2, ordvane_options_set_threshold(c, 0.2); })},
      {"watermark",
       [](auto& o, auto* c) { o.watermark = "Draft", ordvane_options_set_watermark(c, "Draft"); }},
      {"language", [](auto& o, auto* c) { o.language = "de", ordvane_options_set_language(c, "de"); }},
      {"date", [](auto& o, auto* c) {
         o.created = std::chrono::sys_seconds(std::chrono::seconds(1'700'000'000));
         ordvane_options_set_created(c, 1'700'000'000);
       }}};
  const ordvane::Run run = ordvane::Run::read(kExample);
  ReportOptions plain;
  plain.matrix = plain.tornado = plain.spider = plain.sensitivity = false;
  std::map<std::string, std::string> seen = {{pack_reports(run, plain), "none"}};
  for (const auto& each : kCases) {
    ReportOptions options = plain;
    std::string told;
    options.progress = [&](const std::string& text) { told += text + '\n'; };
    const std::string by_c = packed_by_c([&](ordvane_options* c) {
      for (auto* off : {ordvane_options_set_matrix, ordvane_options_set_tornado, ordvane_options_set_spider,
                        ordvane_options_set_sensitivity})
        off(c, 0);
      each.set(options, c);
    });
    const std::string packed = pack_reports(run, options);
    const auto [same, is_new] = seen.emplace(packed, each.what);
    EXPECT_TRUE(is_new) << each.what << " gives the reports of " << same->second;
    EXPECT_THAT(told, HasSubstr(each.progress));
    EXPECT_TRUE(packed == by_c) << each.what;
  }
  EXPECT_THAT(languages(), testing::Contains("de"));
}

// Yes at the first, second, third ... question, until none is asked any more.
TEST(Callbacks, EndTheJobAtAnyQuestion) {
  const test::TemporaryFolder folder;
  const fs::path file = folder / "a.xlsx";
  std::ofstream(file) << "old";
  const ordvane::Run run = Small().run();
  struct Stop {};
  for (const bool throwing : {false, true})
    for (int nth = 1;; nth += nth < 10 ? 1 : 7) {
      int asked = 0;
      ReportOptions options;
      options.overwrite = true;
      options.cancelled = [&] {
        if (++asked < nth) return false;
        if (throwing) throw Stop();
        return true;
      };
      bool stopped = false;
      const Failure failure = failure_of([&] {
        try {
          write_reports(run, file, options);
        } catch (const Stop&) {
          stopped = true;
        }
      });
      if (asked < nth) {
        EXPECT_GT(nth, 10);
        EXPECT_NE(file_text(file), "old");
        std::ofstream(file) << "old";
        break;
      }
      EXPECT_EQ(stopped, throwing) << "question " << nth;
      EXPECT_EQ(failure.code, throwing ? ErrorCode{} : ErrorCode::kCancelled) << "question " << nth;
      ASSERT_EQ(file_text(file), "old") << "question " << nth;
      EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1) << "question " << nth;
    }
  ReportOptions options;
  options.progress = [](const std::string&) { throw Stop(); };
  EXPECT_THROW(pack_reports(run, options), Stop);
}

// Each value that is asked for is that of a sweep, whatever was set and asked for before.
TEST(Model, ShowsWhatASweepOfItRecords) {
  const std::vector<double> prices = {44, 74, 104};
  int told = 0;
  SweepOptions options;
  options.progress = [&](std::int64_t, std::int64_t of) { told += of == 6 ? 1 : 100; };
  const ordvane::Run run =
      sweep_workbook(kPlant, R"({"inputs": [{"cell": "Finance!B5", "low": 44, "high": 104},
                                                        {"cell": "Finance!B10", "low": 600, "high": 700}],
                                             "outputs": [{"cell": "Results!B5"}, {"cell": "Results!B8"}],
                                             "steps": 3})",
                     options);
  EXPECT_GT(told, 0);
  EXPECT_LT(told, 100);
  EXPECT_EQ(run.recalculations(), 6U);
  EXPECT_THAT(run.describe(), HasSubstr("Ordvane calculation"));
  const Effect price = rank(run, 0).effects.at(0);
  Model model(kPlant);
  const CellValue base = model.value("Results!B5");
  EXPECT_EQ(base.number, run.outputs()[0].base);
  model.set("Finance!B10", 999);
  model.set("Finance!B5", 44);
  model.value("Results!B8");
  model.reset();
  model.set("Finance!B5", 44);
  EXPECT_EQ(model.value("Results!B5").number, price.low);
  model.set("Finance!B5", 104);
  EXPECT_EQ(model.value("Results!B5").number, price.high);
  const std::vector<CellValue> several = model.values({"Results!B9", "Results!B5", "Results!A5"});
  EXPECT_EQ(several[1].number, price.high);
  EXPECT_EQ(several[2].text, "Net present value");
  model.reset();
  EXPECT_EQ(model.value("Results!B5").number, base.number);
  struct Stop {};
  options.progress = [](std::int64_t, std::int64_t) { throw Stop(); };
  EXPECT_THROW(sweep_workbook(kPlant, R"({"inputs": [{"cell": "Finance!B5", "percent": [-1, 1]}],
                                          "outputs": [{"cell": "Results!B5"}]})",
                              options),
               Stop);
}

TEST(Threads, MayShareARun) {
  const test::TemporaryFolder folder;
  const ordvane::Run run = ordvane::Run::read(kExample);
  const std::string packed = pack_reports(run);
  const double swing = *rank(run, "Net present value").effects.front().swing;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&, i] {
      const ordvane::Run mine = run;
      const fs::path file = folder / (std::to_string(i) + ".xlsx");
      for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(rank(mine, "Net present value").effects.front().swing, swing);
        ReportOptions options;
        options.overwrite = true;
        write_reports(mine, file, options);
        EXPECT_TRUE(file_text(file) == packed);
        EXPECT_TRUE(pack_reports(run) == packed);
      }
    });
}

}  // namespace
}  // namespace ordvane
