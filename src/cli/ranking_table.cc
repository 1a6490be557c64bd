// The table of `ordvane show`: bars, the values at their ends, and words for what no bar can say.
#include "cli/ranking_table.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/bar_table.h"
#include "cli/bars.h"
#include "cli/figures.h"
#include "cli/output_choice.h"
#include "cli/terminal.h"
#include "exchange/ranking.h"
#include "text/numbers.h"

namespace ordvane::cli {
namespace {

using embedded::Effect;
using embedded::GroupRanking;
using embedded::OutputRanking;
using exchange::input_of;
using exchange::output_of;
using exchange::steps_of;

constexpr const char* kBetweenMembers = " \u00D7 ";  // as the reports write it
constexpr const char* kAsciiBetweenMembers = " x ";
constexpr int kDigits = 6, kShortDigits = 3;  // of figures that no cell shows
constexpr std::size_t kMostGroups = 20;       // of an output; programs get them all

// A text of every member of a group.
template <class Text>
std::string joined(const GroupRanking& group, const char* between, const Text& text_of) {
  std::string text;
  for (const GroupRanking::Member& member : group.members)
    text += (&member == &group.members.front() ? "" : between) + text_of(member);
  return text;
}

// A table of bars, and below it what the marks in it mean.
class RankingTable {
 public:
  RankingTable(std::vector<BarTable::Column> columns, std::size_t bar_at, double base)
      : table_(std::move(columns), bar_at), base_(base) {}

  // Without ends the row's last cell is words.
  void add(std::vector<std::string> row, const Ends& ends = kNoEnds) {
    table_.add(std::move(row));
    ends_.push_back(ends);
  }
  std::string base_mark(const model::StepFacts& facts) {
    if (!facts.leaves_out_base) return {};
    explain("* never at its base value; its effect from the base may be larger");
    return "*";
  }
  std::string failed_mark(const model::StepFacts& facts) {
    if (facts.failed == 0) return {};
    explain("No number: results that are errors, texts or empty; low and high are without them");
    return std::to_string(facts.failed) + " of " + std::to_string(facts.steps);
  }
  void explain(const std::string& mark) {
    if (std::find(legend_.begin(), legend_.end(), mark) == legend_.end()) legend_.push_back(mark);
  }

  void print() {
    const Bars bars(base_, ends_, table_.fit(terminal_width()), terminal_is_utf8());
    std::cout << table_.text([&](std::size_t row) { return bars.draw(ends_[row]); });
    for (const std::string& line : legend_) std::cout << "  " << line << '\n';
  }

