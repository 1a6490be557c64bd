// Groups of inputs whose joint effect algebra gives.
#include "model/multi_way.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>

#include "embedded/report_job.h"
#include "environment/standard_environment.h"
#include "model/grids.h"
#include "model/scan.h"
#include "runfile/recorded_engine.h"
#include "runfile/values.h"

namespace ordvane::model {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kError = -7e77;  // stands for a spreadsheet error in what a model returns

using Values = std::vector<double>;  // of the inputs
using Output = std::function<double(const Values&)>;

double recorded(double result) {
  return result == kError ? runfile::encode_error(host::CellError::kNum) : result;
}

// A model of inputs and outputs, every input stepped over its values, then the groups.
struct Model {
  Values bases;
  std::vector<Values> steps;  // of each input
  std::vector<Output> outputs;
  std::vector<std::vector<std::size_t>> groups;
  std::vector<Values> group_steps = {};  // of each input in groups, where they are not the same

  std::shared_ptr<runfile::Run> run() const {
    auto run = std::make_shared<runfile::Run>();
    for (std::size_t i = 0; i < bases.size(); ++i) {
      runfile::Input input;
      input.name = std::string(1, static_cast<char>('a' + i));
      input.book = "Model.xlsx";
      input.sheet = "Sheet";
      input.cell = input.range = "A" + std::to_string(i + 1);
      input.base = bases[i];
      input.formula = std::to_string(bases[i]);
      input.steps = static_cast<std::int32_t>(steps[i].size());
      run->recalculations += input.steps;
      run->inputs.push_back(input);
      run->input_values.in_memory().insert(run->input_values.in_memory().end(), steps[i].begin(),
                                           steps[i].end());
    }
    for (std::size_t o = 0; o < outputs.size(); ++o) {
      runfile::Output output;
      output.book = "Model.xlsx";
      output.sheet = "Sheet";
      output.cell = output.range = "B" + std::to_string(o + 1);
      output.base = outputs[o](bases);
      run->outputs.push_back(output);
    }
    for (const auto& members : groups) add_group(*run, members);
    for (const Output& output : outputs) {
      for (std::size_t i = 0; i < bases.size(); ++i)
        for (const double value : steps[i]) {
          Values at = bases;
          at[i] = value;
          run->output_values.in_memory().push_back(recorded(output(at)));
        }
      for (const auto& members : groups)
        for_each_combination(members, [&](const Values& at) {
          run->group_output_values.in_memory().push_back(recorded(output(at)));
        });
    }
    return run;
  }

 private:
  const Values& steps_in_groups(std::size_t input) const {
    return group_steps.empty() ? steps[input] : group_steps[input];
  }

  void for_each_combination(const std::vector<std::size_t>& members,
                            const std::function<void(const Values&)>& use) const {
    std::vector<std::size_t> step(members.size());
    for (;;) {
      Values at = bases;
      for (std::size_t m = 0; m < members.size(); ++m) at[members[m]] = steps_in_groups(members[m])[step[m]];
      use(at);
      std::size_t m = members.size();
      while (m > 0 && ++step[m - 1] == steps_in_groups(members[m - 1]).size()) step[--m] = 0;
      if (m == 0) return;
    }
  }

