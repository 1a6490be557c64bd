/** @file
 * Ordvane Results for C, and for languages that call C: which inputs of a what-if run move which outputs, and
 * the Excel workbooks that show it.
 *
 * Left out of this interface:
 * - how a workbook is swept (SweepOptions in ordvane/model.h);
 * - streams; workbooks go to files and to memory;
 * - most of what a run's items hold, which the program that reads them knows already: there are their names
 * only.
 *
 * Conventions:
 * - Errors. A function that can fail gives a code, ORDVANE_OK (0) for success. Its last argument, which may
 * be null, takes an error object with the code and a text; it becomes null on success. The caller frees it. A
 * call that failed has changed nothing and set no other result.
 * - Ownership. What a function hands out through a pointer to a pointer belongs to the caller, who frees it
 * with the function of its kind; freeing null does nothing. Texts and structures that are read from an object
 * live as long as the object. Arguments are copied; nothing is kept of them after a call, but for callbacks.
 * - Null. Only arguments that say so may be null; others give ORDVANE_INVALID_ARGUMENT, or nothing (0, null)
 * where there is no code.
 * - Encoding. Texts are UTF-8 and end with a zero byte. File names are bytes, as the system has them.
 * - Numbers. A figure that is not there is NaN, in arrays and in structures.
 * - Positions count from 0, ranks and simulations from 1.
 * - Structures that may grow are read with their size as the caller knows it.
 * - Threads. A run or a ranking may be read by any number of threads at once, and freed when none does.
 * Options and errors belong to one thread at a time. No exception leaves the library.
 */
#ifndef ORDVANE_H
#define ORDVANE_H

#include <stddef.h>
#include <stdint.h>

#include "ordvane/export.h"
#include "ordvane/version.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Version and errors ---- */

/** Of the library that runs, which may be later than that of the headers: "0.1.0". */
ORDVANE_API const char* ordvane_version(void);

/** Why a call failed. The numbers stay what they are. */
enum {
  ORDVANE_OK = 0,               /**< it did not */
  ORDVANE_INVALID_ARGUMENT = 1, /**< an argument that no run could be reported with */
  ORDVANE_BAD_RUN = 2, /**< a run file, arrays or a definition that cannot be used; the text names file and
                          line, or field */
  ORDVANE_BAD_WORKBOOK = 3,      /**< a workbook that cannot be read, or that reports cannot be added to */
  ORDVANE_FILE_EXISTS = 4,       /**< a file is there already and was not to be replaced */
  ORDVANE_FILE = 5,              /**< the system would not read or write a file */
  ORDVANE_CANCELLED = 6,         /**< the caller's function said so */
  ORDVANE_NOTHING_TO_REPORT = 7, /**< no input or no output was left to report on */
  ORDVANE_OUT_OF_MEMORY = 8,     /**< then there may be no error object */
  ORDVANE_FAILED = 9,            /**< anything else */
  ORDVANE_NOT_CALCULATED = 10 /**< a formula that the library does not calculate; the text names its cell */
};

/** "invalid_argument", "bad_run" and so on; "unknown" for what is no code. */
ORDVANE_API const char* ordvane_code_name(int32_t code);

/** What went wrong. */
typedef struct ordvane_error ordvane_error;
/** Its code; ORDVANE_OK for null. */
ORDVANE_API int32_t ordvane_error_code(const ordvane_error* error);
/** Its text, in English; "" for null. */
ORDVANE_API const char* ordvane_error_message(const ordvane_error* error);
/** Frees it. */
ORDVANE_API void ordvane_error_free(ordvane_error* error);

/* ---- Bytes ---- */

/** A piece of memory: a workbook, a text. */
typedef struct ordvane_bytes ordvane_bytes;
/** Followed by a zero byte. */
ORDVANE_API const char* ordvane_bytes_data(const ordvane_bytes* bytes);
/** Without the zero byte. */
ORDVANE_API size_t ordvane_bytes_size(const ordvane_bytes* bytes);
/** Frees it. */
ORDVANE_API void ordvane_bytes_free(ordvane_bytes* bytes);

