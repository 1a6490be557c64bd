// A program that embeds Ordvane Results: reads a recorded run, writes its report workbook, and prints which
// inputs move each output most.
//
//   ordvane_embed_example examples/solar-plant/solar-plant.run.json reports.xlsx

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>

#include "embedded/report_job.h"
#include "host/cells.h"
#include "runfile/run.h"

namespace {

// A value that is not there (the output was no number at any step, say) is the missing-number marker.
void print_number(double value) {
  if (value == ordvane::host::kMissingNumber)
    std::printf("%16s", "-");
  else
    std::printf("%16.6g", value);
}

void print_ranking(const ordvane::runfile::Run& run, const ordvane::embedded::OutputRanking& ranking) {
  const auto& output = run.outputs[static_cast<std::size_t>(ranking.output_index)];
  std::printf("\n%s (%s)\n", output.name.c_str(), output.cell.c_str());
  // Effects come by rank, so the first ones matter most.
  const std::size_t shown = std::min<std::size_t>(3, ranking.effects.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const ordvane::embedded::Effect& effect = ranking.effects[i];
    std::printf("%3d. %-36s", effect.rank, effect.input.c_str());
    print_number(effect.low);
    print_number(effect.high);
    std::printf("\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s RUN.run.json REPORTS.xlsx\n", argv[0]);
    return 2;
  }
  try {
    // A run is read once and only read from then on, so every job may share it.
    const auto run = std::make_shared<const ordvane::runfile::Run>(ordvane::runfile::read_run(argv[1]));

    // Everything that is not set keeps its default: tornado, spider and sensitivity graphs of every output.
    ordvane::embedded::ReportOptions options;
    options.max_inputs = 8;
    options.sensitivity = false;
    options.watermark = "Draft";
    ordvane::embedded::write_reports(run, argv[2], options);
    std::printf("Reports of %zu outputs are in %s.\n", run->outputs.size(), argv[2]);

    // The same ranking as plain records, for a program that shows it in its own way.
    for (const ordvane::embedded::OutputRanking& ranking : ordvane::embedded::rank_outputs(run, {}))
      print_ranking(*run, ranking);
    return 0;
  } catch (const ordvane::runfile::BadRun& bad) {
    std::fprintf(stderr, "%s\n", bad.what());  // names the file, the place and what is expected there
    return 2;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "The reports were not made: %s\n", failure.what());  // no workbook was written
    return 1;
  }
}
