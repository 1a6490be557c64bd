#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "embedded/report_job.h"
#include "exchange/comparison_report.h"
#include "exchange/import.h"
#include "exchange/ranking.h"
#include "exchange/run_copy.h"
#include "exchange/steps.h"
#include "exchange/table_file.h"
#include "fuzz/choices.h"
#include "fuzz/harnesses.h"
#include "fuzz/scratch.h"
#include "page/comparison_page.h"
#include "page/page.h"
#include "runfile/describe.h"
#include "runfile/json_tree.h"
#include "sweep/part.h"

namespace ordvane::fuzz {
namespace {

// What more values show, fewer do, and they take less time.
constexpr std::size_t kMostReported = 4000, kMostAnswered = 1000;

using RunPointer = std::shared_ptr<const runfile::Run>;

std::size_t values_of(const runfile::Run& run) {
  return run.output_values.size() + run.group_output_values.size();
}

// Behind it stands what is chosen for reports, or another run.
constexpr std::string_view kBehindRun = "\n#####\n";

// Nothing for what is refused. `name`: of the run file.
RunPointer run_of(std::string_view bytes, bool keeps_texts, const char* name = "a.run.json") {
  const auto [description, table] = halves(bytes);
  const std::filesystem::path file = scratch(name, description);
  for (const char* beside : {"a.run.csv", "a.run.bin"}) scratch(beside, table);
  try {
    return std::make_shared<const runfile::Run>(runfile::read_run(file, {.keeps_texts = keeps_texts}));
  } catch (const runfile::BadRun&) {
    return nullptr;
  }
}

void copy(const runfile::Run& run) {
  for (const sweep::TableForm form : {sweep::TableForm::kCsv, sweep::TableForm::kBinary}) {
    const std::filesystem::path file = scratch("copy.run.json");
    exchange::write_copy(run, file, form, true);
    must_be_readable(file);
  }
}

// What is given to other programs; JSON must be what it says to be.
void tell(const RunPointer& run) {
  const std::int32_t simulation = run->simulations;
  const auto rankings = embedded::rank_outputs(run, {}, {.simulation = simulation});
  for (const exchange::Form form : {exchange::Form::kCsv, exchange::Form::kJson, exchange::Form::kNdjson}) {
    std::vector<std::string> texts(4);
    const auto into = [&](std::size_t at) {
      return [&texts, at](std::string_view piece) { texts[at] += piece; };
    };
    const exchange::RankingStyle style{simulation, model::SortBy::kSwing, form == exchange::Form::kJson};
    exchange::write_ranking(*run, rankings, style, {form}, into(0));
    exchange::write_answers(*run, rankings, {form}, into(1));
    exchange::write_steps(*run, {}, {}, {form}, into(2));
    exchange::write_table(*run, {}, simulation, {form}, into(3));
    if (form != exchange::Form::kJson) continue;
    for (const std::string& text : texts) runfile::parse_json(text, "what was written");
  }
}

}  // namespace

void try_run_file(std::string_view bytes) {
  if (const auto run = run_of(bytes, false)) runfile::describe(*run);
}

void try_reports(std::string_view bytes) {
  const auto [files, choices] = halves(bytes, kBehindRun);
  const auto run = run_of(files, false);
  if (!run || values_of(*run) > kMostReported) return;
  if (!is_well_formed(embedded::pack_reports(run, report_options(*run, choices)).bytes))
    throw std::logic_error("reports that are no XML");
}

void try_answers(std::string_view bytes) {
  const auto [first, others] = halves(bytes, kBehindRun);
  const auto [second, choices] = halves(others, kBehindRun);
  const auto run = run_of(first, true);
  if (!run || values_of(*run) > kMostAnswered) return;
  copy(*run);
  tell(run);
  page::write_page(run, scratch("a.html"), report_options(*run, choices));
  const auto other = run_of(second, true, "b.run.json");
  if (!other || values_of(*other) > kMostAnswered) return;
  const exchange::Comparison comparison = exchange::compare(run, other, 1);
  exchange::moved_more_than(comparison, 0.01);
  runfile::parse_json(exchange::document_text(exchange::comparison_document(comparison)), "a comparison");
  const embedded::ReportOptions options = report_options(*other, choices);
  exchange::write_comparison(comparison, scratch("changes.xlsx"), options);
  page::write_comparison(comparison, scratch("changes.html"), options);
}

void try_table(std::string_view bytes) {
  const auto [names, table] = halves(bytes);
  const auto [inputs, outputs] = halves(names, "\n");
  const auto [output_names, base] = halves(outputs, "\n");
  exchange::ImportOptions options;
  options.inputs = exchange::names_in_list(std::string(inputs));
  options.outputs = exchange::names_in_list(std::string(output_names));
  if (!base.empty()) options.base_line = std::atoi(std::string(base).c_str());
  std::optional<exchange::ImportedRun> imported;
  try {
    imported = exchange::import_table(scratch("a.csv", table), options);
  } catch (const runfile::BadRun&) {
    return;
  }
  copy(imported->run);
}

void try_parts(std::string_view bytes) {
  std::vector<std::filesystem::path> parts;
  for (const char* name : {"part-1", "part-2", "part-3"}) {
    const auto [part, others] = halves(bytes);
    parts.push_back(scratch(name, part));
    bytes = others;
    if (bytes.empty()) break;
  }
  const std::filesystem::path run = scratch("merged.run.json");
  for (const sweep::TableForm form : {sweep::TableForm::kCsv, sweep::TableForm::kBinary}) {
    try {
      sweep::merge_parts(parts, run, {.replace = true, .form = form});
    } catch (const runfile::BadRun&) {
      return;
    }
    must_be_readable(run);
  }
}

}  // namespace ordvane::fuzz
