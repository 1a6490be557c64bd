#include "embedded/report_job.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "embedded/embedded_environment.h"
#include "embedded/report_saving.h"
#include "embedded/report_target.h"
#include "embedded/selected_outputs.h"
#include "environment/string_table.h"
#include "host/side_by_side.h"
#include "runfile/recorded_engine.h"
#include "runfile/sources.h"
#include "service/ordvane_reports.h"
#include "unicode/names.h"
#include "xlsx/graft.h"

namespace ordvane::embedded {
namespace {

constexpr std::int32_t kVariableSet = 1;  // any handle names the one run

std::int16_t largest_group(const runfile::Run& run) {
  std::size_t members = 0;
  for (const runfile::Group& group : run.groups) members = std::max(members, group.members.size());
  return static_cast<std::int16_t>(members);
}

enum class TargetBook { kNew, kActive };

void aim(service::OrdvaneReports& reports, TargetBook target, bool overwrite) {
  reports.set_ReportsInNewWorkbook(target == TargetBook::kNew);
  reports.set_ReportsInExistingWorkbook(target == TargetBook::kActive);
  if (target == TargetBook::kNew) return;
  reports.ReportsInExistingWorkbookName = "Active Workbook";
  reports.set_OverwriteExisting(overwrite);
}

// Drives the report service as the add-in does: create, set, Initialize, watermark, reports, Terminate.
std::shared_ptr<const office::BookModel> make(const std::shared_ptr<const runfile::Run>& run,
                                              const ReportOptions& options, TargetBook target,
                                              const std::shared_ptr<office::OfficeApplication>& application,
                                              const std::shared_ptr<EmbeddedEnvironment>& environment) {
  const auto selected = selected_outputs(*run, options.outputs);
  const environment::Language& language = environment::language(options.language);
  application->set_number_symbols({std::string(1, language.decimal_separator), language.group_separator});
  const auto services = std::make_shared<service::Services>();
  services->session.environment = environment;
  services->session.engine = runfile::make_recorded_engine(run);

  service::OrdvaneReports reports(services);
  reports.settings = options;
  for (std::size_t output = 0; output < run->outputs.size(); ++output)
    reports.settings.output_targets.push_back(own_target(*run, output));
  reports.DefaultMultiGroupSize = largest_group(*run);
  aim(reports, target, options.overwrite);
  reports.Initialize(application, kVariableSet);
  reports.set_WatermarkText(options.watermark);
  reports.GenerateReports(selected);
  const auto workbook = reports.report_workbook();
  const auto failure = reports.report_error();
  reports.Terminate();

  environment->check_cancelled();
  if (failure) throw *failure;
  if (!workbook) throw host::Error(host::errc::kHostRefused, "No report was made");
  return application->model(*workbook);
}

std::shared_ptr<office::OfficeApplication> model_of(const runfile::Run& run, const ReportOptions& options) {
  return open_model(run, environment::language(options.language).date_format);
}

// In a workbook of their own.
std::shared_ptr<const office::BookModel> make(const std::shared_ptr<const runfile::Run>& run,
                                              const ReportOptions& options,
                                              const std::shared_ptr<EmbeddedEnvironment>& environment) {
  auto book = make(run, options, TargetBook::kNew, model_of(*run, options), environment);
  for (const auto& sheet : book->sheets) sheet->is_report = true;
  return book;
}

void show_saving(EmbeddedEnvironment& environment, const ReportOptions& options) {
  const auto texts = environment::make_string_table(environment::language(options.language));
  environment.show_progress(texts->GetString(text_id::kProgressSaving.number), "", "");
}

void count(const office::SheetModel& sheet, WrittenReports& written) {
  ++written.sheets;
  written.charts += sheet.charts.size();
}

void note_earlier(const xlsx::ExistingWorkbook& existing, const office::BookModel& book,
                  const std::vector<std::size_t>& sheets, WrittenReports& written) {
  for (const xlsx::ExistingWorkbook::Sheet& earlier : existing.sheets()) {
    if (!earlier.is_report) continue;
    const bool is_replaced = std::any_of(sheets.begin(), sheets.end(), [&](std::size_t position) {
      return unicode::same_name(book.sheets[position]->name, earlier.name);
    });
    if (is_replaced)
      ++written.replaced;
    else
      written.left_over.push_back(earlier.name);
  }
}

WrittenReports counted(const office::BookModel& book) {
  WrittenReports written;
  for (const auto& sheet : book.sheets) count(*sheet, written);
  return written;
}

// The C library keeps the memory of the many small tables that reports are made from, which are gone by now.
// What is little is wanted again at once; of much, the rows need not wait for it.
std::optional<host::Aside> give_back_memory(const office::BookModel& book) {
  constexpr std::size_t kManyCells = std::size_t{1} << 20U;
  std::size_t cells = 0;
  for (const auto& sheet : book.sheets)
    for (const office::RowBand& band : sheet->bands) cells += band.cells.size();
  if (cells < kManyCells) return std::nullopt;
#ifdef __GLIBC__
  return host::Aside([] { malloc_trim(0); });
#else
  return std::nullopt;
#endif
}

// Ready to be saved.
std::shared_ptr<const office::BookModel> make_to_save(
    const std::shared_ptr<const runfile::Run>& run, const ReportOptions& options,
    const std::shared_ptr<EmbeddedEnvironment>& environment) {
  auto book = make(run, options, environment);
  show_saving(*environment, options);
  environment->check_cancelled();
  return book;
}

}  // namespace

xlsx::SaveOptions saving_options(const ReportOptions& options, EmbeddedEnvironment& environment) {
  xlsx::SaveOptions saving;
  saving.created = options.clock ? options.clock()
                                 : std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  saving.east_asian_font = environment::language(options.language).font;
  saving.cancelled = [&environment] { return environment.cancelled(); };
  return saving;
}

void check_apart(const runfile::Run& run, const std::filesystem::path& file) {
  if (const std::string role = runfile::role_in_run(run, file); !role.empty())
    throw host::Error(host::errc::kHostRefused,
                      file.string() + ": cannot write: it is " + role + "; name another file");
}

std::shared_ptr<const office::BookModel> make_reports(const std::shared_ptr<const runfile::Run>& run,
                                                      const ReportOptions& options) {
  const host::HelperThreads helpers;
  return make(run, options, std::make_shared<EmbeddedEnvironment>(options));
}

WrittenReports write_reports(const std::shared_ptr<const runfile::Run>& run,
                             const std::filesystem::path& workbook, const ReportOptions& options) {
  const host::HelperThreads helpers;
  check_apart(*run, workbook);
  const auto environment = std::make_shared<EmbeddedEnvironment>(options);
  const auto book = make_to_save(run, options, environment);
  const auto giving_back = give_back_memory(*book);
  xlsx::SaveOptions saving = saving_options(options, *environment);
  saving.replace = options.overwrite;
  xlsx::save(*book, workbook, saving);
  return counted(*book);
}

ReportFile pack_reports(const std::shared_ptr<const runfile::Run>& run, const ReportOptions& options) {
  const host::HelperThreads helpers;
  const auto environment = std::make_shared<EmbeddedEnvironment>(options);
  const auto book = make_to_save(run, options, environment);
  const auto giving_back = give_back_memory(*book);
  return {xlsx::package(*book, saving_options(options, *environment)), counted(*book)};
}

WrittenReports add_reports(const std::shared_ptr<const runfile::Run>& run,
                           const std::filesystem::path& workbook, const ReportOptions& options) {
  const host::HelperThreads helpers;
  const auto environment = std::make_shared<EmbeddedEnvironment>(options);
  xlsx::OpenOptions opening;
  opening.cancelled = [&] { return environment->cancelled(); };
  xlsx::ExistingWorkbook existing(workbook, opening);
  const auto application = model_of(*run, options);
  const ReportTarget target(*application, *run, existing);
  const auto book = make(run, options, TargetBook::kActive, application, environment);
  target.check_dates(*book);
  show_saving(*environment, options);
  environment->check_cancelled();
  const std::vector<std::size_t> sheets = target.reports(*book);
  xlsx::graft(existing, *book, sheets, saving_options(options, *environment));

  WrittenReports written;
  for (const std::size_t position : sheets) count(*book->sheets[position], written);
  note_earlier(existing, *book, sheets, written);
  return written;
}

}  // namespace ordvane::embedded
