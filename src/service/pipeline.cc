#include "service/pipeline.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "model/engine_reader.h"
#include "model/naming.h"
#include "reports/progress.h"
#include "reports/summary_report.h"
#include "service/spreadsheet_state.h"
#include "text/utf16.h"

namespace ordvane::service {
namespace {

using session::log_text;

constexpr const char* kProduct = "Ordvane";
constexpr const char* kActiveWorkbook = "Active Workbook";
constexpr std::int32_t kLongestMessage = 1000;  // UTF-16 units; a message box shows no more
constexpr const char* kGraphClickMacro = "Ordvane.xla!OrdvaneGraphClickEvent";

constexpr std::int32_t kResultTooManyColumns = -17002;
constexpr std::int32_t kResultTooManyRows = -17003;

}  // namespace

struct OrdvaneReports::Pipeline::ProgressTexts {
  session::TextId<0> tornado, spider, sensitivity, output_detail, detail_by_input;
};

OrdvaneReports::Pipeline::Pipeline(OrdvaneReports& owner, const model::OneBased<std::int32_t>& selected)
    : owner_(owner),
      session_(owner.services_->session),
      selected_(selected),
      scan_(session_),
      rules_(session_.engine, session_.environment) {}

void OrdvaneReports::Pipeline::log(const std::string& text) {
  if (session_.log.is_on()) session_.log.line(owner_.name() + ".GenerateReports " + text);
}

std::int32_t OrdvaneReports::Pipeline::run() {
  log("hVars: " + log_text(session_.hVars));
  if (refuse_shared_workbook()) return 0;
  take_settings();
  SpreadsheetState found(session_.g_XLApp);
  found.quiet();
  read_counts();
  check_counts();
  build_records();
  find_selected_records();
  open_report_workbook();

  std::int32_t rc = 0;
  keeping_first_error([&] {
    rc = report_runs();
    if (rc == 0) log("Exit");
  });
  finish();
  if (owner_.report_workbook()) found.keep_shown_sheet();
  found.restore();
  host::ignoring_errors([&] {
    if (const auto cell = session_.application().active_cell()) cell->activate();
  });
  keeping_first_error([&] { tell_user(rc); });
  return rc;
}

// Sheets cannot be added to a workbook that several users edit.
bool OrdvaneReports::Pipeline::refuse_shared_workbook() {
  const auto active = session_.application().active_workbook();
  if (!active) throw host::Error(host::errc::kObjectNotSet, "No workbook is open");
  if (!active->multi_user_editing() || !owner_.ReportsInExistingWorkbook()) return false;
  session_.environment->show_message(session_.text(text_id::kMessageSharedWorkbook), kProduct);
  return true;
}

void OrdvaneReports::Pipeline::take_settings() {
  session_.watermark = owner_.watermark_;
  session_.graph_click_macro = kGraphClickMacro;
}

void OrdvaneReports::Pipeline::read_counts() {
  const model::EngineReader engine(session_);
  const model::SimulationCounts simulations = engine.simulations();
  number_sims_ = simulations.simulations;
  num_iterations_ = simulations.recalculations;
  const model::ItemCounts items = engine.counts();
  log("after DRL4_GetNumInputsAndOutputs rc: " + log_text(items.status) +
      "   NumInputs: " + log_text(items.inputs) + "   NumOutputs: " + log_text(items.outputs));
  num_inputs_ = items.listed_inputs;
  num_outputs_ = items.outputs;
  log("NumberSims: " + log_text(number_sims_));
  log("NumIterations: " + log_text(num_iterations_));
  log("NumInputs: " + log_text(num_inputs_));
  log("NumOutputs: " + log_text(num_outputs_));
  total_runs_ = number_sims_ > 1 ? number_sims_ : 1;
  summary_.Runs = number_sims_;
  summary_.RecalculationsTotal = num_iterations_;
  summary_.OutputsTotal = num_outputs_;
  summary_.InputsTotal = num_inputs_;
  summary_.set_MaximumNumberOfInputs(owner_.settings.max_inputs);
  summary_.ThreshholdOfInputs = owner_.settings.threshold;
}

void OrdvaneReports::Pipeline::nothing_to_report(const std::string& message) {
  session_.environment->raise_error(host::errc::kNothingToReport, message);
}

void OrdvaneReports::Pipeline::check_counts() {
  if (num_inputs_ < 1) nothing_to_report(session_.text(text_id::kMessageNoInputs));
  if (num_outputs_ < 1) nothing_to_report(session_.text(text_id::kMessageNoOutputs));
  log("NumOutputsSelected: " + log_text(selected_.size()));
  if (selected_.empty()) nothing_to_report(session_.text(text_id::kMessageNoOutputs));
}

void OrdvaneReports::Pipeline::build_records() {
  scan_.newScan(inputs_, engine::kInput, summary_.InputsAutoVary);
  summary_.InputsStandard = summary_.InputsTotal - summary_.InputsAutoVary;
  log("InputsTotal: " + log_text(summary_.InputsTotal));
  log("InputsAutoVary: " + log_text(summary_.InputsAutoVary));
  log("InputsStandard: " + log_text(summary_.InputsStandard));
  std::int32_t automatic_outputs = 0;
  scan_.newScan(outputs_, engine::kOutput, automatic_outputs);
  log("NumOrdvaneOutputs: " + log_text(outputs_.size()));

  range_mode_ = model::range_mode_of(inputs_);
  model::fill_number_formats(session_, outputs_, outputs_.size());
  model::fill_number_formats(session_, inputs_, inputs_.size());

  const model::RecalculationCounts recalculations =
      model::EngineReader(session_).recalculations(inputs_.size(), {.standard = num_iterations_});
  num_iterations_ = recalculations.standard;
  summary_.RecalculationsStandard = recalculations.standard;
  summary_.RecalculationsMultiWay = recalculations.multi_way;
}

void OrdvaneReports::Pipeline::find_selected_records() {
  std::unordered_map<std::int32_t, std::int32_t> position;
  for (std::int32_t j = 1; j <= outputs_.size(); ++j) position.try_emplace(outputs_(j).ioIndex, j);
  std::string unknown;
  for (const std::int32_t index : selected_) {
    const auto found = position.find(index);
    if (found != position.end())
      sel_out_.push_back(found->second);
    else
      unknown += (unknown.empty() ? "" : session_.environment->numbers().list_separator()) + log_text(index);
  }
  summary_.OutputsSelected = sel_out_.size();
  if (unknown.empty()) return;
  unknown_outputs_ = session_.text(text_id::kMessageUnknownOutputs, unknown);
  log("isSelectedOutput: " + unknown_outputs_);
  if (sel_out_.empty()) nothing_to_report(session_.text(text_id::kMessageNoOutputs) + " " + unknown_outputs_);
}

void OrdvaneReports::Pipeline::open_report_workbook() {
  host::Application& application = session_.application();
  const auto take_limits = [&](const std::shared_ptr<host::Worksheet>& sheet) {
    if (!sheet) throw host::Error(host::errc::kObjectNotSet, "No sheet is active");
    session_.sheet_columns = sheet->column_limit();
    session_.sheet_rows = sheet->row_limit();
    session_.sheet_cells = sheet->cell_limit();
  };
  // A sheet that is a chart has no cells to count.
  if (!host::ignoring_errors([&] { take_limits(application.active_sheet()); }))
    take_limits(application.workbook(inputs_(1).bookName)->worksheet(inputs_(1).sheetName));

  std::shared_ptr<host::Workbook> target;
  if (!owner_.ReportsInNewWorkbook() && owner_.ReportsInExistingWorkbookName == kActiveWorkbook)
    target = application.active_workbook();
  auto& factory = owner_.services_->workbook_factory;
  if (!factory) factory = std::make_unique<layout::ReportWorkbookFactory>();
  workbook_ = factory->CreateReportWorkbook(session_, kProduct, target, owner_.SingleWorkbookAllResults,
                                            session_.language_id);
  workbook_->SetExcelReady(session_.excel_ready);
  if (owner_.OverwriteExisting()) workbook_->OverwriteExisting();
}

std::int32_t OrdvaneReports::Pipeline::report_runs() {
  constexpr ProgressTexts kOfTheRun = {text_id::kProgressTornado, text_id::kProgressSpider,
                                       text_id::kProgressSensitivity, text_id::kProgressOutputDetail,
                                       text_id::kProgressDetailByInput};
  constexpr ProgressTexts kOfARun = {text_id::kProgressTornadoOfRun, text_id::kProgressSpiderOfRun,
                                     text_id::kProgressSensitivityOfRun, text_id::kProgressOutputDetailOfRun,
                                     text_id::kProgressDetailByInputOfRun};
  for (run_number_ = 1; run_number_ <= number_sims_; ++run_number_) {
    const std::int32_t rc = report_run(number_sims_ == 1 ? kOfTheRun : kOfARun);
    if (rc != 0) return rc;
  }
  return 0;
}

std::int32_t OrdvaneReports::Pipeline::report_run(const ProgressTexts& progress) {
  owner_.begin(text_id::kProgressReading);
  scan_.getData(inputs_, outputs_, sel_out_, num_iterations_, run_number_);
  check_cancel();
  unreported_.clear();
  matrix();
  for (std::int32_t k = 1; k <= sel_out_.size(); ++k) {
    owner_.begin(text_id::kProgressRankingInputs, &outputs_(sel_out_(k)));
    model::RankingRecord ranking;
    if (rank_inputs_of(sel_out_(k), ranking))
      graphs_of(sel_out_(k), ranking, progress);
    else
      unreported_.push_back(k);
  }
  output_details(progress);
  // Of several runs none is left out because of another.
  if (detail_by_input(progress) == 1 && number_sims_ == 1) return kStoppedByDetailByInput;
  multi_way();
  outputs_missing();
  summary_.OutputsImpacted = summary_.OutputsSelected - unreported_.size();
  summary();
  return 0;
}

bool OrdvaneReports::Pipeline::rank_inputs_of(std::int32_t position, model::RankingRecord& ranking) {
  const std::int32_t total = summary_.InputsTotal;
  const model::DralInputOutput& output = outputs_(position);
  const bool by_change = output.BaseValue() != 0 && rules_.is_usable(output.BaseValue());
  ranking.SortedArray.resize(total);
  for (std::int32_t i = 1; i <= total; ++i) {
    const model::DralInputOutput& input = inputs_(i);
    const auto rank = input.rank(position);
    ranking.SortedArray(rank) =
        by_change ? input.outputMaxPercentChange(position) - input.outputMinPercentChange(position)
                  : input.outputMaxValue(position) - input.outputMinValue(position);
    if (session_.log.is_on())
      log("InputCount: " + log_text(i) + "   OutputRank: " + log_text(rank) +
          "   OutputMaxValue: " + log_text(input.outputMaxValue(position)) +
          "   OutputMinValue: " + log_text(input.outputMinValue(position)));
  }
  std::int32_t count = total;
  if (by_change) {
    if (session_.log.is_on())
      for (std::int32_t i = 1; i <= total; ++i)
        log("SortedArray(" + log_text(i) + ")=" + log_text(ranking.SortedArray(i)));
    if (!output.IsDate && owner_.settings.has_threshold) {
      count = 0;
      while (count < total && std::fabs(ranking.SortedArray(count + 1)) >= summary_.ThreshholdOfInputs)
        ++count;
    }
  }
  ranking.input_limit = std::min({summary_.MaximumNumberOfInputs(), total, count});
  return ranking.input_limit > 0;
}

template <class Report>
void OrdvaneReports::Pipeline::graph_report(const std::string& name, bool wanted, session::TextId<0> progress,
                                            std::int32_t output, bool built_in, const Report& report) {
  log(name + ": " + log_text(wanted));
  if (wanted && !built_in) log(name + ": not in this build");
  if (wanted && built_in) {
    owner_.begin(progress, &outputs_(output));
    owner_.graph_or_log(name, report);
  }
  check_cancel();
  refresh_screen();
}

void OrdvaneReports::Pipeline::graphs_of(std::int32_t output, const model::RankingRecord& ranking,
                                         const ProgressTexts& progress) {
  const Reports& reports = owner_.reports_;
  graph_report("TornadoGraphs", owner_.settings.tornado, progress.tornado, output, reports.tornado != nullptr,
               [&] { reports.tornado(context(), output, ranking, owner_.tornado_style(outputs_(output))); });
  graph_report("SpiderGraphs", owner_.settings.spider, progress.spider, output, reports.spider != nullptr,
               [&] { reports.spider(context(), output, ranking); });
  graph_report("SensitivityGraphs", owner_.settings.sensitivity, progress.sensitivity, output,
               reports.sensitivity != nullptr, [&] { reports.sensitivity(context(), output, ranking); });
}

void OrdvaneReports::Pipeline::matrix() {
  const bool wanted = owner_.settings.wants_matrix();
  log("Matrix: " + log_text(wanted));
  if (!wanted) return;
  if (!owner_.reports_.matrix) return log("Matrix: not in this build");
  owner_.begin(text_id::kProgressMatrix);
  owner_.graph_or_log("Matrix", [&] { owner_.reports_.matrix(context()); });
  check_cancel();
  refresh_screen();
}

void OrdvaneReports::Pipeline::output_details(const ProgressTexts& progress) {
  log("OutputDetailReport: " + log_text(owner_.settings.output_detail));
  if (!owner_.settings.output_detail) return;
  if (!owner_.reports_.output_detail) return log("OutputDetailReport: not in this build");
  if (number_sims_ > 1) log("NumOutputsSelected: " + log_text(summary_.OutputsSelected));
  for (const std::int32_t output : sel_out_) {
    owner_.begin(progress.output_detail, &outputs_(output));
    owner_.reports_.output_detail(context(), output);
    check_cancel();
    refresh_screen();
  }
}

std::int32_t OrdvaneReports::Pipeline::detail_by_input(const ProgressTexts& progress) {
  log("SummaryReport: " + log_text(owner_.SummaryReport()));
  if (number_sims_ > 1) log("DetailByInput: " + log_text(owner_.settings.detail_by_input));
  if (!owner_.SummaryReport() && !owner_.settings.detail_by_input) return 0;
  if (!owner_.reports_.detail_by_input) {
    log("DetailByInput: not in this build");
    return 0;
  }
  owner_.begin(progress.detail_by_input);
  const std::int32_t result = owner_.reports_.detail_by_input(context());
  refresh_screen();
  return result;
}

void OrdvaneReports::Pipeline::multi_way() {
  log("MultiWayReport: " + log_text(owner_.settings.multi_way));
  if (!owner_.settings.multi_way) return;
  owner_.multiReport(context());
  refresh_screen();
}

void OrdvaneReports::Pipeline::outputs_missing() {
  log("NumUnreportedOutputs: " + log_text(unreported_.size()));
  const bool graphs = owner_.settings.tornado || owner_.settings.spider || owner_.settings.sensitivity;
  if (unreported_.empty() || !graphs) return;
  reports::MakeOutputsMissingReport(context(), unreported_.size(), unreported_);
  refresh_screen();
}

void OrdvaneReports::Pipeline::summary() {
  owner_.doing_.clear();
  reports::MakeSummaryReport(context(), summary_);
}

// The exit steps. Each is taken whatever became of the ones before it.
void OrdvaneReports::Pipeline::finish() {
  owner_.doing_.clear();
  keeping_first_error([&] { workbook_->ReportsComplete(); });
  if (owner_.report_error_) log("Exit Error: " + owner_.report_error_->description());
  // What ended or cut the reports says more.
  if (!unknown_outputs_.empty())
    owner_.remember(host::Error(host::errc::kSubscriptOutOfRange, unknown_outputs_));
  owner_.services_->report_workbook = workbook_->workbook();
}

// One message about everything that is not as it was asked for.
void OrdvaneReports::Pipeline::tell_user(std::int32_t rc) {
  std::string message;
  const auto add = [&](const std::string& text) { message += (message.empty() ? "" : "\n") + text; };
  if (rc == kResultTooManyRows) add(session_.text(text_id::kMessageTooManyRows));
  if (rc == kResultTooManyColumns) add(session_.text(text_id::kMessageTooManyColumns));
  if (!owner_.failures().empty() && owner_.failures() != unknown_outputs_)
    add(session_.text(text_id::kMessageReportsFailed));
  if (!owner_.failures().empty()) add(text::shortened(owner_.failures(), kLongestMessage));
  if (!message.empty()) session_.environment->show_message(message, kProduct);
}

template <class Step>
void OrdvaneReports::Pipeline::keeping_first_error(const Step& step) {
  try {
    host::allocating(step);
  } catch (const host::Error& error) {
    // The user's wish to stop outweighs a report that failed before it.
    if (error.code() == host::errc::kUserCancelled) owner_.report_error_.reset();
    const std::string failure = owner_.remember(error);
    if (!failure.empty()) log("Error: " + failure);
  }
}

void OrdvaneReports::Pipeline::check_cancel() {
  reports::CheckUserCancel(session_);
}

void OrdvaneReports::Pipeline::refresh_screen() {
  session_.application().set_screen_updating(true);
  session_.application().set_screen_updating(false);
}

reports::Context OrdvaneReports::Pipeline::context() {
  return {.session = session_,
          .workbook = *workbook_,
          .selected = sel_out_,
          .inputs = inputs_,
          .outputs = outputs_,
          .settings = owner_.settings,
          .recalculations = num_iterations_,
          .range_mode = range_mode_,
          .output_mode =
              owner_.settings.percent ? model::OrdvaneOutputAsPercentChange : model::OrdvaneOutputAsValue,
          .run_number = run_number_,
          .total_runs = total_runs_};
}

}  // namespace ordvane::service
