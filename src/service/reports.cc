#include "service/reports.h"

#include "graphs/tornado.h"

namespace ordvane::service {

Reports built_in_reports() {
  Reports reports;
  reports.tornado = [](const ReportArguments& a, std::int32_t output, const model::RankingRecord& ranking,
                       const TornadoStyle& style) {
    graphs::GenerateTornadoReport(a.session, a.rWB, output, a.selOut, a.trInputs, a.trOutputs,
                                  a.NumIterations, a.rangeMode, a.outputMode, ranking, a.runNumber,
                                  a.totalRuns, style.base_value, style.base_label, style.bar_color,
                                  style.baseline_color);
  };
  return reports;
}

}  // namespace ordvane::service
