#include "cli/output_choice.h"

#include <numeric>

#include "cli/commands.h"
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

std::int32_t find_output(const runfile::Run& run, const std::string& wanted) {
  const Positions found = embedded::outputs_named(run, wanted);
  if (found.size() == 1) return found.front();
  const std::string begin = "--output: \"" + printable(wanted) + "\" ";
  if (found.empty()) {
    Positions all(run.outputs.size());
    std::iota(all.begin(), all.end(), 0);
    throw BadArguments(begin + "is no output of the run. Its outputs are:" + listed(run, all));
  }
  throw BadArguments(
      begin + "names more than one output:" + listed(run, found) +
      "\nName the cell with its sheet, as in \"Sheet!C14\", and its workbook if need be, as in "
      "\"[book.xlsx]Sheet!C14\".");
}

}  // namespace

std::vector<std::int32_t> find_outputs(const runfile::Run& run, const std::vector<std::string>& wanted) {
  std::vector<std::int32_t> positions;
  positions.reserve(wanted.size());
  for (const std::string& each : wanted) positions.push_back(find_output(run, each));
  return positions;
}

}  // namespace ordvane::cli
