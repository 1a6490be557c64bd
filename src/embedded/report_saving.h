// How workbooks of reports are saved.
#pragma once

#include "embedded/embedded_environment.h"
#include "embedded/report_job.h"
#include "xlsx/save.h"

namespace ordvane::embedded {

// Refers to the environment, which is asked whether to stop.
xlsx::SaveOptions saving_options(const ReportOptions& options, EmbeddedEnvironment& environment);

}  // namespace ordvane::embedded
