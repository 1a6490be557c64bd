#include "runfile/recorded_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "run_files.h"
#include "runfile/values.h"

namespace ordvane::runfile {
namespace {

using engine::kInput;
using engine::kOutput;
using host::CellError;

constexpr std::int32_t kHandle = 77;
constexpr std::int16_t kFlag = 1;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kUntouched = -12345;

// Two simulations; inputs of 2, 3, 1 and 2 steps in two books, the second without saved samples.
std::shared_ptr<Run> make_run() {
  auto run = std::make_shared<Run>();
  run->simulations = 2;
  run->sampling_type = 3;
  const struct {
    const char *name, *book, *sheet, *cell, *formula, *function;
    std::int32_t steps;
  } kInputs[] = {
      {"Price", "m.xlsx", "S\u00FCd", "C5", "=1+DralUniform(1,2)", "DralUniform(1,2)", 2},
      {"Rate", "m.xlsx", "S2", "B4", "2", "", 3},
      {" ", "n.xlsx", "S1", "D1", "=\"📋\"&DralAuto(7)", "DralAuto(7)", 1},
      {"", "M.XLSX", "S\u00DCD", "AA10", "", "", 2},
  };
  for (const auto& from : kInputs) {
    Input input;
    input.name = from.name;
    input.book = from.book;
    input.sheet = from.sheet;
    input.cell = input.range = from.cell;
    input.formula = from.formula;
    input.function = from.function;
    input.steps = from.steps;
    input.base = 100 * static_cast<double>(run->inputs.size() + 1);
    run->recalculations += input.steps;
    run->inputs.push_back(input);
  }
  run->inputs[1].saved_samples = false;
  run->inputs[0].labels = {{"B5", "A label that its own name precedes"}};
  run->inputs[2].labels = {{"C1", "Growth"}, {"D2", "per year"}};
  run->inputs[3].base = std::nullopt;
  run->inputs[3].default_name = "Spare";
  run->inputs[3].locked = false;
  run->inputs[3].low = -1;
  Output output;
  output.book = "m.xlsx";
  output.sheet = "S1";
  output.cell = "B9";
  output.range = "B9:B10";
  output.formula = "=A1*2";
  output.date = true;
  output.range_name = "Totals";
  output.range_index = 2;
  run->outputs = {output, output};
  run->outputs[1].cell = run->outputs[1].range = "B12";
  run->outputs[1].date = false;
  const auto rows = static_cast<std::size_t>(run->simulations * run->recalculations);
  for (std::size_t i = 0; i < rows; ++i)
    run->input_values.in_memory().push_back(1000 + static_cast<double>(i));
  for (std::size_t i = 0; i < 2 * rows; ++i)
    run->output_values.in_memory().push_back(static_cast<double>(i) / 8);
  run->output_values.put(1, kNaN);
  run->output_values.put(6, encode_error(CellError::kNum));
  return run;
}

// The obvious answer: every recalculation of the inputs with saved samples, one by one.
std::vector<double> recorded_values(const auto& run, std::int32_t kind, std::int32_t index,
                                    std::int32_t simulation) {
  std::vector<double> values;
  std::int64_t recalculation = 0;
  std::int32_t listed = 0;
  for (const Input& varied : run.inputs) {
    for (std::int32_t step = 0; step < varied.steps; ++step, ++recalculation) {
      if (!varied.saved_samples) continue;
      if (kind == kOutput)
        values.push_back(run.output_values[run.output_value_index(simulation, static_cast<std::size_t>(index),
                                                                  recalculation)]);
      else if (listed == index)
        values.push_back(run.input_values[run.input_value_index(simulation, recalculation)]);
      else
        values.push_back(index == 0 ? 100 : index == 1 ? 300 : kNaN);
    }
    if (varied.saved_samples) ++listed;
  }
  return values;
}

bool same_bytes(const double* one, const double* other, std::size_t count) {
  return std::memcmp(one, other, count * sizeof(double)) == 0;
}

TEST(RecordedEngine, GivesEveryPartOfTheRecordedValues) {
  const auto run = make_run();
  const auto engine = make_recorded_engine(run);
  constexpr std::int32_t kRecalculations = 5;
  for (const std::int32_t kind : {kInput, kOutput})
    for (std::int32_t index = 0; index < (kind == kInput ? 3 : 2); ++index)
      for (std::int32_t simulation = 0; simulation < 2; ++simulation) {
        const auto expected = recorded_values(*run, kind, index, simulation);
        ASSERT_EQ(expected.size(), kRecalculations);
        for (std::int32_t first = 0; first < kRecalculations; ++first)
          for (std::int32_t last = first; last < kRecalculations; ++last) {
            std::vector<double> data(kRecalculations + 1, kUntouched);
            EXPECT_EQ(engine->DRL4_GetDoubleInputOrOutputData(kHandle, kind, index, simulation, first, last,
                                                              data, 1),
                      0);
            const auto count = static_cast<std::size_t>(last - first + 1);
            EXPECT_TRUE(same_bytes(data.data(), expected.data() + first, count))
                << kind << " " << index << " " << simulation << " " << first << " " << last;
            EXPECT_EQ(data[count], kUntouched);
          }
      }
}

// Groups of the listed inputs 1 and 4 (2 x 2 combinations) and 3, 4 and 1 (1 x 1 x 3); values by place.
std::shared_ptr<Run> with_groups() {
  auto run = make_run();
  run->groups = {{{0, 3}, {2, 2}, 4, 0, 0}, {{2, 3, 0}, {1, 1, 3}, 3, 4, 8}};
  run->group_recalculations = 7;
  run->group_values = 8 + 9;
  for (int i = 0; i < 2 * 17; ++i) run->group_input_values.in_memory().push_back(1000 + i);
  for (int i = 0; i < 2 * static_cast<int>(run->outputs.size()) * 7; ++i)
    run->group_output_values.in_memory().push_back(2000 + i);
  return run;
}

TEST(RecordedEngine, NumbersMultiWayRecalculationsAfterTheStandardOnes) {
  const auto run = with_groups();
  const auto engine = make_recorded_engine(run);
  std::int32_t simulations = 0, iterations = 0, a = 0, b = 0, c = 0;
  std::vector<std::int32_t> list(6);
  engine->DRL4_GetSimStats(kHandle, simulations, iterations);
  EXPECT_EQ(engine->DRL4_GetVaryMultis(kHandle, list, a, b, c), 0);
  EXPECT_EQ(std::vector({iterations, a, b, c}), std::vector({12, 3, 5, 7}));

  // The second input is not listed: the fourth is the list's third.
  std::vector<std::int32_t> members(13, -1), steps(17, -1);
  EXPECT_EQ(engine->DRL4_GetUsedVaryMultis(kHandle, 2, 4, members, 3, 4, steps), 0) << "rows of two lengths";
  EXPECT_EQ(members, (std::vector<std::int32_t>{1, 3, 0, 1, 3, 0, 2, 3, 1, 2, 3, 1, -1}));
  EXPECT_EQ(steps, (std::vector<std::int32_t>{2, 1, 0, 0, 2, 2, 0, 0, 1, 1, 1, 0, 1, 1, 2, 0, -1}));
  for (const auto& [first, count, row] : {std::array{0, 8, 3}, {-1, 1, 3}, {7, 1, 3}, {0, 7, 2}, {0, 7, 1}})
    EXPECT_EQ(engine->DRL4_GetUsedVaryMultis(kHandle, first, count, members, row, row, steps), 1);
  members.resize(8);
  EXPECT_EQ(engine->DRL4_GetUsedVaryMultis(kHandle, 0, 4, members, 2, 2, steps), 0)
      << "rows of two are enough";

  const auto read = [&](std::int32_t kind, std::int32_t index, std::int32_t first, std::int32_t last) {
    std::vector<double> data(static_cast<std::size_t>(last - first + 1), kUntouched);
    EXPECT_EQ(engine->DRL4_GetDoubleInputOrOutputData(kHandle, kind, index, 1, first, last, data, 1), 0);
    return data;
  };
  const double base = *run->inputs[0].base;
  EXPECT_EQ(read(kInput, 0, 5, 11), (std::vector<double>{1017, 1019, 1021, 1023, 1027, 1030, 1033}));
  EXPECT_EQ(read(kInput, 0, 7, 8), (std::vector<double>{1021, 1023}));
  EXPECT_EQ(read(kInput, 1, 8, 9), (std::vector<double>{*run->inputs[2].base, 1025}));
  EXPECT_EQ(read(kInput, 0, 3, 5), (std::vector<double>{base, base, 1017})) << "standard and multi-way";
  const auto outputs = static_cast<double>(run->outputs.size());
  EXPECT_EQ(read(kOutput, 0, 10, 11), (std::vector<double>{2000 + outputs * 7 + 5, 2000 + outputs * 7 + 6}));
  EXPECT_EQ(read(kOutput, 0, 4, 5)[1], 2000 + outputs * 7);
}

TEST(RecordedEngine, RefusesWhatTheRunDoesNotHave) {
  const struct {
    const char* what;
    std::int32_t kind, index, run, first, last;
    std::size_t room, written;
  } kCases[] = {
      {"a kind that is none", 2, 0, 0, 0, 4, 5, 0},
      {"a negative kind", -1, 0, 0, 0, 4, 5, 0},
      {"an input without saved samples", kInput, 3, 0, 0, 4, 5, 0},
      {"a negative index", kOutput, -1, 0, 0, 4, 5, 0},
      {"an output too many", kOutput, 2, 0, 0, 4, 5, 0},
      {"a run too many", kOutput, 0, 2, 0, 4, 5, 0},
      {"a negative run", kOutput, 0, -1, 0, 4, 5, 0},
      {"a negative recalculation", kOutput, 0, 0, -1, 4, 5, 0},
      {"an empty range", kOutput, 0, 0, 3, 2, 5, 0},
      {"a range behind the end", kOutput, 0, 0, 5, 5, 5, 0},
      {"the part that exists", kOutput, 0, 0, 3, 2147483647, 5, 2},
      {"the part that fits", kInput, 0, 0, 1, 4, 3, 3},
  };
  const auto engine = make_recorded_engine(make_run());
  for (const auto& c : kCases) {
    std::vector<double> data(c.room, kUntouched);
    EXPECT_EQ(
        engine->DRL4_GetDoubleInputOrOutputData(kHandle, c.kind, c.index, c.run, c.first, c.last, data, 1), 1)
        << c.what;
    EXPECT_EQ(c.room - static_cast<std::size_t>(std::count(data.begin(), data.end(), kUntouched)), c.written)
        << c.what;
  }
  std::string text = "untouched", sheet = "untouched";
  std::int32_t count = -7;
  EXPECT_EQ(engine->DRL7_GetWorkbookWithInputOrOutputVB(kHandle, kFlag, kInput, 2, count, text), 1);
  EXPECT_EQ(engine->DRL7_GetSheetWithInputOrOutputVB(kHandle, kFlag, kInput, 0, 2, text), 1);
  EXPECT_EQ(engine->DRL7_GetSheetWithInputOrOutputVB(kHandle, kFlag, 2, 0, 0, text), 1);
  for (const auto& [cell, formula, in_cell] : {std::array{-1, 0, 1}, {2, 0, 1}, {0, 1, 1}, {0, 0, 2}})
    EXPECT_EQ(engine->DRL7_GetCellWithInputOrOutputVB(kHandle, kFlag, kInput, 0, 0, cell, formula,
                                                      static_cast<std::int16_t>(in_cell), text, sheet, count),
              1);
  EXPECT_EQ(engine->DRL4_GetNumInputsAndOutputs(kHandle, 1, count, count), 1);
  EXPECT_EQ(text + sheet + std::to_string(count), "untoucheduntouched-7");
}

TEST(RecordedEngine, CountsOnlyInputsWithSavedSamples) {
  const auto engine = make_recorded_engine(make_run());
  std::int32_t a = 0, b = 0, c = -1;
  EXPECT_EQ(engine->DRL4_GetSimStats(kHandle, a, b), 0);
  EXPECT_EQ(std::pair(a, b), std::pair(2, 5));
  EXPECT_EQ(engine->DRL4_GetNumInputsAndOutputs(kHandle, 0, a, b), 0);
  EXPECT_EQ(std::pair(a, b), std::pair(4, 2)) << "all of the model";
  EXPECT_EQ(engine->DRL4_GetNumInputsWithSavedSamples(kHandle, a), 0);
  EXPECT_EQ(a, 3);

  std::vector<std::int32_t> pairs(8, -1);
  EXPECT_EQ(engine->DRL4_GetVaryMultis(kHandle, pairs, a, b, c), 0);
  EXPECT_EQ(pairs, (std::vector<std::int32_t>{1, 2, 2, 1, 3, 2, -1, -1}));
  EXPECT_EQ(std::tuple(a, b, c), std::tuple(3, 5, 0));
  EXPECT_EQ(engine->DRL4_GetUsedVaryMultis(kHandle, 0, 1, pairs, 2, 2, pairs), 1);

  std::vector<std::int16_t> steps(4, -1);
  EXPECT_EQ(engine->DRL4_GetVaryCountList(kHandle, steps, 3), 0);
  EXPECT_EQ(steps, (std::vector<std::int16_t>{2, 1, 2, -1}));
  EXPECT_EQ(engine->DRL4_GetVaryCountList(kHandle, std::span(steps).first(1), 3), 1);
}

TEST(RecordedEngine, TellsWhatIsNoNumber) {
  const auto engine = make_recorded_engine(make_run());
  const struct {
    double value;
    std::int32_t nan, error;
  } kCases[] = {{kNaN, 1, 0},
                {-kNaN, 1, 0},
                {0, 0, 0},
                {-1e300, 0, 0},
                {std::numeric_limits<double>::infinity(), 0, 0},
                {encode_error(CellError::kNull), 0, 1},
                {encode_error(CellError::kNA) - 9e299, 0, 1},
                {encode_text(), 0, 1}};
  for (const auto& c : kCases) {
    EXPECT_EQ(engine->DRL4_DoubleIsNaN(c.value), c.nan) << c.value;
    EXPECT_EQ(engine->DRL4_DoubleIsError(c.value) != 0, c.error != 0) << c.value;
  }
}

TEST(RecordedEngine, ReleasesEachContextOnceByItsOwnWords) {
  const auto engine = make_recorded_engine(make_run());
  engine::EngineContext first, second;
  for (engine::EngineContext* x : {&first, &second})
    EXPECT_EQ(engine->DrllibInitLibraryVB("", "", x->a, x->b, x->c, x->d), 0);
  EXPECT_EQ(open_contexts(*engine), 2);
  const auto release = [&engine](engine::EngineContext x) {
    return engine->DrllibFreeLibraryVB(x.a, x.b, x.c, x.d, x.e, x.f, x.g, x.h);
  };
  engine::EngineContext changed = first;
  changed.d = second.d;
  EXPECT_EQ(release(changed), 1);
  EXPECT_EQ(release({}), 1);
  EXPECT_EQ(open_contexts(*engine), 2);
  EXPECT_EQ(release(first), 0);
  EXPECT_EQ(release(first), 1) << "a second release changes nothing";
  EXPECT_EQ(release(second), 0);
  EXPECT_EQ(open_contexts(*engine), 0);
}

struct Info {
  std::string name, alternative, formula, range_name;
  std::int32_t start = -1, stop = -1, book = -1, sheet = -1, cell = -1, formula_index = -1, range_index = -1,
               number = -1;
  std::int16_t use_default = -1, in_cell = -1, locked = -1, multi = -1, range_type = -1, distribution = -1,
               date = -1;
  double low = 0, high = 0;
};

Info input_info(engine::Engine& engine, std::int32_t index) {
  Info i;
  EXPECT_EQ(engine.DRL7_GetOrderedInputInfoVB(kHandle, kFlag, index, i.name, i.alternative, i.formula,
                                              i.start, i.stop, i.use_default, i.book, i.sheet, i.cell,
                                              i.formula_index, i.in_cell, i.locked, i.multi, i.range_type,
                                              i.low, i.high, i.distribution),
            0);
  return i;
}

Info output_info(engine::Engine& engine, std::int32_t index) {
  Info i;
  EXPECT_EQ(
      engine.DRL7_GetOrderedOutputInfoVB(kHandle, kFlag, index, i.name, i.alternative, i.formula, i.start,
                                         i.stop, i.use_default, i.book, i.sheet, i.cell, i.formula_index,
                                         i.in_cell, i.locked, i.date, i.range_name, i.range_index, i.number),
      0);
  return i;
}

TEST(RecordedEngine, IdentifiesItems) {
  const auto engine = make_recorded_engine(make_run());
  const struct {
    const char *name, *alternative;
    std::int16_t use_default, locked;
    std::int32_t start, stop;
    double low, high;
  } kInputs[] = {
      {"Price", "", 0, 1, 4, 19, 1000, 1009},
      {"Growth / per year", "", 1, 1, 7, 17, 1005, 1013},  // the pictograph counts two units
      {"", "Spare", 0, 0, 0, 0, -1, 1015},
  };
  for (std::int32_t index = 0; index < 3; ++index) {
    const auto& expected = kInputs[index];
    const Info got = input_info(*engine, index);
    EXPECT_EQ(got.name, expected.name);
    EXPECT_EQ(got.alternative, expected.alternative);
    EXPECT_EQ(got.use_default, expected.use_default) << expected.name;
    EXPECT_EQ(got.locked, expected.locked) << expected.name;
    EXPECT_EQ(std::pair(got.start, got.stop), std::pair(expected.start, expected.stop)) << expected.name;
    EXPECT_EQ(std::pair(got.low, got.high), std::pair(expected.low, expected.high)) << expected.name;
    EXPECT_EQ(std::tuple(got.multi, got.range_type, got.distribution), std::tuple(0, 0, 0));
  }
  const Info dates = output_info(*engine, 0);
  EXPECT_EQ(std::tuple(dates.date, dates.range_name, dates.range_index, dates.number),
            std::tuple(1, "Totals", 2, 0));
  EXPECT_EQ(std::pair(dates.start, dates.stop), std::pair(2, 5)) << "the formula behind its =";
  EXPECT_EQ(output_info(*engine, 1).date, 0);

  auto grouped = with_groups();
  grouped->groups.pop_back();
  const auto with_pair = make_recorded_engine(grouped);
  std::string multi;
  for (std::int32_t index = 0; index < 3; ++index)
    multi += std::to_string(input_info(*with_pair, index).multi);
  EXPECT_EQ(multi, "101") << "members of the group";
}

TEST(RecordedEngine, FindsItemsByTheirPlace) {
  const auto engine = make_recorded_engine(make_run());
  const struct {
    std::int32_t kind, index, sheets;
    const char *book, *sheet, *cell, *range;
  } kCases[] = {
      {kInput, 0, 2, "m.xlsx", "S\u00FCd", "$C$5", "$C$5"},
      {kInput, 1, 1, "n.xlsx", "S1", "$D$1", "$D$1"},
      {kInput, 2, 2, "m.xlsx", "S\u00FCd", "$AA$10", "$AA$10"},
      {kOutput, 0, 1, "m.xlsx", "S1", "$B$9", "$B$9:$B$10"},
      {kOutput, 1, 1, "m.xlsx", "S1", "$B$12", "$B$12"},
  };
  for (const auto& c : kCases) {
    const Info info = c.kind == kInput ? input_info(*engine, c.index) : output_info(*engine, c.index);
    std::string book, sheet, cell, range;
    std::int32_t sheets = 0, items = 0;
    EXPECT_EQ(engine->DRL7_GetWorkbookWithInputOrOutputVB(kHandle, kFlag, c.kind, info.book, sheets, book),
              0);
    EXPECT_EQ(engine->DRL7_GetSheetWithInputOrOutputVB(kHandle, kFlag, c.kind, info.book, info.sheet, sheet),
              0);
    EXPECT_EQ(
        engine->DRL7_GetCellWithInputOrOutputVB(kHandle, kFlag, c.kind, info.book, info.sheet, info.cell,
                                                info.formula_index, info.in_cell, cell, range, items),
        0);
    EXPECT_EQ(std::tuple(book, sheet, cell, range), std::tuple(c.book, c.sheet, c.cell, c.range));
    EXPECT_EQ(std::pair(sheets, items), std::pair(c.sheets, 1)) << c.cell;
  }
}

}  // namespace
}  // namespace ordvane::runfile