/* ---- Runs ---- */

/** A what-if run, which never changes. */
typedef struct ordvane_run ordvane_run;

/** A result that is a text, or as "#N/A" a spreadsheet error, in the place of a number. */
typedef struct ordvane_text {
  size_t at;        /**< position in the array of results */
  const char* text; /**< what stands there */
} ordvane_text;

/** The values of a run. The index on the right runs fastest. Arrays of no elements may be null. */
typedef struct ordvane_arrays {
  size_t size;                /**< of this structure: sizeof(ordvane_arrays) */
  const double* values;       /**< what inputs were set to: [simulation][input][step] */
  size_t value_count;         /**< elements of it, as of all others */
  const double* results;      /**< what outputs showed: [simulation][input][step][output] */
  size_t result_count;        /**< elements */
  const ordvane_text* texts;  /**< among the results */
  size_t text_count;          /**< elements */
  const double* group_values; /**< what members of groups were set to: [simulation][group][member][step] */
  size_t group_value_count;   /**< elements */
  const double*
      group_results; /**< [simulation][group][combination][output], the last member's step changing fastest */
  size_t group_result_count;       /**< elements */
  const ordvane_text* group_texts; /**< among the groups' results */
  size_t group_text_count;         /**< elements */
} ordvane_arrays;

/** Reads and verifies a run file. */
ORDVANE_API int32_t ordvane_run_read(const char* path, ordvane_run** run, ordvane_error** error);
/** Makes and verifies a run from a program's values. `description`: JSON, a run file (docs/run-file.md)
 * without `recalculations` and `groupRecalculations`; `format`, `version`, `simulations`, and the `book`,
 * `sheet` and `cell` of items may be left out too. */
ORDVANE_API int32_t ordvane_run_from_arrays(const char* description, const ordvane_arrays* arrays,
                                            ordvane_run** run, ordvane_error** error);
/** Frees it. Rankings and reports that were made of it stay. */
ORDVANE_API void ordvane_run_free(ordvane_run* run);

/** Number of simulations. */
ORDVANE_API int32_t ordvane_run_simulations(const ordvane_run* run);
/** Number of inputs. */
ORDVANE_API size_t ordvane_run_input_count(const ordvane_run* run);
/** Number of outputs. */
ORDVANE_API size_t ordvane_run_output_count(const ordvane_run* run);
/** Number of recalculations of a simulation, with those of groups. */
ORDVANE_API size_t ordvane_run_recalculations(const ordvane_run* run);
/** Name of an input, "" where it has none; null for a position that the run does not have. */
ORDVANE_API const char* ordvane_run_input_name(const ordvane_run* run, size_t input);
/** Name of an output, "" where it has none; null for a position that the run does not have. */
ORDVANE_API const char* ordvane_run_output_name(const ordvane_run* run, size_t output);
/** Position of the output with this name or cell: "Profit", "C14", "Plan!C14", "[book.xlsx]Plan!C14". */
ORDVANE_API int32_t ordvane_run_find_output(const ordvane_run* run, const char* name_or_cell, size_t* output,
                                            ordvane_error** error);
/** What is in the run, in plain text for people. */
ORDVANE_API int32_t ordvane_run_describe(const ordvane_run* run, ordvane_bytes** text, ordvane_error** error);

/* ---- Ranking ---- */

/** Which inputs move an output, and by how much. */
typedef struct ordvane_ranking ordvane_ranking;

