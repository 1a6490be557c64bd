// A program that embeds Ordvane Results: reads a recorded run, writes its report workbook, and prints which
// inputs move each output most.
//
//   embed solar-plant.run.json reports.xlsx

#include <ordvane/ranking.h>
#include <ordvane/report.h>

#include <algorithm>
#include <cstdio>

namespace {

// A value that is not there: the output was no number at any step, say.
void print_number(const std::optional<double>& value) {
  if (value)
    std::printf("%16.6g", *value);
  else
    std::printf("%16s", "-");
}

void print_ranking(const ordvane::Ranking& ranking) {
  std::printf("\n%s\n", ranking.name.c_str());
  // Effects come by rank, so the first ones matter most.
  const std::size_t shown = std::min<std::size_t>(3, ranking.effects.size());
  for (std::size_t i = 0; i < shown; ++i) {
    const ordvane::Effect& effect = ranking.effects[i];
    std::printf("%3d. %-36s", effect.rank, effect.name.c_str());
    print_number(effect.low);
    print_number(effect.high);
    if (effect.failed > 0) std::printf("  without %d of %d results", effect.failed, effect.steps);
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
    // A run is read once and never changes, so every job and thread may share it.
    const ordvane::Run run = ordvane::Run::read(argv[1]);

    // Everything that is not set keeps its default: tornado, spider and sensitivity graphs of every output.
    ordvane::ReportOptions options;
    options.max_inputs = 8;
    options.sensitivity = false;
    options.watermark = "Draft";
    options.overwrite = true;
    const ordvane::WrittenReports written = ordvane::write_reports(run, argv[2], options);
    std::printf("%zu sheets and %zu charts are in %s.\n", written.sheets, written.charts, argv[2]);

    // The same ranking as plain records, for a program that shows it in its own way.
    for (const ordvane::Ranking& ranking : ordvane::rank_outputs(run)) print_ranking(ranking);
    return 0;
  } catch (const ordvane::Error& error) {
    // No workbook was written; the message names the file or field and what is expected there.
    std::fprintf(stderr, "%s\n", error.what());
    return error.code() == ordvane::ErrorCode::kBadRun ? 2 : 1;
  }
}
