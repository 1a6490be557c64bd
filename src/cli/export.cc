// ordvane export: a run as a table for other programs.
#include <iostream>
#include <memory>
#include <utility>

#include "cli/commands.h"
#include "cli/new_file.h"
#include "cli/option_values.h"
#include "exchange/ranking.h"
#include "exchange/run_copy.h"
#include "exchange/steps.h"
#include "xlsx/whole_file.h"

namespace ordvane::cli {
namespace {

exchange::Form form_of(const ExportCommand& command) {
  if (command.form == ExportForm::kJson) return exchange::Form::kJson;
  if (command.form == ExportForm::kNdjson) return exchange::Form::kNdjson;
  if (command.form) return exchange::Form::kCsv;
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
    case Exported::kRun:
      return;  // is files of its own
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

// A run that is written is all of it.
void check_run_copy(const ExportCommand& command, Problems& problems) {
  if (command.file.empty())
    problems.add("-o: --what run writes files; name one that ends in " + std::string(kRunEnding));
  else
    problems.gather([&] { check_new_file("-o", command.file, kRunEnding, command.overwrite); });
  if (command.form && command.form != ExportForm::kCsv && command.form != ExportForm::kBinary)
    problems.add("--as: the values of a run are csv or binary");
  for (const auto& [given, option] : {std::pair(!command.outputs.empty(), "--output"),
                                      std::pair(command.simulation.has_value(), "--simulation"),
                                      std::pair(command.target.has_value(), "--target")})
    if (given) problems.add(std::string(option) + ": goes without --what run, which is all of it");
}

}  // namespace

int export_run(const ExportCommand& command, Problems& problems) {
  const auto run = read_run(command.run, problems, {.keeps_texts = true});
  std::vector<std::int32_t> outputs;
  if (run) outputs = chosen_outputs(*run, command.outputs, command.simulation.value_or(1), problems);
  if (run && !command.file.empty()) problems.gather([&] { embedded::check_apart(*run, command.file); });
  if (command.what == Exported::kRun)
    check_run_copy(command, problems);
  else if (command.form == ExportForm::kBinary)
    problems.add("--as: binary is for --what run");
  else if (!command.file.empty())
    problems.gather([&] { check_new_file("-o", command.file, "", command.overwrite); });
  problems.refuse_any();
  const auto write = [&](const exchange::Write& piece) { write_text(command, run, outputs, piece); };
  if (command.what == Exported::kRun) {
    const bool binary = command.form == ExportForm::kBinary;
    exchange::write_copy(*run, command.file, binary ? sweep::TableForm::kBinary : sweep::TableForm::kCsv,
                         command.overwrite);
  } else if (command.file.empty()) {
    write([](std::string_view text) { std::cout << text; });
  } else {
    xlsx::WholeFileOptions options;
    options.replace = command.overwrite;
    xlsx::write_whole_pieces(command.file, write, options);
  }
  return kDone;
}

}  // namespace ordvane::cli
