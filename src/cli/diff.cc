// ordvane diff: what changed between two runs of a model.
#include <algorithm>
#include <cmath>
#include <iostream>

#include "cli/bar_table.h"
#include "cli/bars.h"
#include "cli/commands.h"
#include "cli/figures.h"
#include "cli/new_file.h"
#include "cli/option_values.h"
#include "cli/output_choice.h"
#include "cli/report_clock.h"
#include "cli/terminal.h"
#include "exchange/comparison.h"
#include "exchange/comparison_report.h"
#include "page/comparison_page.h"

namespace ordvane::cli {
namespace {

using exchange::ComparedInput;
using exchange::ComparedOutput;
using exchange::Comparison;
using exchange::Fate;
using exchange::FigurePair;
using exchange::is_as_before;
using exchange::ItemPair;

constexpr std::size_t kMostRows = 40;  // of an output; programs get them all
constexpr const char* kTo = " -> ";

double or_missing(const std::optional<double>& value) {
  return value.value_or(host::kMissingNumber);
}

std::string place_of(const runfile::Item& item) {
  return item.sheet + "!" + item.cell;
}

std::string share_text(const FigurePair& pair) {
  return pair.share() ? change_text(*pair.share()) : "";
}

// "added Curtailment (Site!B9)", "renamed ...": nothing for an item that is as it was.
std::string fate_text(const ItemPair& pair) {
  const std::string name = embedded::described(pair.name, pair.item());
  switch (pair.fate) {
    case Fate::kSame:
      return {};
    case Fate::kRenamed:
      return "renamed   " + pair.name_before + kTo + name;
    case Fate::kRelocated:
      return "moved     " + name + ", was in " + place_of(*pair.before);
    case Fate::kAdded:
      return "added     " + name;
    case Fate::kGone:
      return "gone      " + name;
  }
  return {};
}

void print_line(const std::string& text) {
  std::cout << "  " << printable(text) << '\n';
}

// What became of the inputs and outputs themselves, and base values of inputs.
void print_items(const Comparison& comparison) {
  bool any = false;
  const auto head = [&](const char* heading) {
    if (!any) std::cout << '\n' << heading << '\n';
    any = true;
  };
  for (const exchange::InputPair& input : comparison.inputs) {
    if (const std::string text = fate_text(input.item); !text.empty()) {
      head("Inputs");
      print_line(text);
    }
    if (!input.item.before || !input.item.now || !input.base.differs()) continue;
    head("Inputs");
    const auto at = [](const runfile::Item& item, const std::optional<double>& value) {
      return value ? embedded::CellText(item).text(*value) : std::string("no number");
    };
    print_line("base      " + input.item.name + " " + at(*input.item.before, input.base.before) + kTo +
               at(*input.item.now, input.base.now) + " " + share_text(input.base));
  }
  any = false;
  for (const ComparedOutput& output : comparison.outputs)
    if (const std::string text = fate_text(output.item); !text.empty()) {
      head("Outputs");
      print_line(text);
    }
}

class DiffTable {
 public:
  DiffTable(const Comparison& comparison, const Figures& figures)
      : comparison_(comparison),
        figures_(figures),
        table_({{.heading = "Rank", .gap = 2},
                {.heading = "was", .gap = 1},
                {.heading = "Input", .gap = 2, .name = true},
                {.heading = "Swing was", .gap = 2},
                {.heading = "Swing"},
                {.heading = "Change", .gap = 2}},
               3) {}

  void add(const ComparedInput& input) {
    const auto rank = [](const std::optional<std::int32_t>& value) {
      return value ? std::to_string(*value) : std::string("-");
    };
    const auto swing = [&](const std::optional<double>& value) {
      return figures_.difference(or_missing(value));
    };
    table_.add({rank(input.rank), rank(input.rank_before),
                printable(comparison_.inputs[input.input].item.name), printable(swing(input.swing.before)),
                printable(swing(input.swing.now)), share_text(input.swing)});
    const auto [least, most] = std::minmax({input.swing.before.value_or(0), input.swing.now.value_or(0)});
    ends_.push_back({least, most});
  }

  // The bars: from the swing that was to the swing that is, on one scale.
  void print() {
    const Bars bars(0.0, ends_, table_.fit(terminal_width()), terminal_is_utf8());
    std::cout << table_.text([&](std::size_t row) { return bars.draw(ends_[row]); });
  }

