#include "service/reports.h"

#include "reports/detail_by_input.h"
#include "reports/multi_way_detail.h"
#include "reports/output_detail.h"
#include "reports/sensitivity.h"
#include "reports/spider.h"
#include "reports/tornado.h"

namespace ordvane::service {

Reports built_in_reports() {
  Reports reports;
  reports.tornado = [](const ReportArguments& a, std::int32_t output, const model::RankingRecord& ranking,
                       const TornadoStyle& style) {
    reports::GenerateTornadoReport(a.session, a.rWB, output, a.selOut, a.trInputs, a.trOutputs,
                                   a.NumIterations, a.rangeMode, a.outputMode, ranking, a.runNumber,
                                   a.totalRuns, style.base_value, style.base_label, style.bar_color,
                                   style.baseline_color);
  };
  reports.spider = [](const ReportArguments& a, std::int32_t output, const model::RankingRecord& ranking) {
    reports::GenerateSpiderReport(a.session, a.rWB, output, a.selOut, a.trInputs, a.trOutputs,
                                  a.NumIterations, a.rangeMode, a.outputMode, ranking, a.runNumber,
                                  a.totalRuns);
  };
  reports.sensitivity = [](const ReportArguments& a, std::int32_t output,
                           const model::RankingRecord& ranking) {
    reports::GenerateSensitivityReport(a.session, a.rWB, output, a.selOut, a.trInputs, a.trOutputs,
                                       a.NumIterations, a.rangeMode, a.outputMode, ranking, a.runNumber,
                                       a.totalRuns);
  };
  reports.output_detail = [](const ReportArguments& a, std::int32_t output) {
    reports::MakeOutputDetailReport(a.session, a.rWB, output, a.trInputs, a.trOutputs, a.NumIterations,
                                    a.rangeMode, a.runNumber, a.totalRuns);
  };
  reports.detail_by_input = [](const ReportArguments& a) {
    return reports::MakeDetailByInputReport(a.session, a.rWB, a.selOut, a.trInputs, a.trOutputs,
                                            a.NumIterations, a.rangeMode, a.runNumber, a.totalRuns);
  };
  reports.multi_tornado = [](const ReportArguments& a, std::int32_t output, const model::MultiWayRun& run,
                             const model::GroupEffects& effects, const reports::MultiTornadoLimits& limits,
                             const TornadoStyle& style) {
    reports::GenerateMultiTornadoReport(a.session, a.rWB, output, a.trInputs, a.trOutputs, run, effects,
                                        a.rangeMode, a.outputMode, a.runNumber, a.totalRuns, limits, style);
  };
  reports.multi_way_detail = [](const ReportArguments& a, const model::MultiWayRun& run,
                                const model::OneBased<model::GroupEffects>& effects) {
    reports::MakeMultiWayDetailReport(a.session, a.rWB, a.selOut, a.trInputs, a.trOutputs, run, effects,
                                      a.rangeMode, a.runNumber, a.totalRuns);
  };
  return reports;
}

}  // namespace ordvane::service
