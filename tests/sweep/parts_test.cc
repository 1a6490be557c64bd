// Parts of a sweep: killed, gone on with and merged, they give the bytes of an undisturbed one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <fstream>
#include <random>
#include <thread>

#include "host/error.h"
#include "runfile/json_file.h"
#include "runfile/values.h"
#include "small_model.h"
#include "support/external_checks.h"
#include "sweep/compiled.h"
#include "sweep/sweep.h"

namespace ordvane::sweep {
namespace {

using testing::HasSubstr;

// Quick, and with results of every kind: each depends on the changes alone.
class FakeCalculator : public Calculator {
 public:
  explicit FakeCalculator(std::size_t outputs, std::chrono::microseconds pause = {})
      : outputs_(outputs), pause_(pause) {}
  std::string engine() const override { return "fake 1"; }
  std::vector<std::vector<Result>> evaluate(std::span<const Recalculation> recalculations) override {
    std::vector<std::vector<Result>> results;
    for (const Recalculation& recalculation : recalculations) {
      double sum = 0.1;
      for (const Change& change : recalculation)
        sum += change.value * std::sqrt(2.0 + static_cast<double>(change.input));
      std::vector<Result>& row = results.emplace_back();
      for (std::size_t output = 0; output < outputs_; ++output) row.push_back(result(sum, output));
      std::this_thread::sleep_for(pause_);
    }
    return results;
  }

 private:
  static Result result(double sum, std::size_t output) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    switch ((static_cast<std::size_t>(std::fabs(sum) * 1000) + output) % 7) {
      case 0:
        return {kNone, "two\nlines, and \"quotes\""};
      case 1:
        return {kNone, "#DIV/0!"};
      case 2:
        return {kNone, " 12 "};
      case 3:
        return {};
      default:
        return {sum * 1e-7, {}};
    }
  }
  std::size_t outputs_;
  std::chrono::microseconds pause_;
};

class Parts : public testing::Test {
 protected:
  PartHeader header(const Shard& shard) const {
    PartHeader header{shard, plan_.total(), "w", hash_of(plan_), "fake 1", "2026-11-22", {}, {}, {}};
    header.run = runfile::description_of(run_of(plan_, std::vector<Result>(plan_.outputs.size())));
    return header;
  }
  std::filesystem::path file(const Shard& shard) const { return part_file(folder_ / "m.run.json", shard); }

  void calculate(const Shard& shard, std::chrono::microseconds pause = {}, int threads = 2) const {
    PartWriter part(file(shard), header(shard), shape_, false, [](PartHeader& first) {
      first.calculation = runfile::Json{{"engine", "fake"}};
    });
    SweepOptions options;
    options.threads = threads;
    options.chunk = 3;
    calculate_part(
        plan_, shard, part, [&] { return std::make_unique<FakeCalculator>(plan_.outputs.size(), pause); },
        options);
  }
  // All files of the run.
  std::string merged(const std::vector<std::filesystem::path>& parts) const {
    merge_parts(parts, folder_ / "m.run.json", {.replace = true});
    std::string all;
    for (const char* name : {"m.run.json", "m.run.csv", "m.run.groups.csv"})
      all += runfile::read_text(folder_ / name, "a file");
    return all;
  }
  // With its texts.
  runfile::Run run_of_parts(const std::vector<std::filesystem::path>& parts, TableForm form) const {
    merge_parts(parts, folder_ / "m.run.json", {.replace = true, .form = form});
    return runfile::read_run(folder_ / "m.run.json", {.keeps_texts = true});
  }
  std::string complaint(const std::vector<std::filesystem::path>& parts,
                        TableForm form = TableForm::kCsv) const {
    try {
      merge_parts(parts, folder_ / "m.run.json", {.replace = true, .form = form});
      return "";
    } catch (const runfile::BadRun& bad) {
      return bad.what();
    }
  }
  std::string refusal(const PartHeader& header) const {
    try {
      const PartWriter part(file(header.shard), header, shape_, false, [](PartHeader&) {});
      return "";
    } catch (const host::Error& error) {
      return error.description();
    }
  }