 private:
  const Comparison& comparison_;
  const Figures& figures_;
  BarTable table_;
  std::vector<Ends> ends_;
};

// Where the inputs bring the output to its target, when that is elsewhere than it was.
void print_break_evens(const Comparison& comparison, const ComparedOutput& output) {
  for (const ComparedInput& input : output.inputs) {
    if (!input.rank || !input.rank_before || input.break_even == input.break_even_before) continue;
    const ItemPair& item = comparison.inputs[input.input].item;
    const auto listed = [&](const runfile::Item& of, const std::vector<double>& values) {
      std::string text;
      for (const double value : values)
        text += (text.empty() ? "" : ", ") + embedded::CellText(of).text(value);
      return text.empty() ? std::string("none") : text;
    };
    print_line("break-even of " + item.name + " " + listed(*item.before, input.break_even_before) + kTo +
               listed(*item.now, input.break_even));
  }
}

void print_output(const Comparison& comparison, const ComparedOutput& output,
                  const embedded::OutputRanking& ranking) {
  const auto& item = static_cast<const runfile::Output&>(output.item.item());
  const Figures figures(item, ranking);
  std::cout << '\n' << printable(embedded::described(output.item.name, item)) << '\n';
  const std::string now = figures.text(or_missing(output.base.now));
  if (output.base.differs())
    print_line("base value " + figures.text(or_missing(output.base.before)) + kTo + now + " " +
               share_text(output.base));
  else
    print_line("base value " + now + ", as before");
  DiffTable table(comparison, figures);
  std::size_t shown = 0;
  std::size_t as_before = 0;
  std::size_t more = 0;
  for (const ComparedInput& input : output.inputs) {
    if (is_as_before(input)) {
      ++as_before;
    } else if (shown == kMostRows) {
      ++more;
    } else {
      if (shown == 0) std::cout << '\n';
      table.add(input);
      ++shown;
    }
  }
  if (shown > 0) table.print();
  print_break_evens(comparison, output);
  if (more > 0) print_line("and " + std::to_string(more) + " more; --json has them all");
  if (as_before > 0)
    print_line(std::to_string(as_before) +
               (as_before == 1 ? " input is as before" : " inputs are as before"));
}

void print_comparison(const Comparison& comparison) {
  std::cout << printable(comparison.before->file.string()) << kTo << printable(comparison.now->file.string())
            << '\n';
  print_items(comparison);
  std::vector<std::string> as_before;
  for (std::size_t at = 0; at < comparison.rankings.size(); ++at) {
    const ComparedOutput& output = comparison.outputs[at];
    if (!output.item.before) continue;
    if (is_as_before(output))
      as_before.push_back(embedded::described(output.item.name, output.item.item()));
    else
      print_output(comparison, output, comparison.rankings[at]);
  }
  if (as_before.empty()) return;
  std::cout << "\nAs before\n";
  for (const std::string& name : as_before) print_line(name);
}

// What is too much, and the exit code that says so.
int judged(const Comparison& comparison, const DiffCommand& command) {
  if (!command.fail_over) return kDone;
  const auto moved = exchange::moved_more_than(comparison, *command.fail_over);
  if (moved.empty()) return kDone;
  std::cerr << "ordvane: " << moved.size() << (moved.size() == 1 ? " figure" : " figures")
            << " moved more than " << change_text(*command.fail_over).substr(1) << ":\n";
  for (const std::string& line : moved) std::cerr << "  " << printable(line) << '\n';
  return kFailed;
}

}  // namespace

int diff(const DiffCommand& command, Problems& problems) {
  if (!command.before.empty() && command.now.empty())
    problems.add("NEW is required: name the run to compare with");
  const auto before = read_run(command.before, problems);
  const auto now = read_run(command.now, problems);
  for (const auto& run : {before, now}) {
    if (run && !command.workbook.empty())
      problems.gather([&] { embedded::check_apart(*run, command.workbook); });
    if (run && command.simulation > run->simulations)
      problems.add("--simulation: " + printable(run->file.string()) + " has simulations 1 to " +
                   std::to_string(run->simulations));
  }
  if (!command.workbook.empty())
    problems.gather([&] { check_new_report("-o", command.workbook, command.options.overwrite); });
  embedded::ReportOptions options = command.options;
  problems.gather([&] { options.clock = report_clock(); });
  problems.refuse_any();
  const Comparison comparison = exchange::compare(before, now, command.simulation);
  if (is_page(command.workbook))
    page::write_comparison(comparison, command.workbook, options);
  else if (!command.workbook.empty())
    exchange::write_comparison(comparison, command.workbook, options);
  if (command.json)
    std::cout << exchange::document_text(exchange::comparison_document(comparison));
  else
    print_comparison(comparison);
  return judged(comparison, command);
}

}  // namespace ordvane::cli
