#include <math.h>
#include <string.h>

#include "ordvane.h"

/* Each gives null, or what does not hold. */
const char* check_sizes(void);
const char* check_null(void);

#define TEXT_OF(x) #x
#define LINE_OF(x) TEXT_OF(x)
#define CHECK(condition) \
  if (!(condition)) return __FILE__ ":" LINE_OF(__LINE__) ": " #condition

static const char kDescription[] =
    "{ \"inputs\": [ { \"name\": \"Price\", \"base\": 10, \"steps\": 3 },"
    "               { \"name\": \"Volume\", \"base\": 4, \"steps\": 3 } ],"
    "  \"outputs\": [ { \"name\": \"Profit\", \"base\": 40 } ],"
    "  \"groups\": [ { \"members\": [1, 2], \"steps\": 2 } ] }";
static const double kValues[] = {8, 10, 12, 2, 4, 8};
static const double kResults[] = {32, 40, 48, 20, 0, 80};
static const ordvane_text kTexts[] = {{4, "#N/A"}};
static const double kGroupValues[] = {8, 12, 2, 8};
static const double kGroupResults[] = {16, 64, 24, 96};

static ordvane_arrays arrays(void) {
  ordvane_arrays arrays;
  memset(&arrays, 0, sizeof arrays);
  arrays.size = sizeof arrays;
  arrays.values = kValues;
  arrays.value_count = 6;
  arrays.results = kResults;
  arrays.result_count = 6;
  arrays.texts = kTexts;
  arrays.text_count = 1;
  arrays.group_values = kGroupValues;
  arrays.group_value_count = 4;
  arrays.group_results = kGroupResults;
  arrays.group_result_count = 4;
  return arrays;
}

static ordvane_run* make_run(void) {
  const ordvane_arrays given = arrays();
  ordvane_run* run = NULL;
  ordvane_run_from_arrays(kDescription, &given, &run, NULL);
  return run;
}

/* What a structure of an older program does not hold is empty, or left as it is. */
const char* check_sizes(void) {
  ordvane_arrays given = arrays();
  ordvane_run* run = make_run();
  ordvane_run* none = NULL;
  ordvane_ranking* ranking = NULL;
  ordvane_error* error = NULL;
  ordvane_effect effect;
  ordvane_group_effect group;
  ordvane_group_member member;
  given.size = offsetof(ordvane_arrays, group_values);
  CHECK(ordvane_run_from_arrays(kDescription, &given, &none, &error) == ORDVANE_BAD_RUN && none == NULL);
  CHECK(strstr(ordvane_error_message(error), "groupValues: has 0 numbers") != NULL);
  ordvane_error_free(error);
  error = NULL;
  CHECK(ordvane_rank(run, 0, 1, &ranking, &error) == ORDVANE_OK && error == NULL);
  ordvane_run_free(run);
  CHECK(ordvane_ranking_effect(ranking, 0, &effect, sizeof effect) == 1);
  CHECK(effect.input == 1 && strcmp(effect.name, "Volume") == 0 && effect.rank == 1 && effect.failed == 1);
  CHECK(ordvane_ranking_effect(ranking, 2, &effect, sizeof effect) == 0);
  effect.rank = 77;
  CHECK(ordvane_ranking_effect(ranking, 1, &effect, sizeof effect.input) == 1);
  CHECK(effect.input == 0 && effect.rank == 77);
  CHECK(ordvane_ranking_group(ranking, 0, &group, sizeof group) == 1 && isnan(group.interaction));
  CHECK(strcmp(ordvane_interaction_state_name(group.interaction_state), "errors") == 0);
  CHECK(ordvane_ranking_group_member(ranking, 0, 1, &member, sizeof member) == 1 && member.input == 1);
  CHECK(ordvane_ranking_group_member(ranking, 0, 2, &member, sizeof member) == 0);
  CHECK(ordvane_ranking_group_member(ranking, 1, 0, &member, sizeof member) == 0);
  CHECK(strcmp(ordvane_code_name(ORDVANE_OK), "ok") == 0 && strcmp(ordvane_code_name(99), "unknown") == 0);
  ordvane_ranking_free(ranking);
  return NULL;
}

const char* check_null(void) {
  ordvane_arrays given = arrays();
  ordvane_run* run = make_run();
  ordvane_run* none = NULL;
  ordvane_error* error = NULL;
  ordvane_bytes* bytes = NULL;
  size_t i;
  CHECK(ordvane_run_input_name(run, 2) == NULL && ordvane_run_output_name(run, 1) == NULL);
  CHECK(ordvane_run_read(NULL, &none, &error) == ORDVANE_INVALID_ARGUMENT);
  CHECK(strcmp(ordvane_error_message(error), "path: is null, which it may not be") == 0);
  ordvane_error_free(error);
  given.results = NULL;
  {
    const int32_t codes[] = {ordvane_run_read("x", NULL, NULL),
                             ordvane_run_from_arrays(NULL, &given, &none, NULL),
                             ordvane_run_from_arrays(kDescription, NULL, &none, NULL),
                             ordvane_run_from_arrays(kDescription, &given, &none, NULL),
                             ordvane_run_find_output(run, NULL, NULL, NULL),
                             ordvane_run_describe(NULL, &bytes, NULL),
                             ordvane_rank(NULL, 0, 1, NULL, NULL),
                             ordvane_write_reports(NULL, "x", NULL, NULL, NULL),
                             ordvane_write_reports(run, NULL, NULL, NULL, NULL),
                             ordvane_add_reports(run, NULL, NULL, NULL, NULL),
                             ordvane_pack_reports(run, NULL, NULL, NULL),
                             ordvane_options_set_percent(NULL, 1)};
    for (i = 0; i < sizeof codes / sizeof *codes; ++i) CHECK(codes[i] == ORDVANE_INVALID_ARGUMENT);
  }
  CHECK(ordvane_pack_reports(run, NULL, &bytes, NULL) == ORDVANE_OK && ordvane_bytes_size(bytes) > 1000);
  ordvane_bytes_free(bytes);
  CHECK(ordvane_run_simulations(NULL) == 0 && ordvane_run_input_name(NULL, 0) == NULL);
  CHECK(ordvane_ranking_effect_count(NULL) == 0 && isnan(ordvane_ranking_base(NULL)));
  CHECK(ordvane_error_code(NULL) == ORDVANE_OK && strcmp(ordvane_error_message(NULL), "") == 0);
  ordvane_run_free(NULL);
  ordvane_ranking_free(NULL);
  ordvane_options_free(NULL);
  ordvane_bytes_free(NULL);
  ordvane_error_free(NULL);
  ordvane_run_free(run);
  return NULL;
}