/** What one input did to the output while every other input was at its base. */
typedef struct ordvane_effect {
  size_t input;            /**< position in the run */
  const char* name;        /**< of the input, or its address where it has none */
  int32_t rank;            /**< 1 moves the output most */
  double low;              /**< lowest value of the output */
  double high;             /**< highest value of the output */
  double swing;            /**< high less low */
  double low_change;       /**< (low - base) / |base| */
  double high_change;      /**< (high - base) / |base| */
  double input_at_low;     /**< what the input was set to where the output was lowest */
  double input_at_high;    /**< and where it was highest */
  int32_t steps;           /**< recalculations of the input */
  int32_t failed;          /**< how many of their results are no numbers; the figures are without them */
  int32_t moves;           /**< 1 where results differ from one another or from the base value */
  int32_t leaves_out_base; /**< 1 where no step stood at the input's base: its effect may be larger */
} ordvane_effect;

/** Why a group has no interaction: its swing and those of its members cannot be compared. */
enum {
  ORDVANE_MEASURED = 0,     /**< it has one */
  ORDVANE_NO_OWN_SWING = 1, /**< a member varied alone has no result to compare with */
  ORDVANE_OTHER_VALUES = 2, /**< a member took other values alone than in the group */
  ORDVANE_ERRORS = 3        /**< results that are no numbers cut one of the ranges */
};
/** "measured", "no_own_swing" and so on; "unknown" for what is none of these. */
ORDVANE_API const char* ordvane_interaction_state_name(int32_t state);

/** What inputs varied together did to the output. */
typedef struct ordvane_group_effect {
  size_t members;            /**< how many inputs */
  int32_t rank;              /**< among the groups */
  double low;                /**< lowest value of the output */
  double high;               /**< highest value of the output */
  double swing;              /**< high less low */
  double low_change;         /**< (low - base) / |base| */
  double high_change;        /**< (high - base) / |base| */
  double own_swings;         /**< of the members varied alone, added up */
  double interaction;        /**< swing less own_swings: 0 where the effects add up */
  int32_t interaction_state; /**< why there is none: ORDVANE_MEASURED ... */
  int32_t steps;             /**< combinations of the group */
  int32_t failed;            /**< how many of their results are no numbers; the figures are without them */
  int32_t moves;             /**< 1 where results differ from one another or from the base value */
  int32_t leaves_out_base;   /**< 1 where none stood at the base values: its effect may be larger */
} ordvane_group_effect;

/** An input of a group. */
typedef struct ordvane_group_member {
  size_t input;     /**< position in the run */
  const char* name; /**< of the input, or its address where it has none */
  double at_low;    /**< what it was set to where the output was lowest */
  double at_high;   /**< and where it was highest */
  double own_swing; /**< of the output when this input alone is varied */
} ordvane_group_member;

/** Ranks the inputs for one output. */
ORDVANE_API int32_t ordvane_rank(const ordvane_run* run, size_t output, int32_t simulation,
                                 ordvane_ranking** ranking, ordvane_error** error);
/** Frees it. */
ORDVANE_API void ordvane_ranking_free(ordvane_ranking* ranking);
/** The output's position in the run. */
ORDVANE_API size_t ordvane_ranking_output(const ordvane_ranking* ranking);
/** The output's name, or its address where it has none. */
ORDVANE_API const char* ordvane_ranking_name(const ordvane_ranking* ranking);
/** The output's base value. */
ORDVANE_API double ordvane_ranking_base(const ordvane_ranking* ranking);
/** Number of inputs in the ranking: those with saved samples. */
ORDVANE_API size_t ordvane_ranking_effect_count(const ordvane_ranking* ranking);
/** Number of groups in the ranking. */
ORDVANE_API size_t ordvane_ranking_group_count(const ordvane_ranking* ranking);
/** The effect at this place, by rank. `size`: sizeof(ordvane_effect). Gives 1, or 0 where there is none. */
ORDVANE_API int32_t ordvane_ranking_effect(const ordvane_ranking* ranking, size_t place,
                                           ordvane_effect* effect, size_t size);
/** The group at this place, by rank. `size`: sizeof(ordvane_group_effect). Gives 1, or 0 where there is none.
 */
