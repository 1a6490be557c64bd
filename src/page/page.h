// A run as one page for browsers: all in one file, without a network, readable without scripts.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

#include "embedded/report_job.h"
#include "runfile/run.h"

namespace ordvane::page {

// A page in a file, which appears whole or not at all. The same run and options give the same bytes. Returns
// how many outputs it shows. Throws host::Error, for one of the run's own files too.
std::size_t write_page(const std::shared_ptr<const runfile::Run>& run, const std::filesystem::path& file,
                       const embedded::ReportOptions& options);

}  // namespace ordvane::page
