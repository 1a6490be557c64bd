// ordvane export: a run as a table for other programs.
#include <iostream>
#include <memory>

#include "cli/commands.h"
#include "cli/new_file.h"
#include "cli/option_values.h"
#include "exchange/ranking.h"
#include "exchange/steps.h"
#include "xlsx/whole_file.h"

namespace ordvane::cli {
namespace {

exchange::Form form_of(const ExportCommand& command) {
  if (command.form) return *command.form;
  const std::string ending = command.file.extension().string();
  if (ending == ".json") return exchange::Form::kJson;
  return ending == ".ndjson" || ending == ".jsonl" ? exchange::Form::kNdjson : exchange::Form::kCsv;
}

void write_text(const ExportCommand& command, const std::shared_ptr<const runfile::Run>& run,
                const std::vector<std::int32_t>& outputs, const exchange::Write& write) {
  const exchange::TextForm form{form_of(command), command.texts};
  const std::int32_t simulation = command.simulation.value_or(1);
  const embedded::RankingOptions ranking{.simulation = simulation, .target = command.target};
  switch (command.what) {
    case Exported::kSteps:
      return exchange::write_steps(*run, outputs, command.simulation, form, write);
    case Exported::kTable:
      return exchange::write_table(*run, outputs, simulation, form, write);
    case Exported::kAnswers:
      return exchange::write_answers(*run, embedded::rank_outputs(run, outputs, ranking), form, write);
    case Exported::kRanking:
      return exchange::write_ranking(*run, embedded::rank_outputs(run, outputs, ranking), {simulation}, form,
                                     write);
  }
}

}  // namespace

int export_run(const ExportCommand& command, Problems& problems) {
  const auto run = read_run(command.run, problems, true);
  std::vector<std::int32_t> outputs;
  if (run) outputs = chosen_outputs(*run, command.outputs, command.simulation.value_or(1), problems);
  if (run && !command.file.empty()) problems.gather([&] { embedded::check_apart(*run, command.file); });
  if (!command.file.empty())
    problems.gather([&] { check_new_file("-o", command.file, "", command.overwrite); });
  problems.refuse_any();
  if (command.file.empty()) {
    write_text(command, run, outputs, [](std::string_view text) { std::cout << text; });
    return kDone;
  }
  xlsx::WholeFileOptions options;
  options.replace = command.overwrite;
  xlsx::write_whole_pieces(
      command.file, [&](const xlsx::WritePiece& write) { write_text(command, run, outputs, write); },
      options);
  return kDone;
}

}  // namespace ordvane::cli