  void add_group(runfile::Run& run, const std::vector<std::size_t>& members) const {
    runfile::Group group;
    group.members = members;
    group.combinations = 1;
    group.first = run.group_recalculations;
    group.first_value = run.group_values;
    for (const std::size_t member : members) {
      group.steps.push_back(static_cast<std::int32_t>(steps_in_groups(member).size()));
      group.combinations *= group.steps.back();
    }
    for_each_combination(members, [&](const Values& at) {
      for (const std::size_t member : members) run.group_input_values.in_memory().push_back(at[member]);
    });
    run.group_recalculations += group.combinations;
    run.group_values = run.group_input_values.size();
    run.groups.push_back(group);
  }
};

// What the analysis makes of a model.
struct Analysis {
  explicit Analysis(const Model& model, std::int32_t largest_group = 0,
                    std::size_t most_results = kMostGroupResults) {
    const auto run_file = model.run();
    session.environment = std::make_shared<environment::StandardEnvironment>(environment::Settings{});
    session.engine = runfile::make_recorded_engine(run_file);
    session.g_XLApp = embedded::open_model(*run_file);
    session.session_flag = 1;
    OrdvaneScan scan(session);
    std::int32_t automatic = 0;
    scan.newScan(inputs, engine::kInput, automatic);
    scan.newScan(outputs, engine::kOutput, automatic);
    OneBased<std::int32_t> selected;
    for (std::int32_t o = 1; o <= outputs.size(); ++o) selected.push_back(o);
    scan.getData(inputs, outputs, selected, static_cast<std::int32_t>(run_file->recalculations), 1);
    run = ReadMultiWay(session, inputs, outputs, selected, largest_group, 1, most_results);
    for (std::int32_t o = 1; o <= outputs.size(); ++o)
      effects.push_back(RankGroups(run, inputs, outputs, o, o));
  }