  test::TemporaryFolder folder_;
  calc::Model model_ = small_book().model();
  Plan plan_ = planned(small_what_if(300), model_);
  Shape shape_ = shape_of(run_of(plan_, std::vector<Result>(plan_.outputs.size())));
};

TEST_F(Parts, AreReadAsARun) {
  calculate({1, 1});
  merged({file({1, 1})});
  const runfile::Run run = runfile::read_run(folder_ / "m.run.json");
  EXPECT_EQ(run.recalculations, 308);
  EXPECT_EQ(run.group_recalculations, 10);
  ASSERT_TRUE(run.calculation);
  EXPECT_EQ(run.calculation->engine, "fake");
  FakeCalculator fake(plan_.outputs.size());
  PlanRows rows(plan_, 0);
  for (std::int64_t row = 0; row < run.recalculations; ++row) {
    const std::vector<Recalculation> one{rows.next().changes};
    const std::vector<Result> expected = fake.evaluate(one).front();
    EXPECT_EQ(run.input_values[run.input_value_index(0, row)], one[0][0].value);
    for (std::size_t output = 0; output < plan_.outputs.size(); ++output) {
      const double value = run.output_values[run.output_value_index(0, output, row)];
      if (expected[output].is_number())
        EXPECT_EQ(value, expected[output].number) << row;
      else
        EXPECT_TRUE(std::isnan(value) ? expected[output].text.empty() : runfile::is_encoded_error(value))
            << row << ": a text that looks like a number is still none";
    }
  }
}

TEST_F(Parts, AreTheSameBytesHoweverManyThereAre) {
  calculate({1, 1});
  const std::string whole = merged({file({1, 1})});
  for (const std::int32_t parts : {2, 3, 7}) {
    std::vector<std::filesystem::path> files;
    for (std::int32_t part = parts; part >= 1; --part) {
      calculate({part, parts}, {}, part % 3 + 1);
      files.push_back(file({part, parts}));
    }
    EXPECT_EQ(merged(files), whole) << parts;
  }
}

// More rows than are held of a column at once; a part was interrupted, and no part ends where a piece does.
TEST_F(Parts, AreTheSameRunInBinaryTables) {
  plan_ = planned(small_what_if(20000), model_);
  shape_ = shape_of(run_of(plan_, std::vector<Result>(plan_.outputs.size())));
  calculate({1, 1});
  const auto expect_same = [](const runfile::Run& run, const runfile::Run& expected) {
    const auto same = [](const runfile::StoredValues& values, const runfile::StoredValues& others) {
      ASSERT_EQ(values.size(), others.size());
      for (std::size_t at = 0; at < values.size(); ++at)
        ASSERT_TRUE(std::bit_cast<std::uint64_t>(values[at]) == std::bit_cast<std::uint64_t>(others[at]))
            << at << ": " << values[at] << ", not " << others[at];
    };
    same(run.input_values, expected.input_values);
    same(run.output_values, expected.output_values);
    same(run.group_input_values, expected.group_input_values);
    same(run.group_output_values, expected.group_output_values);
    EXPECT_TRUE(run.texts == expected.texts);
    EXPECT_TRUE(run.group_texts == expected.group_texts);
  };
  const runfile::Run expected = run_of_parts({file({1, 1})}, TableForm::kCsv);
  expect_same(run_of_parts({file({1, 1})}, TableForm::kBinary), expected);
  for (const std::int32_t part : {1, 2, 3}) calculate({part, 3});
  std::filesystem::resize_file(file({2, 3}), std::filesystem::file_size(file({2, 3})) / 2);
  calculate({2, 3});
  expect_same(run_of_parts({file({3, 3}), file({1, 3}), file({2, 3})}, TableForm::kBinary), expected);

  std::string text = runfile::read_text(file({3, 3}), "a part");
  const std::size_t last = text.rfind("\n1,2,4,") + 1;
  const auto line =
      std::to_string(std::count(text.begin(), text.begin() + static_cast<long>(last), '\n') + 1);
  std::ofstream(file({3, 3}), std::ios::binary) << text.replace(last, text.size() - last, "1,2,4,x,,,,,,,\n");
  std::filesystem::remove(folder_ / "m.run.json");
  for (const TableForm form : {TableForm::kBinary, TableForm::kCsv})
    EXPECT_THAT(complaint({file({1, 3}), file({2, 3}), file({3, 3})}, form),
                HasSubstr("m.part-3-of-3.csv:" + line + ": column value1: is \"x\"; a number"));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "m.run.json"));
}

TEST_F(Parts, SurviveBeingKilledAtAnyMoment) {
  calculate({1, 1});
  const std::string whole = merged({file({1, 1})});
  std::mt19937 random(1);
  int kills = 0;
  for (int round = 0; kills < 200; ++round) {
    std::vector<std::filesystem::path> files;
    for (std::int32_t part = 1; part <= 3; ++part) {
      files.push_back(file({part, 3}));
      std::filesystem::remove(files.back());
      for (bool finished = false; !finished;) {
        const pid_t child = ::fork();
        if (child == 0) {
          calculate({part, 3}, std::chrono::microseconds(50));
          ::_exit(0);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500 + random() % 8000));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        finished = WIFEXITED(status);
        if (!finished) ++kills;
      }
    }
    ASSERT_EQ(merged(files), whole) << "round " << round;
  }
}

// Every length that a file may have after a crash.
TEST_F(Parts, GoOnFromATornFile) {
  calculate({2, 3});
  const std::string whole = runfile::read_text(file({2, 3}), "a part");
  const std::size_t first = whole.find('\n');
  std::mt19937 random(2);
  for (int i = 0; i < 60; ++i) {
    const std::size_t size = i < 20 ? first - 10 + static_cast<std::size_t>(i) : random() % whole.size();
    std::ofstream(file({2, 3}), std::ios::binary) << whole.substr(0, size);
    calculate({2, 3});
    ASSERT_EQ(runfile::read_text(file({2, 3}), "a part"), whole) << "cut at " << size;
  }
  std::ofstream(file({2, 3}), std::ios::binary)
      << whole.substr(0, whole.size() - 40) << std::string(40, '\0');
  calculate({2, 3});
  EXPECT_EQ(runfile::read_text(file({2, 3}), "a part"), whole) << "blocks that never reached the disk";
}

