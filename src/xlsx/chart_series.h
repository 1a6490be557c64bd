// The series of a chart: bars and lines of points, with their lines, fills, markers and labels.
#pragma once

#include "office/book.h"
#include "xlsx/sheets_by_name.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {

inline bool is_bar(host::ChartKind kind) {
  return kind == host::ChartKind::kBarStacked || kind == host::ChartKind::kBarClustered;
}

// `position`: of the series in its chart, from 0.
void bar_series(Xml& xml, const SheetsByName& sheets, const office::SeriesModel& series,
                std::size_t position);
void scatter_series(Xml& xml, const SheetsByName& sheets, const office::SeriesModel& series,
                    std::size_t position);

}  // namespace ordvane::xlsx
