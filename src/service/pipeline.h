// The pipeline behind GenerateReports: one object a call.
//
// Reads the run's counts, scans the model into records, opens the report workbook, then for each simulation
// fetches every stored value and calls the report routines in a fixed order with progress texts and cancel
// checks between them. What goes wrong before the report workbook is open goes to the host; what goes wrong
// later ends the reports, is logged and told to the user. The spreadsheet's settings are restored either way;
// in between nothing is recalculated that is not asked for.
#pragma once

#include <cstdint>
#include <string>

#include "host/excel.h"
#include "model/input_output.h"
#include "model/ranking.h"
#include "model/scan.h"
#include "model/summary.h"
#include "service/ordvane_reports.h"

namespace ordvane::service {

class OrdvaneReports::Pipeline {
 public:
  Pipeline(OrdvaneReports& owner, const model::OneBased<std::int32_t>& selected);
  std::int32_t run();

 private:
  // Those that differ between a run of one simulation and one of several.
  struct ProgressTexts;

  void log(const std::string& text);
  bool refuse_shared_workbook();
  void take_settings();
  void read_counts();
  void nothing_to_report(const std::string& message);
  void check_counts();
  void build_records();
  void find_selected_records();
  void open_report_workbook();

  std::int32_t report_runs();
  std::int32_t report_run(const ProgressTexts& progress);
  // What the graphs of the output at this position show. False: nothing is left to show.
  bool rank_inputs_of(std::int32_t position, model::RankingRecord& ranking);
  void graphs_of(std::int32_t output, const model::RankingRecord& ranking, const ProgressTexts& progress);
  void matrix();
  void output_details(const ProgressTexts& progress);
  std::int32_t detail_by_input(const ProgressTexts& progress);
  void multi_way();
  void outputs_missing();
  void summary();
  void finish();
  void tell_user(std::int32_t rc);

  // Runs one graph report. Failures are logged and the next report follows, unless the user asks to stop.
  template <class Report>
  void graph_report(const std::string& name, bool wanted, session::TextId<0> progress, std::int32_t output,
                    bool built_in, const Report& report);
  template <class Step>
  void keeping_first_error(const Step& step);

  void check_cancel();
  void refresh_screen();
  reports::Context context();

  OrdvaneReports& owner_;
  session::Session& session_;
  const model::OneBased<std::int32_t>& selected_;  // engine indexes of the selected outputs
  model::OrdvaneScan scan_;
  model::NumberRules rules_;

  std::int32_t number_sims_ = 0;
  std::int32_t num_iterations_ = 0;
  std::int32_t num_inputs_ = 0;
  std::int32_t num_outputs_ = 0;
  std::int32_t run_number_ = 1;
  std::int32_t total_runs_ = 1;
  model::OrdvaneRangeMode range_mode_ = model::OrdvaneRangeCellMode;
  model::Records inputs_;
  model::Records outputs_;
  model::OneBased<std::int32_t> sel_out_;     // positions in outputs_ of the selected outputs that are there
  std::string unknown_outputs_;               // says which are not; empty when all are
  model::OneBased<std::int32_t> unreported_;  // positions in sel_out_: no graph of this run could show them
  model::OrdvaneSummary summary_;
  std::shared_ptr<layout::ReportWorkbook> workbook_;
};

}  // namespace ordvane::service
