// Prints the workbook of all reports on a run as text: what the library makes on this platform, for others to
// be compared with. Usage: snapshot_of_run RUN.run.json
#include <cstdio>
#include <exception>

#include "embedded/report_job.h"
#include "support/snapshot.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: snapshot_of_run RUN.run.json\n", stderr);
    return 2;
  }
  try {
    ordvane::embedded::ReportOptions options;
    options.output_detail = options.detail_by_input = options.multi_way = true;
    options.all_inputs = true;  // as automation has them
    options.watermark = "Draft\nnot for release";
    const auto run = std::make_shared<ordvane::runfile::Run>(ordvane::runfile::read_run(argv[1]));
    std::fputs(ordvane::test::snapshot(*ordvane::embedded::make_reports(run, options)).c_str(), stdout);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
