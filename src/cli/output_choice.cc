#include "cli/output_choice.h"

#include <numeric>

#include "cli/problems.h"
#include "cli/terminal.h"

namespace ordvane::cli {
namespace {

constexpr std::size_t kMostCandidates = 20;

using Positions = std::vector<std::int32_t>;

std::string listed(const runfile::Run& run, const Positions& positions) {
  std::string text;
  for (std::size_t i = 0; i < positions.size() && i < kMostCandidates; ++i)
    text += "\n  " + printable(described(run.outputs[static_cast<std::size_t>(positions[i])]));
  if (positions.size() > kMostCandidates)
    text += "\n  and " + std::to_string(positions.size() - kMostCandidates) + " more";
  return text;
}

}  // namespace

std::vector<std::int32_t> find_outputs(const runfile::Run& run, const std::vector<std::string>& wanted) {
  std::vector<std::int32_t> positions;
  std::vector<std::string> problems;
  std::vector<std::string> unknown;
  for (const std::string& each : wanted) {
    const Positions found = embedded::outputs_named(run, each);
    if (found.size() == 1) positions.push_back(found.front());
    const std::string quoted = '"' + printable(each) + '"';
    if (found.empty()) unknown.push_back(quoted);
    if (found.size() > 1)
      problems.push_back(
          "--output: " + quoted + " names more than one output:" + listed(run, found) +
          "\n  Name the cell with its sheet, as in \"Sheet!C14\", and its workbook if need be, as in "
          "\"[book.xlsx]Sheet!C14\".");
  }
  if (!unknown.empty()) {
    std::string names;
    for (const std::string& name : unknown) names += (names.empty() ? "" : ", ") + name;
    Positions all(run.outputs.size());
    std::iota(all.begin(), all.end(), 0);
    problems.push_back("--output: " + names + (unknown.size() == 1 ? " is no output" : " are no outputs") +
                       " of the run. Its outputs are:" + listed(run, all));
  }
  if (!problems.empty()) throw BadArguments(problems);
  return positions;
}

}  // namespace ordvane::cli