 private:
  BarTable table_;
  double base_;
  std::vector<Ends> ends_;
  std::vector<std::string> legend_;
};

std::string failure_text(const model::StepFacts& facts) {
  return facts.steps == 1 ? "its only result is no number"
                          : "none of its " + std::to_string(facts.steps) + " results is a number";
}

// The results over the input's values, as a line of small bars.
std::string spark_line(const model::InputAnswers& answers) {
  constexpr const char* kBars[] = {"\u2581", "\u2582", "\u2583", "\u2584",
                                   "\u2585", "\u2586", "\u2587", "\u2588"};
  constexpr double kHighest = std::size(kBars) - 1;
  const model::StepCurve& curve = answers.curve;
  if (!terminal_is_utf8() || answers.swing == 0 || curve.size() < 2) return {};
  std::string text;
  for (const model::StepPoint& point : curve) {
    const double height = (point.output / 2 - answers.least / 2) / (answers.greatest / 2 - answers.least / 2);
    text += kBars[std::lround(height * kHighest)];
  }
  return text;
}

std::string break_even_text(const model::InputAnswers& answers, const embedded::CellText& cell) {
  std::string text;
  for (const model::Crossing& crossing : answers.break_even.reached)
    text += (text.empty() ? "" : " / ") +
            (cell.is_general() ? text::general_number(crossing.input, kDigits) : cell.text(crossing.input));
  return text;
}

std::string figure_text(const std::optional<double>& figure) {
  return figure ? text::general_number(*figure, kShortDigits) : "";
}

std::string percent_text(const std::optional<double>& share) {
  return share ? text::fixed_number(*share * 100, 1) + "%" : "";
}

void print_inputs(const runfile::Run& run, const OutputRanking& ranking, const Figures& figures,
                  model::SortBy sort) {
  RankingTable table({{.heading = "", .gap = 2},
                      {.heading = "Input", .name = true},
                      {.heading = "", .left = true},
                      {.heading = "Low", .gap = 2},
                      {.heading = "High", .left = true},
                      {.heading = "Low %", .gap = 2, .optional = 1},
                      {.heading = "High %", .optional = 1},
                      {.heading = "Input at low", .gap = 2, .optional = 2},
                      {.heading = "at high", .gap = 2, .optional = 2},
                      {.heading = "Share", .gap = 2, .optional = 3},
                      {.heading = "Shape", .gap = 2, .left = true, .optional = 3},
                      {.heading = "Elasticity", .gap = 2, .optional = 4},
                      {.heading = "Break-even", .gap = 2, .optional = 4},
                      {.heading = "No number", .gap = 2}},
                     4, ranking.base);
  // A share of a date means nothing.
  const auto change = [&](double fraction) {
    return figures.shows_dates() || !is_there(fraction) ? std::string() : change_text(fraction);
  };
  for (const std::size_t position : model::sorted_by(sort, ranking.answers.inputs)) {
    const Effect& effect = ranking.effects[position];
    const model::InputAnswers& answers = ranking.answers.inputs[position];
    std::vector<std::string> row{std::to_string(effect.rank), printable(effect.input),
                                 table.base_mark(effect.facts)};
    if (!is_there(effect.low) || effect.facts.without_effect()) {
      row.push_back(is_there(effect.low) ? "no effect" : failure_text(effect.facts));
      table.add(std::move(row));
      continue;
    }
    const embedded::CellText cell(input_of(run, effect));
    const auto at = [&](double value) { return is_there(value) ? cell.text(value) : "-"; };
    for (const std::string& text :
         {figures.text(effect.low), figures.text(effect.high), change(effect.low_change),
          change(effect.high_change), at(effect.input_at_low), at(effect.input_at_high),
          percent_text(answers.share), spark_line(answers), figure_text(answers.elasticity),
          break_even_text(answers, cell), table.failed_mark(effect.facts)})
      row.push_back(printable(text));
    table.add(std::move(row), {effect.low, effect.high});
  }
  table.print();
}

// Every step of every input.
void print_steps(const runfile::Run& run, const OutputRanking& ranking, const Figures& figures,
                 const exchange::RankingStyle& style) {
  for (const std::size_t position : model::sorted_by(style.sort, ranking.answers.inputs)) {
    const Effect& effect = ranking.effects[position];
    const runfile::Input& input = input_of(run, effect);
    const embedded::CellText cell(input);
    std::cout << "\n  " << inked(printable(described(effect.input, input)), Ink::kHeading) << '\n';
    std::vector<std::pair<std::string, std::string>> lines;
    int widest = 0, widest_result = 0;
    for (const exchange::Step& step : steps_of(run, ranking, effect, style.simulation)) {
      lines.emplace_back(printable(is_there(step.input) ? cell.text(step.input) : "-"),
                         printable(is_there(step.output) ? figures.text(step.output) : "no number"));
      widest = std::max(widest, unicode::display_width(lines.back().first));
      widest_result = std::max(widest_result, unicode::display_width(lines.back().second));
    }
    for (const auto& [value, result] : lines)
      std::cout << "    " << fitted(value, widest, unicode::Side::kRight) << "  "
                << fitted(result, widest_result, unicode::Side::kRight) << '\n';
  }
}

// In lines as long as the terminal is wide.
void print_wrapped(const std::string& text) {
  constexpr std::string_view kMargin = "  ";
  std::string line(kMargin);
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const bool fits = unicode::display_width(line) + 1 + unicode::display_width(word) <= terminal_width();
    if (line != kMargin && !fits) {
      std::cout << line << '\n';
      line = kMargin;
    }
    line += (line == kMargin ? "" : " ") + word;
  }
  std::cout << line << "\n";
}

// The interaction of a group, or a dash with the reason why there is none.
std::string interaction_text(const GroupRanking& group, const Figures& figures, RankingTable& table) {
  using enum model::InteractionState;
  switch (group.interaction_state) {
    case kMeasured:
      break;
    case kNoOwnSwing:
      table.explain("no own swing: an input has no result of its own to compare with");
      return "- no own swing";
    case kOtherValues:
      table.explain("other values: an input took other values alone than in the group");
      return "- other values";
    case kErrors:
      table.explain("errors: results that are no numbers cut one of the swings");
      return "- errors";
  }
  return figures.difference(group.interaction);
}

void print_groups(const OutputRanking& ranking, const Figures& figures) {
  RankingTable table({{.heading = "", .gap = 2},
                      {.heading = "Varied together", .name = true},
                      {.heading = "", .left = true},
                      {.heading = "Low", .gap = 2, .optional = 1},
                      {.heading = "High", .left = true, .optional = 1},
                      {.heading = "Swing", .gap = 2},
                      {.heading = "Own swings", .gap = 2},
                      {.heading = "Interaction", .gap = 2},
                      {.heading = "No number", .gap = 2}},
                     4, ranking.base);
  const std::size_t shown = std::min(ranking.groups.size(), kMostGroups);
  for (std::size_t g = 0; g < shown; ++g) {
    const GroupRanking& group = ranking.groups[g];
    const std::string names = joined(group, terminal_is_utf8() ? kBetweenMembers : kAsciiBetweenMembers,
                                     [](const GroupRanking::Member& member) { return member.input; });
    std::vector<std::string> row{std::to_string(group.rank), printable(names), table.base_mark(group.facts)};
    if (!is_there(group.low)) {
      row.push_back(failure_text(group.facts));
      table.add(std::move(row));
      continue;
    }
    for (const std::string& text : {figures.text(group.low), figures.text(group.high),
                                    figures.difference(group.swing), figures.difference(group.own_swings),
                                    interaction_text(group, figures, table), table.failed_mark(group.facts)})
      row.push_back(printable(text));
    table.add(std::move(row), {group.low, group.high});
  }
  std::cout << '\n';
  table.print();
  if (const std::size_t more = ranking.groups.size() - shown; more > 0)
    std::cout << "  and " << more << " more; --csv and --json give them all\n";
}

}  // namespace

void print_table(const runfile::Run& run, const OutputRanking& ranking, const exchange::RankingStyle& style) {
  const runfile::Output& output = output_of(run, ranking);
  const Figures figures(output, ranking);
  std::cout << inked(printable(described(ranking.output, output)), Ink::kHeading) << "\n  "
            << (is_there(ranking.base) ? "base value " + printable(figures.text(ranking.base))
                                       : "its base value is no number")
            << '\n';
  print_wrapped(printable(ranking.sentence));
  std::cout << '\n';
  print_inputs(run, ranking, figures, style.sort);
  if (!ranking.groups.empty()) print_groups(ranking, figures);
  if (style.steps) print_steps(run, ranking, figures, style);
}

}  // namespace ordvane::cli