ORDVANE_API int32_t ordvane_ranking_group(const ordvane_ranking* ranking, size_t place,
                                          ordvane_group_effect* group, size_t size);
/** A member of the group at this place. `size`: sizeof(ordvane_group_member). Gives 1, or 0 where there is
 * none. */
ORDVANE_API int32_t ordvane_ranking_group_member(const ordvane_ranking* ranking, size_t place, size_t member,
                                                 ordvane_group_member* group_member, size_t size);

/* ---- Reports ---- */

/** What reports are made and what they show. */
typedef struct ordvane_options ordvane_options;

/** Which input moves what, tornado, spider and sensitivity graphs of every output, and a summary. Null when
 * there is no memory. */
ORDVANE_API ordvane_options* ordvane_options_new(void);
/** Frees them. */
ORDVANE_API void ordvane_options_free(ordvane_options* options);

/** Reports on this output, and on others that are added so; without any, on all. */
ORDVANE_API int32_t ordvane_options_add_output(ordvane_options* options, size_t output);
/** One sheet with inputs against outputs: at first on. */
ORDVANE_API int32_t ordvane_options_set_matrix(ordvane_options* options, int32_t on);
/** One bar per input, the strongest on top: at first on. */
ORDVANE_API int32_t ordvane_options_set_tornado(ordvane_options* options, int32_t on);
/** One line per input: at first on. */
ORDVANE_API int32_t ordvane_options_set_spider(ordvane_options* options, int32_t on);
/** One chart per input: at first on. */
ORDVANE_API int32_t ordvane_options_set_sensitivity(ordvane_options* options, int32_t on);
/** Every step of every input, by rank: at first off. */
ORDVANE_API int32_t ordvane_options_set_output_detail(ordvane_options* options, int32_t on);
/** Every step of every input, outputs side by side: at first off. */
ORDVANE_API int32_t ordvane_options_set_detail_by_input(ordvane_options* options, int32_t on);
/** Inputs varied together, which the run must have: at first off. */
ORDVANE_API int32_t ordvane_options_set_multi_way(ordvane_options* options, int32_t on);
/** Graphs show changes in percent of the base value: at first off. */
ORDVANE_API int32_t ordvane_options_set_percent(ordvane_options* options, int32_t on);
/** Most inputs on a graph, 1 to 32: at first 20. */
ORDVANE_API int32_t ordvane_options_set_max_inputs(ordvane_options* options, int32_t count);
/** Graphs have also the inputs that do not move their output: at first off. */
ORDVANE_API int32_t ordvane_options_set_all_inputs(ordvane_options* options, int32_t on);
/** Only inputs with a swing of at least this share of the base value, such as 0.05; NaN, as at first: all. */
ORDVANE_API int32_t ordvane_options_set_threshold(ordvane_options* options, double share);
/** Colour of the bars of a tornado, 0xRRGGBB. */
ORDVANE_API int32_t ordvane_options_set_bar_color(ordvane_options* options, uint32_t color);
/** Colour of its line at the base value, 0xRRGGBB. */
ORDVANE_API int32_t ordvane_options_set_base_color(ordvane_options* options, uint32_t color);
/** Colour of the parts of its bars that inputs below their base make, 0xRRGGBB. */
ORDVANE_API int32_t ordvane_options_set_low_color(ordvane_options* options, uint32_t color);
/** What stands at the ends of bars: what inputs were set to, what the output came to, or both. */
enum { ORDVANE_LABELS_INPUTS = 0, ORDVANE_LABELS_OUTPUTS = 1, ORDVANE_LABELS_BOTH = 2 };
/** One of them: at first ORDVANE_LABELS_INPUTS. */
ORDVANE_API int32_t ordvane_options_set_labels(ordvane_options* options, int32_t labels);
/** A text across charts and pages, of up to two lines. */
ORDVANE_API int32_t ordvane_options_set_watermark(ordvane_options* options, const char* text);
/** The language of the reports, one of ordvane_language: at first "en". */
ORDVANE_API int32_t ordvane_options_set_language(ordvane_options* options, const char* code);
/** The date in the workbook's properties, in seconds since 1970 began in UTC; without one, a fixed date. */
ORDVANE_API int32_t ordvane_options_set_created(ordvane_options* options, int64_t seconds);
/** Replaces a file that is there, or sheets of earlier reports: at first off. */
ORDVANE_API int32_t ordvane_options_set_overwrite(ordvane_options* options, int32_t on);
/** Called now and then with what is being done, on the thread of the caller; null: not called. */
ORDVANE_API int32_t ordvane_options_set_progress(ordvane_options* options,
                                                 void (*progress)(const char* text, void* user), void* user);
