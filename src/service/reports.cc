#include "service/reports.h"

#include "reports/detail_by_input.h"
#include "reports/grids.h"
#include "reports/matrix.h"
#include "reports/multi_way_detail.h"
#include "reports/output_detail.h"
#include "reports/sensitivity.h"
#include "reports/spider.h"
#include "reports/tornado.h"

namespace ordvane::service {

Reports built_in_reports() {
  return {.tornado = reports::GenerateTornadoReport,
          .spider = reports::GenerateSpiderReport,
          .sensitivity = reports::GenerateSensitivityReport,
          .output_detail = reports::MakeOutputDetailReport,
          .matrix = reports::MakeMatrixReport,
          .detail_by_input = reports::MakeDetailByInputReport,
          .multi_tornado = reports::GenerateMultiTornadoReport,
          .grids = reports::MakeGridsReport,
          .multi_way_detail = reports::MakeMultiWayDetailReport};
}

}  // namespace ordvane::service