  session::Session session;
  Records inputs, outputs;
  MultiWayRun run;
  OneBased<GroupEffects> effects;
};

TEST(MultiWay, InteractionIsWhatAlgebraSays) {
  // Around a = 2 and b = 3, from half to double: a from 1 to 4, b from 1.5 to 6; c from 0.1 to 0.4.
  Model model;
  model.bases = {2, 3, 0.2};
  model.steps = {{1, 2, 4}, {1.5, 3, 6}, {0.1, 0.4}};
  model.outputs = {[](const Values& x) { return x[0] * x[1]; },
                   [](const Values& x) { return 1e9 + 0.1 * x[0] + 0.7 * x[1] + 0.3 * x[2]; }};
  model.groups = {{0, 1}, {0, 1, 2}};
  const Analysis analysis(model);
  EXPECT_EQ(analysis.effects(2)(1).interaction, 0) << "exactly, beside a large constant";
  EXPECT_EQ(analysis.effects(2)(2).interaction, 0) << "three inputs that add up";
  // Alone a moves the product from 3 to 12 and b from 3 to 12; together from 1.5 (combination 1) to 24 (9).
  const GroupEffect& product = analysis.effects(1)(1);
  EXPECT_EQ(std::vector({product.lowest, product.highest, product.own_swings, product.interaction}),
            (Values{1.5, 24, 18, 4.5}));
  EXPECT_EQ(std::pair(product.lowest_at, product.highest_at), std::pair(1, 9));
  EXPECT_EQ(std::vector({product.lowest_change, product.highest_change, product.bar_width}),
            (Values{-0.75, 3, 3.75}));
}

// 15 recalculations of each output.
TEST(MultiWay, ResultsAreTheSameHoweverManyAreKept) {
  Model model;
  model.bases = {2, 3, 0.2};
  model.steps = {{1, 2, 4}, {1.5, 3}, {0.1, 0.4}};
  model.outputs = {[](const Values& x) { return x[0] * x[1]; },
                   [](const Values& x) { return x[0] == 4   ? kError
                                                : x[0] == 1 ? kNaN
                                                            : x[1] * x[2]; }};
  model.groups = {{0, 1}, {0, 1, 2}};
  const auto results = [](const Analysis& analysis) {
    Values all;
    for (std::int32_t output = 1; output <= 2; ++output)
      for (const MultiGroup& group : analysis.run.groups)
        for (std::int32_t c = 1; c <= group.combinations; ++c)
          all.push_back(analysis.run.result(output, group, c));
    return all;
  };
  const Analysis all(model);
  ASSERT_EQ(all.run.asked_for, nullptr);
  for (const std::size_t kept : {0U, 20U}) {
    SCOPED_TRACE(kept);
    const Analysis some(model, 0, kept);
    ASSERT_NE(some.run.asked_for, nullptr);
    EXPECT_EQ(results(some), results(all));
    EXPECT_EQ(some.effects(2)(2).highest_at, all.effects(2)(2).highest_at);
    EXPECT_THROW(some.run.result(1, some.run.groups(1), 7), host::Error);
  }
}

TEST(GroupResults, AreAskedForAgainOnlyWhereTheyWereForgotten) {
  constexpr std::int32_t kRecalculations = 2 * GroupResults::kPiece + 1;
  const std::vector<std::pair<std::int32_t, std::int32_t>> looks = {
      {1, 0}, {2, kRecalculations - 1}, {1, GroupResults::kPiece - 1}, {1, GroupResults::kPiece}, {2, 5},
      {1, 7}};
  for (const auto& [most_pieces, asked] : {std::pair{1U, 6}, {2U, 5}, {100U, 4}}) {
    int asks = 0;
    GroupResults results(
        2, kRecalculations,
        [&](std::int32_t output, std::int32_t first, std::span<double> to) {
          ++asks;
          for (double& value : to) value = 1e6 * output + first++;
        },
        most_pieces);
    for (const auto& [output, at] : looks)
      EXPECT_EQ(results.at(output, at), 1e6 * output + at) << most_pieces;
    EXPECT_EQ(asks, asked) << most_pieces;
  }
}

// Around a = 2 and b = 3, where b is always tried at 1.5, 3 and 6.
TEST(MultiWay, SwingsAreComparedOnlyWhereTheSameValuesMadeThem) {
  using enum InteractionState;
  const auto product = [](const Values& x) { return x[0] * x[1]; };
  const auto turning = [](const Values& x) { return x[1] - (x[0] - 3) * (x[0] - 3); };
  const auto cut_together = [](const Values& x) { return x[0] == 4 && x[1] == 6 ? kError : x[0] * x[1]; };
  const auto cut_alone = [](const Values& x) { return x[0] == 1 && x[1] == 3 ? kNaN : x[0] + x[1]; };
  const auto never_alone = [](const Values& x) { return x[0] != 2 && x[1] == 3 ? kError : x[0] + x[1]; };
  const auto never = [](const Values& x) { return x[0] == 2 && x[1] == 3 ? 1 : kError; };
  const auto far = [](const Values& x) { return x[0] > 2 ? x[1] + 9 : 0; };
  const auto jumping = [](const Values& x) { return x[0] == 2 && x[1] == 3 ? -1 : x[0] + x[1]; };
  const struct {
    const char* what;
    Output output;
    Values alone, together;  // values of a
    InteractionState state;
    double interaction = host::kMissingNumber;
    std::int32_t failed = 0;
    bool leaves_out_base = false;
  } cases[] = {
      {"the same values", product, {1, 2, 4}, {1, 2, 4}, kMeasured, 4.5},
      {"in another order, and rounded", product, {4, 1, 2}, {1 + 1e-15, 4}, kMeasured, 4.5},
      {"fewer in between", product, {1, 2, 3, 4}, {4, 2, 1}, kMeasured, 4.5},
      {"others in between", product, {1, 2, 4}, {1, 3, 4}, kMeasured, 4.5},
      {"those in between decide alone", turning, {1, 2, 3, 4}, {1, 2, 4}, kOtherValues},
      {"those in between decide together", turning, {1, 2, 4}, {1, 3, 4}, kOtherValues},
      {"further together", product, {1, 2, 4}, {1, 2, 5}, kOtherValues},
      {"further alone, where nothing happens", turning, {1, 2, 3, 4}, {2, 3, 4}, kOtherValues},
      {"a failure together", cut_together, {1, 2, 4}, {1, 2, 4}, kErrors, host::kMissingNumber, 1},
      {"a failure alone", cut_alone, {1, 2, 4}, {2, 4}, kErrors},
      {"nothing alone", never_alone, {1, 4}, {1, 4}, kNoOwnSwing, host::kMissingNumber, 2},
      {"nothing at all", never, {1, 4}, {1, 4}, kErrors, host::kMissingNumber, 6},
      {"away from the base", product, {3, 4}, {3, 4}, kMeasured, 7.5},
      {"far from the base", far, {3, 4}, {3, 4}, kMeasured, 4.5, 0, true},
      {"at a base that jumps", jumping, {1, 2, 4}, {1, 2, 4}, kMeasured, -6},
      {"beside a base that jumps", jumping, {1, 4}, {1, 4}, kMeasured, -4.5, 0, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Values b = {1.5, 3, 6};
    const Analysis analysis({.bases = {2, 3},
                             .steps = {c.alone, b},
                             .outputs = {c.output},
                             .groups = {{0, 1}},
                             .group_steps = {c.together, b}});
    const GroupEffect& effect = analysis.effects(1)(1);
    EXPECT_EQ(effect.interaction_state, c.state);
    EXPECT_NEAR(effect.interaction, c.interaction, 1e-9);
    EXPECT_EQ(effect.failed, c.failed);
    EXPECT_EQ(effect.leaves_out_base, c.leaves_out_base);
  }
}

TEST(MultiWay, GroupsAreRankedBySwingAndUnusableOnesLast) {
  Model model;
  model.bases = {0, -1, 5};
  model.steps = {{3, 1, 2}, {-2, 4}, {5, 5}};
  model.outputs = {
      [](const Values& x) { return x[2] == 5 && x[0] == 0 && x[1] == -1 ? -10 : x[0] + 10 * x[1]; },
      [](const Values& x) { return x[0] == 3   ? kNaN
                                   : x[1] == 4 ? kError
                                               : x[0]; },
      [](const Values&) { return kError; }};
  model.groups = {{0, 2}, {1, 0}, {2, 1}};
  const Analysis analysis(model, 2);
  const auto ranks = [&](std::int32_t output) {
    std::vector<std::int32_t> list;
    for (const GroupEffect& effect : analysis.effects(output)) list.push_back(effect.rank);
    return list;
  };
  EXPECT_EQ(ranks(1), (std::vector<std::int32_t>{3, 1, 2}));
  EXPECT_EQ(ranks(3), (std::vector<std::int32_t>{1, 2, 3})) << "equal swings go by position";

  // Output 2 with inputs 2 and 1: b = -2 with a = 1 and 2 are numbers, the rest is none.
  const GroupEffect& some = analysis.effects(2)(2);
  EXPECT_EQ(some.lowest, 1);
  EXPECT_EQ(some.highest, 2);
  EXPECT_EQ(some.lowest_at, 2);
  const double missing = host::kMissingNumber;
  EXPECT_EQ(some.lowest_change, missing) << "the base is 0";
  EXPECT_EQ(some.bar_width, some.swing) << "in values, then";
  const GroupEffect& none = analysis.effects(3)(1);
  EXPECT_EQ(std::vector({none.lowest, none.highest, none.lowest_change, none.own_swings, none.interaction}),
            std::vector(5, missing));
  EXPECT_EQ(none.lowest_at, 0);
  EXPECT_EQ(none.swing, 0);

  // Each member's record, and the reading order: b from -2 to 4, within each a from 1 to 3.
  const MultiGroup& group = analysis.run.groups(2);
  EXPECT_EQ(group.inputs(1).name, "b");
  EXPECT_EQ(group.inputs(2).addr, "'[Model.xlsx]Sheet'!A1");
  EXPECT_EQ(group.inputs(2).value, (std::vector<double>{3, 1, 2, 3, 1, 2}));
  EXPECT_EQ(group.inputs(1).pc, (std::vector<double>{-1, -1, -1, 5, 5, 5}));
  EXPECT_EQ(group.inputs(2).pc[0], missing) << "from a base of 0";
  EXPECT_EQ(group.inputs(2).rank, (std::vector<std::int32_t>{3, 1, 2, 3, 1, 2}));
  const auto order = CombinationsInOrder(group);
  EXPECT_EQ(std::vector<std::int32_t>(order.begin(), order.end()),
            (std::vector<std::int32_t>{2, 3, 1, 5, 6, 4}));
}

// Over 1 to 3 twice: the variance of the product is 52/9, of which each factor's means make 24/9.
TEST(MultiWay, VarianceDividesAsAlgebraSays) {
  const auto sum = [](const Values& x) { return 1e6 + 0.1 * x[0] + 0.7 * x[1]; };
  const auto product = [](const Values& x) { return x[0] * x[1]; };
  const auto failing = [](const Values& x) { return x[0] == 3 ? kNaN : x[1]; };
  Model model;
  model.bases = {2, 2, 5};
  model.steps = {{3, 1, 2, 3}, {1, 2, 3}, {5, 6}};
  model.groups = {{0, 1}, {0, 1, 2}};
  model.outputs = {sum, product, [](const Values& x) { return (x[0] - 2) * (x[1] - 2); }, failing,
                   [](const Values&) { return 7; }};
  const Analysis analysis(model);
  const NumberRules rules;
  const auto shares = [&](std::int32_t output, std::int32_t group) {
    const auto grid = GridOf(analysis.run, analysis.run.groups(group), output, rules, 18);
    const auto found = VarianceSharesOf(grid.value(), rules);
    std::vector<double> all = found ? found->alone : Values{};
    if (found) all.push_back(found->together);
    return all;
  };
  EXPECT_THAT(shares(1, 1), testing::ElementsAre(testing::DoubleNear(0.02, 1e-9), testing::_, 0));
  EXPECT_THAT(shares(2, 1), testing::Pointwise(testing::DoubleEq(), Values{6. / 13, 6. / 13, 1. / 13}));
  EXPECT_THAT(shares(2, 2), testing::Pointwise(testing::DoubleEq(), Values{6. / 13, 6. / 13, 0, 1. / 13}));
  EXPECT_EQ(shares(3, 1), (Values{0, 0, 1}));
  EXPECT_EQ(shares(4, 1), Values{}) << "results that are no numbers";
  EXPECT_EQ(shares(5, 1), Values{}) << "nothing moves";
  EXPECT_FALSE(GridOf(analysis.run, analysis.run.groups(2), 1, rules, 17));
  const auto grid = GridOf(analysis.run, analysis.run.groups(2), 2, rules, 18);
  EXPECT_EQ(PlacesOf(*grid, {2, 3, 6}, rules), (std::vector<std::size_t>{1, 2, 1}));
  EXPECT_FALSE(PlacesOf(*grid, {2, 2.5, 6}, rules));
}

TEST(MultiWay, GroupsLargerThanTheHostAllowsAreNotRead) {
  Model model;
  model.bases = {1, 1, 1};
  model.steps = {{1, 2}, {1, 2}, {1, 2}};
  model.outputs = {[](const Values& x) { return x[0] * x[1] * x[2]; }};
  model.groups = {{0, 1, 2}};
  EXPECT_EQ(Analysis(model, 2).run.groups.size(), 0);
  EXPECT_EQ(Analysis(model, 3).run.recalculations, 8);
  // Groups of the same inputs in another order are two, and of equal results the first is the low end.
  model.groups = {{0, 1}, {1, 0}};
  model.outputs = {[](const Values& x) { return x[0] - x[1]; }, [](const Values& x) { return x[0]; }};
  const Analysis orders(model);
  EXPECT_EQ(orders.run.groups.size(), 2);
  EXPECT_EQ(std::pair(orders.effects(2)(1).lowest_at, orders.effects(2)(1).highest_at), std::pair(1, 3));
  model.groups.clear();
  EXPECT_EQ(Analysis(model).run.groups.size(), 0);
}

}  // namespace
}  // namespace ordvane::model
