// ordvane show: the ranking of a run's inputs, as a table with bars or as data for programs.
#include <iostream>
#include <memory>

#include "cli/commands.h"
#include "cli/ranking_table.h"
#include "embedded/report_job.h"
#include "exchange/ranking.h"

namespace ordvane::cli {

int show(const ShowCommand& command, Problems& problems) {
  const auto run = read_run(command.run, problems);
  std::vector<std::int32_t> outputs;
  if (run) outputs = chosen_outputs(*run, command.outputs, command.simulation, problems);
  problems.refuse_any();
  const auto rankings = embedded::rank_outputs(run, outputs, command.simulation);
  if (command.form) {
    exchange::write_ranking(*run, rankings, command.simulation, {*command.form, command.texts},
                            [](std::string_view text) { std::cout << text; });
    return kDone;
  }
  for (std::size_t i = 0; i < rankings.size(); ++i) {
    if (i > 0) std::cout << '\n';
    print_table(*run, rankings[i]);
  }
  return kDone;
}

}  // namespace ordvane::cli
