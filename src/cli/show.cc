// ordvane show: the ranking of a run's inputs, as a table with bars or as data for programs.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/bars.h"
#include "cli/commands.h"
#include "cli/figures.h"
#include "cli/output_choice.h"
#include "cli/terminal.h"
#include "embedded/report_job.h"

namespace ordvane::cli {
namespace {

using embedded::Effect;
using embedded::OutputRanking;
using nlohmann::ordered_json;

const runfile::Output& output_of(const runfile::Run& run, const OutputRanking& ranking) {
  return run.outputs[static_cast<std::size_t>(ranking.output_index)];
}

const runfile::Input& input_of(const runfile::Run& run, const Effect& effect) {
  return run.inputs[static_cast<std::size_t>(effect.input_index)];
}

double swing_of(const Effect& effect) {
  return is_there(effect.low) ? effect.high - effect.low : host::kMissingNumber;
}

// ---- For programs ----

ordered_json json_number(double value) {
  return is_there(value) ? ordered_json(value) : ordered_json();
}

ordered_json json_item(const runfile::Item& item) {
  return {{"name", item.name}, {"book", item.book}, {"sheet", item.sheet}, {"cell", item.cell}};
}

ordered_json json_effect(const runfile::Run& run, const Effect& effect) {
  ordered_json json{{"rank", effect.rank}};
  json.update(json_item(input_of(run, effect)));
  json["low"] = json_number(effect.low);
  json["high"] = json_number(effect.high);
  json["swing"] = json_number(swing_of(effect));
  json["lowChange"] = json_number(effect.low_change);
  json["highChange"] = json_number(effect.high_change);
  json["inputAtLow"] = json_number(effect.input_at_low);
  json["inputAtHigh"] = json_number(effect.input_at_high);
  return json;
}

void print_json(const runfile::Run& run, const std::vector<OutputRanking>& rankings,
                std::int32_t simulation) {
  ordered_json outputs = ordered_json::array();
  for (const OutputRanking& ranking : rankings) {
    ordered_json json = json_item(output_of(run, ranking));
    json["base"] = json_number(ranking.base);
    json["inputs"] = ordered_json::array();
    for (const Effect& effect : ranking.effects) json["inputs"].push_back(json_effect(run, effect));
    outputs.push_back(std::move(json));
  }
  const ordered_json json{{"run", run.file.string()}, {"simulation", simulation}, {"outputs", outputs}};
  std::cout << json.dump(2, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

std::string csv_text(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char letter : text) quoted += letter == '"' ? std::string("\"\"") : std::string(1, letter);
  return quoted + '"';
}

// The shortest text that reads back as the same number; nothing for a missing one.
std::string csv_number(double value) {
  if (!is_there(value)) return {};
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

void print_csv(const runfile::Run& run, const std::vector<OutputRanking>& rankings) {
  std::cout << "output,outputSheet,outputCell,base,rank,input,inputSheet,inputCell,low,high,swing,lowChange,"
               "highChange,inputAtLow,inputAtHigh\n";
  for (const OutputRanking& ranking : rankings) {
    const runfile::Output& output = output_of(run, ranking);
    for (const Effect& effect : ranking.effects) {
      const runfile::Input& input = input_of(run, effect);
      std::cout << csv_text(output.name) << ',' << csv_text(output.sheet) << ',' << csv_text(output.cell)
                << ',' << csv_number(ranking.base) << ',' << effect.rank << ',' << csv_text(input.name) << ','
                << csv_text(input.sheet) << ',' << csv_text(input.cell);
      for (const double value : {effect.low, effect.high, swing_of(effect), effect.low_change,
                                 effect.high_change, effect.input_at_low, effect.input_at_high})
        std::cout << ',' << csv_number(value);
      std::cout << '\n';
    }
  }
}

// ---- For people ----

constexpr int kFewestBarColumns = 12;
constexpr int kMostBarColumns = 64;
constexpr int kFewestNameColumns = 12;

struct Row {
  std::string rank, name, low, high, low_change, high_change;
};

// Widths of the table's columns; the bar takes what the others leave.
struct Widths {
  int rank, name, low, high, low_change, high_change, bar;
  bool changes;
};

int widest(const std::vector<Row>& rows, std::string Row::*column) {
  int width = 0;
  for (const Row& row : rows) width = std::max(width, display_width(row.*column));
  return width;
}

Widths widths_of(const std::vector<Row>& rows) {
  const int total = terminal_width();
  Widths w{};
  w.rank = widest(rows, &Row::rank);
  w.low = widest(rows, &Row::low);
  w.high = widest(rows, &Row::high);
  w.low_change = widest(rows, &Row::low_change);
  w.high_change = widest(rows, &Row::high_change);
  w.name = std::min(widest(rows, &Row::name), std::max(total / 3, kFewestNameColumns));
  const int figures = 2 + w.rank + 1 + w.name + 2 + w.low + 1 + 1 + w.high;
  const int changes = 2 + w.low_change + 1 + w.high_change;
  w.changes = total - figures - changes >= kFewestBarColumns;
  w.bar = std::clamp(total - figures - (w.changes ? changes : 0), kFewestBarColumns, kMostBarColumns);
  return w;
}

std::string line_of(const Row& row, const Widths& w, const std::string& bar) {
  std::string line = "  " + fitted(row.rank, w.rank, true) + " " + fitted(row.name, w.name) + "  " +
                     fitted(row.low, w.low, true) + " " + bar + " " + fitted(row.high, w.high);
  if (w.changes)
    line += "  " + fitted(row.low_change, w.low_change, true) + " " +
            fitted(row.high_change, w.high_change, true);
  line.resize(line.find_last_not_of(' ') + 1);
  return line;
}

void print_table(const runfile::Run& run, const OutputRanking& ranking) {
  const runfile::Output& output = output_of(run, ranking);
  const Figures figures(output, ranking);
  std::vector<Row> rows{{"", "Input", "Low", "High", "Low %", "High %"}};
  const auto change = [&](double fraction) { return output.date ? "-" : change_text(fraction); };
  for (const Effect& effect : ranking.effects) {
    rows.push_back({std::to_string(effect.rank), printable(effect.input), figures.text(effect.low),
                    figures.text(effect.high), change(effect.low_change), change(effect.high_change)});
  }
  const Widths w = widths_of(rows);
  const Bars bars(ranking, w.bar, terminal_is_utf8());
  std::cout << printable(described(output)) << "\n  base value " << figures.text(ranking.base) << "\n\n"
            << line_of(rows.front(), w, std::string(static_cast<std::size_t>(w.bar), ' ')) << '\n';
  for (std::size_t i = 0; i < ranking.effects.size(); ++i)
    std::cout << line_of(rows[i + 1], w, bars.draw(ranking.effects[i])) << '\n';
}

}  // namespace

int show(const ShowCommand& command) {
  const auto run = std::make_shared<const runfile::Run>(runfile::read_run(command.run));
  if (command.simulation > run->simulations)
    throw BadArguments("--simulation: the run has simulations 1 to " + std::to_string(run->simulations));
  const auto rankings = embedded::rank_outputs(run, find_outputs(*run, command.outputs), command.simulation);
  switch (command.form) {
    case ShowForm::kJson:
      print_json(*run, rankings, command.simulation);
      break;
    case ShowForm::kCsv:
      print_csv(*run, rankings);
      break;
    case ShowForm::kTable:
      for (std::size_t i = 0; i < rankings.size(); ++i) {
        if (i > 0) std::cout << '\n';
        print_table(*run, rankings[i]);
      }
  }
  return kDone;
}

}  // namespace ordvane::cli