TEST_F(Parts, DoNotMixWithOthers) {
  for (const std::int32_t part : {1, 2, 3}) calculate({part, 3});
  const auto name = [&](int part) { return file({part, 3}); };
  EXPECT_THAT(complaint({name(1), name(3)}), HasSubstr("part 2 of 3 is missing"));
  EXPECT_THAT(complaint({name(1), name(2)}), HasSubstr("part 3 of 3 is missing"));
  EXPECT_THAT(complaint({name(2), name(1), name(2), name(3)}), HasSubstr("is part 2 of 3, as"));
  EXPECT_THAT(complaint({folder_ / "none.csv"}), HasSubstr("cannot be read"));
  calculate({1, 2});
  EXPECT_THAT(complaint({file({1, 2}), name(2), name(3)}), HasSubstr("parts instead of"));

  struct {
    const char* what;
    std::string PartHeader::*field;
    const char* complaint;
  } const cases[] = {{"workbook", &PartHeader::workbook, "another workbook"},
                     {"definition", &PartHeader::what_if, "another what-if definition"},
                     {"engine", &PartHeader::engine, "another engine (fake 1, not other)"},
                     {"clock", &PartHeader::now, "another clock of the model (2026-11-22, not other)"}};
  for (const auto& c : cases) {
    PartHeader other = header({2, 3});
    other.*c.field = "other";
    EXPECT_THAT(refusal(other), HasSubstr(c.complaint)) << c.what;
    std::string text = runfile::read_text(name(2), "a part");
    const std::string was = header({2, 3}).*c.field;
    const std::size_t at = text.find('"' + was + '"');
    std::ofstream(folder_ / "other.csv", std::ios::binary) << text.replace(at + 1, was.size(), "other");
    EXPECT_THAT(complaint({name(1), folder_ / "other.csv", name(3)}), HasSubstr("is of another")) << c.what;
  }

  const std::string text = runfile::read_text(name(3), "a part");
  std::ofstream(name(3), std::ios::binary) << text.substr(0, text.size() - 1);
  EXPECT_THAT(complaint({name(1), name(2), name(3)}),
              HasSubstr("105 of 106 rows; let its sweep finish first"));
  std::ofstream(name(3), std::ios::binary) << text << "1,2,3,4\n";
  EXPECT_THAT(complaint({name(1), name(2), name(3)}), HasSubstr("has more than its 106 rows"));
  std::ofstream(name(3), std::ios::binary) << "simulation,input\n";
  EXPECT_THAT(refusal(header({3, 3})), HasSubstr("is not a part of a sweep"));

  const PartWriter open(name(1), header({1, 3}), shape_, false, [](PartHeader&) {});
  EXPECT_THAT(refusal(header({1, 3})), HasSubstr("another sweep is writing it"));
}

TEST(CompiledCalculator, GivesWhatAnyOtherOrderGives) {
  calc::Model model = small_book().model();
  const Plan plan = planned(small_what_if(40), model);
  std::vector<Recalculation> all(1);
  PlanRows rows(plan, 0);
  for (std::int64_t row = 0; row < plan.total(); ++row) all.push_back(rows.next().changes);
  const auto together = make_compiled(model, plan)->evaluate(all);
  const auto alone = make_compiled(model, plan);
  for (std::size_t row = 0; row < all.size(); ++row) {
    const auto one = alone->evaluate(std::span(all).subspan(row, 1)).front();
    for (std::size_t output = 0; output < one.size(); ++output)
      EXPECT_TRUE(identical(one[output], together[row][output])) << row << ", " << output;
  }
  EXPECT_EQ(shown(together[0][0]), "33");
  EXPECT_EQ(shown(together[1][1]), "-0.5");
  EXPECT_EQ(shown(together[3][1]), "#DIV/0!");
  EXPECT_EQ(shown(together[0][4]), "nothing");
}

TEST(CompiledCalculator, NamesWhatItCannotCalculate) {
  test::TinyWorkbook book = small_book();
  book.set("B5", "=B1*CUBEVALUE(\"a\",B2)")
      .set("D1", "=CUBEVALUE(\"a\",7)")
      .set("B6", "=B1+D1")
      .set("B7", "=SUM(B1");
  calc::Model model = book.model();
  const auto what_if = [](const std::string& output) {
    return R"({"inputs": [{"cell": "Sheet1!B1", "low": 1, "high": 2}], "outputs": [{"cell": "Sheet1!)" +
           output + R"("}]})";
  };
  const std::vector<calc::Obstacle> found = obstacles(model, planned(what_if("B5"), model));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_THAT(text_of(model, found.front()), HasSubstr("Sheet1!B5: CUBEVALUE"));
  EXPECT_TRUE(obstacles(model, planned(what_if("B6"), model)).empty()) << "D1 does not change";
  EXPECT_EQ(obstacles(model, planned(what_if("B7"), model)).size(), 1U) << "what cannot be read may change";
}

}  // namespace
}  // namespace ordvane::sweep
