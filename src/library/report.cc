// Reports for programs: options verified and carried over, callbacks kept apart from the job's own errors.
#include "ordvane/report.h"

#include <cmath>
#include <ostream>

#include "embedded/report_job.h"
#include "environment/standard_environment.h"
#include "library/callbacks.h"
#include "library/errors.h"
#include "library/run_data.h"
#include "text/edit.h"
#include "text/utf8.h"

namespace ordvane {
namespace {

using library::RunAccess;

constexpr std::int32_t kMostInputs = 32;

[[noreturn]] void refuse(const std::string& what) {
  throw Error(ErrorCode::kInvalidArgument, what);
}

void check(const ReportOptions& options, const runfile::Run& run) {
  if (options.max_inputs < 1 || options.max_inputs > kMostInputs)
    refuse("max_inputs: is " + std::to_string(options.max_inputs) + "; a whole number from 1 to " +
           std::to_string(kMostInputs) + " is expected");
  if (options.threshold && !(std::isfinite(*options.threshold) && *options.threshold >= 0))
    refuse("threshold: is " + std::to_string(*options.threshold) +
           "; a share of the base value, 0 or more, is expected");
  if (environment::language_id_of(options.language) == 0) {
    std::string known;
    for (const std::string& code : environment::languages()) known += (known.empty() ? "" : ", ") + code;
    refuse("language: is " + text::quoted_text(options.language) + "; one of " + known + " is expected");
  }
  if (text::first_invalid_byte(options.watermark) != std::string::npos)
    refuse("watermark: is " + text::quoted_text(options.watermark) + ", which is not UTF-8 text");
  if (options.multi_way && run.groups.empty())
    refuse("multi_way: the run varied no inputs together; groups are expected");
}

// The spreadsheet's blue-green-red.
std::int32_t blue_green_red(const Color& color) {
  return color.blue << 16 | color.green << 8 | color.red;
}

reports::BarLabels labels_of(BarLabels labels) {
  switch (labels) {
    case BarLabels::kInputs:
      return reports::BarLabels::kInputs;
    case BarLabels::kOutputs:
      return reports::BarLabels::kOutputs;
    case BarLabels::kBoth:
      return reports::BarLabels::kBoth;
  }
  refuse("labels: is " + std::to_string(static_cast<int>(labels)) +
         "; kInputs, kOutputs or kBoth is expected");
}

// A workbook whose maker gives no date is dated alike every time.
constexpr std::chrono::sys_seconds kUndated = std::chrono::sys_days(std::chrono::January / 1 / 2000);

void check_date(std::chrono::sys_seconds moment) {
  const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(moment)};
  const int year = static_cast<int>(date.year());
  if (year < 1900 || year > 9999)
    refuse("created: is in the year " + std::to_string(year) + "; one from 1900 to 9999 is expected");
}

embedded::ReportOptions converted(const ReportOptions& options, const runfile::Run& run) {
  embedded::ReportOptions to;
  to.outputs = library::positions_of(options.outputs, run);
  to.matrix = options.matrix;
  to.tornado = options.tornado;
  to.spider = options.spider;
  to.sensitivity = options.sensitivity;
  to.output_detail = options.output_detail;
  to.detail_by_input = options.detail_by_input;
  to.multi_way = options.multi_way;
  to.percent = options.percent;
  to.max_inputs = options.max_inputs;
  to.all_inputs = options.all_inputs;
  if (options.threshold) to.set_threshold(*options.threshold);
  if (options.bar_color) to.bar_color = blue_green_red(*options.bar_color);
  if (options.base_color) to.base_color = blue_green_red(*options.base_color);
  if (options.low_color) to.low_color = blue_green_red(*options.low_color);
  to.labels = labels_of(options.labels);
  to.watermark = options.watermark;
  to.language = options.language;
  const std::chrono::sys_seconds made = options.created.value_or(kUndated);
  check_date(made);
  to.clock = [made] { return made; };
  to.overwrite = options.overwrite;
  return to;
}

template <class Job>
auto report(const Run& run, const ReportOptions& options, const Job& job) {
  const auto& data = RunAccess::run(run);
  library::Callbacks callbacks(options.cancelled);
  try {
    check(options, *data);
    embedded::ReportOptions inner = converted(options, *data);
    if (options.progress)
      inner.progress = [&](const std::string& text) { callbacks.make([&] { options.progress(text); }); };
    if (options.progress || options.cancelled) inner.cancelled = [&] { return callbacks.cancelled(); };
    return job(data, inner);
  } catch (...) {
    callbacks.rethrow();
    library::rethrow_as_error();
  }
}

WrittenReports counted(const embedded::WrittenReports& written) {
  return {written.sheets, written.charts};
}

}  // namespace

WrittenReports write_reports(const Run& run, const std::filesystem::path& workbook,
                             const ReportOptions& options) {
  return report(run, options, [&](const auto& data, const embedded::ReportOptions& inner) {
    std::error_code error;
    if (!inner.overwrite && std::filesystem::exists(workbook, error))
      throw Error(ErrorCode::kFileExists, workbook.string() + ": is there already; `overwrite` replaces it");
    return counted(embedded::write_reports(data, workbook, inner));
  });
}

WrittenReports write_reports(const Run& run, std::ostream& stream, const ReportOptions& options) {
  const embedded::ReportFile file =
      report(run, options, [](const auto& data, const embedded::ReportOptions& inner) {
        return embedded::pack_reports(data, inner);
      });
  stream.write(file.bytes.data(), static_cast<std::streamsize>(file.bytes.size())).flush();
  if (!stream) throw Error(ErrorCode::kFile, "the stream: cannot write");
  return counted(file.written);
}

std::string pack_reports(const Run& run, const ReportOptions& options) {
  return report(run, options, [](const auto& data, const embedded::ReportOptions& inner) {
    return embedded::pack_reports(data, inner).bytes;
  });
}

WrittenReports add_reports(const Run& run, const std::filesystem::path& workbook,
                           const ReportOptions& options) {
  return report(run, options, [&](const auto& data, const embedded::ReportOptions& inner) {
    return counted(embedded::add_reports(data, workbook, inner));
  });
}

std::vector<std::string> languages() {
  return library::translating_errors([] { return environment::languages(); });
}

}  // namespace ordvane
