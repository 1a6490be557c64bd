// ordvane show: the ranking of a run's inputs, as a table with bars or as data for programs.
#include <iostream>
#include <memory>

#include "cli/commands.h"
#include "cli/ranking_table.h"
#include "cli/terminal.h"
#include "embedded/report_job.h"
#include "exchange/ranking.h"

namespace ordvane::cli {
namespace {

std::string ranking_progress(std::size_t done, std::size_t of) {
  return "Ranking: " + std::to_string(done) + " of " + std::to_string(of) +
         (of == 1 ? " output" : " outputs");
}

}  // namespace

int show(const ShowCommand& command, Problems& problems) {
  const auto run = read_run(command.run, problems);
  std::vector<std::int32_t> outputs;
  if (run) outputs = chosen_outputs(*run, command.outputs, command.simulation, problems);
  if (command.steps && command.form == exchange::Form::kCsv)
    problems.add("--steps: goes without --csv; `ordvane export --what steps` writes them");
  problems.refuse_any();
  ProgressLine progress(true);
  const auto rankings = embedded::rank_outputs(
      run, outputs,
      {.simulation = command.simulation,
       .target = command.target,
       .progress = [&](std::size_t done, std::size_t of) { progress.show(ranking_progress(done, of)); }});
  progress.clear();
  const exchange::RankingStyle style{command.simulation, command.sort, command.steps};
  if (command.form) {
    exchange::write_ranking(*run, rankings, style, {*command.form, command.texts},
                            [](std::string_view text) { std::cout << text; });
    return kDone;
  }
  for (std::size_t i = 0; i < rankings.size(); ++i) {
    if (i > 0) std::cout << '\n';
    print_table(*run, rankings[i], style);
  }
  return kDone;
}

}  // namespace ordvane::cli
