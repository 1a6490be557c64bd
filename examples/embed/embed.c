/* The same in C: reads a recorded run, writes its report workbook, and prints which inputs move each output
 * most.
 *
 *   embed_c solar-plant.run.json reports.xlsx
 */

#include <math.h>
#include <ordvane.h>
#include <stdio.h>

/* A value that is not there is NaN. */
static void print_number(double value) {
  if (isnan(value))
    printf("%16s", "-");
  else
    printf("%16.6g", value);
}

static void print_ranking(const ordvane_ranking* ranking) {
  size_t place;
  ordvane_effect effect;
  printf("\n%s\n", ordvane_ranking_name(ranking));
  /* Effects come by rank, so the first ones matter most. */
  for (place = 0; place < 3 && ordvane_ranking_effect(ranking, place, &effect, sizeof effect); ++place) {
    printf("%3d. %-36s", (int)effect.rank, effect.name);
    print_number(effect.low);
    print_number(effect.high);
    if (effect.failed > 0) printf("  without %d of %d results", (int)effect.failed, (int)effect.steps);
    printf("\n");
  }
}

static int32_t report(const ordvane_run* run, const char* workbook, ordvane_error** error) {
  ordvane_written written;
  int32_t code;
  ordvane_options* options = ordvane_options_new();
  ordvane_options_set_max_inputs(options, 8);
  ordvane_options_set_sensitivity(options, 0);
  ordvane_options_set_watermark(options, "Draft");
  ordvane_options_set_overwrite(options, 1);
  code = ordvane_write_reports(run, workbook, options, &written, error);
  ordvane_options_free(options);
  if (code == ORDVANE_OK)
    printf("%u sheets and %u charts are in %s.\n", (unsigned)written.sheets, (unsigned)written.charts,
           workbook);
  return code;
}

static int32_t rank_all(const ordvane_run* run, ordvane_error** error) {
  size_t output;
  int32_t code = ORDVANE_OK;
  for (output = 0; code == ORDVANE_OK && output < ordvane_run_output_count(run); ++output) {
    ordvane_ranking* ranking = NULL;
    code = ordvane_rank(run, output, 1, &ranking, error);
    if (code == ORDVANE_OK) print_ranking(ranking);
    ordvane_ranking_free(ranking);
  }
  return code;
}

int main(int argc, char** argv) {
  ordvane_run* run = NULL;
  ordvane_error* error = NULL;
  int32_t code;
  if (argc != 3) {
    fprintf(stderr, "usage: %s RUN.run.json REPORTS.xlsx\n", argv[0]);
    return 2;
  }
  code = ordvane_run_read(argv[1], &run, &error);
  if (code == ORDVANE_OK) code = report(run, argv[2], &error);
  if (code == ORDVANE_OK) code = rank_all(run, &error);
  if (code != ORDVANE_OK) fprintf(stderr, "%s\n", ordvane_error_message(error));
  ordvane_error_free(error);
  ordvane_run_free(run);
  return code == ORDVANE_OK ? 0 : code == ORDVANE_BAD_RUN ? 2 : 1;
}
