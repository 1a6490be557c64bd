// ordvane import: a table of another program in, a run out.
#include "exchange/import.h"

#include <iostream>

#include "cli/commands.h"
#include "cli/new_file.h"
#include "cli/option_values.h"
#include "cli/terminal.h"
#include "exchange/run_copy.h"
#include "exchange/table_file.h"

namespace ordvane::cli {
namespace {

std::vector<std::string> names_of(const char* option, const std::string& list) {
  if (list.empty()) return {};
  std::vector<std::string> names = exchange::names_in_list(list);
  if (names.empty())
    throw BadArguments(std::string(option) + ": \"" + printable(list) +
                       "\" is no list of columns; one such as A,B or A,\"B, net\" is expected");
  return names;
}

std::string counted(std::int64_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string summary(const exchange::ImportedRun& imported) {
  const runfile::Run& run = imported.run;
  std::int64_t steps = 0;
  for (const runfile::Input& input : run.inputs) steps += input.steps;
  std::string text = counted(static_cast<std::int64_t>(run.inputs.size()), "input") + " with " +
                     counted(steps, "step") + ", " +
                     counted(static_cast<std::int64_t>(run.outputs.size()), "output");
  if (!run.groups.empty())
    text +=
        ", " + counted(static_cast<std::int64_t>(run.groups.size()), "group") + " of inputs varied together";
  text += "; the base case is row " + std::to_string(imported.base_line) + "\n";
  if (imported.never_varied.empty()) return text;
  text += "Never varied, and left out: ";
  for (const std::string& name : imported.never_varied)
    text += (&name == &imported.never_varied.front() ? "" : ", ") + printable(name);
  return text + "\n";
}

// A run beside its table may have the same names.
void check_apart(const std::filesystem::path& table, const std::filesystem::path& run,
                 sweep::TableForm form) {
  const sweep::RunFiles files = sweep::files_of_run(run, form);
  for (const std::filesystem::path& file : {files.singles, files.groups, files.run}) {
    std::error_code error;  // files that are not there are none
    if (std::filesystem::equivalent(file, table, error))
      throw BadArguments("-o: " + printable(file.string()) +
                         " of the run is the table itself; name another run");
  }
}

}  // namespace

int import_run(const ImportCommand& command, Problems& problems) {
  const std::filesystem::path file =
      command.run.empty() ? std::filesystem::path(command.table.stem().string() + kRunEnding) : command.run;
  exchange::ImportOptions options;
  problems.gather([&] { options.inputs = names_of("--inputs", command.inputs); });
  problems.gather([&] { options.outputs = names_of("--outputs", command.outputs); });
  options.base_line = command.base_line;
  if (!command.table.empty()) {
    problems.gather([&] { check_new_file("-o", file, kRunEnding, command.overwrite); });
    problems.gather([&] { check_apart(command.table, file, command.form); });
  }
  problems.refuse_any();
  exchange::ImportedRun imported;
  problems.gather([&] { imported = exchange::import_table(command.table, options); });
  problems.refuse_any();
  exchange::write_copy(imported.run, file, command.form, command.overwrite);
  std::cout << printable(file.string()) << ": " << summary(imported);
  return kDone;
}

}  // namespace ordvane::cli