/** Asked now and then whether to stop, which anything but 0 means; on any thread, but never on two at once;
 * null: not asked. */
ORDVANE_API int32_t ordvane_options_set_cancelled(ordvane_options* options, int32_t (*cancelled)(void* user),
                                                  void* user);

/** What was written. */
typedef struct ordvane_written {
  size_t sheets; /**< report sheets */
  size_t charts; /**< charts on them */
} ordvane_written;

/** Reports in a new workbook, which appears whole or not at all. `options` and `written` may be null. */
ORDVANE_API int32_t ordvane_write_reports(const ordvane_run* run, const char* workbook,
                                          const ordvane_options* options, ordvane_written* written,
                                          ordvane_error** error);
/** Reports as sheets of an .xlsx or .xlsm file that is there; all else in it stays as it is. `options` and
 * `written` may be null. */
ORDVANE_API int32_t ordvane_add_reports(const ordvane_run* run, const char* workbook,
                                        const ordvane_options* options, ordvane_written* written,
                                        ordvane_error** error);
/** The bytes of a new workbook with reports. `options` may be null. */
ORDVANE_API int32_t ordvane_pack_reports(const ordvane_run* run, const ordvane_options* options,
                                         ordvane_bytes** workbook, ordvane_error** error);

/** Code of a language that reports can be in; null after the last one. */
ORDVANE_API const char* ordvane_language(size_t place);

/* ---- Workbook models ---- */

/** A workbook that is asked again and again. Used by one thread at a time. */
typedef struct ordvane_model ordvane_model;
/** Opens a workbook, which is never changed. */
ORDVANE_API int32_t ordvane_model_open(const char* workbook, ordvane_model** model, ordvane_error** error);
/** Frees it. */
ORDVANE_API void ordvane_model_free(ordvane_model* model);
/** What a cell, "Prices!C3" or a name of the workbook, holds from now on. */
ORDVANE_API int32_t ordvane_model_set(ordvane_model* model, const char* cell, double value,
                                      ordvane_error** error);
/** All cells hold what they hold in the workbook. */
ORDVANE_API void ordvane_model_reset(ordvane_model* model);
/** What a cell shows now. `number`: NaN where it shows none. `text`, which may be null: the text or, as
 * "#N/A", the error that it shows; empty for numbers, and for nothing. */
ORDVANE_API int32_t ordvane_model_value(ordvane_model* model, const char* cell, double* number,
                                        ordvane_bytes** text, ordvane_error** error);

/** Makes the run of a workbook. `definition`: JSON, a what-if definition (docs/what-if.md). `run_file`, which
 * may be null: where the run is written, too, and where interrupted work goes on; a run that is there is not
 * replaced. `cancelled`, which may be null, is asked now and then whether to stop; on any thread, but never
 * on two at once. */
ORDVANE_API int32_t ordvane_sweep_workbook(const char* workbook, const char* definition, const char* run_file,
                                           int32_t (*cancelled)(void* user), void* user, ordvane_run** run,
                                           ordvane_error** error);

#ifdef __cplusplus
}
#endif

#endif
