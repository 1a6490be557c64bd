// The C interface, over the C++ one.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "library/errors.h"
#include "ordvane.h"
#include "ordvane/model.h"
#include "ordvane/ranking.h"
#include "ordvane/report.h"
#include "ordvane/run.h"

struct ordvane_error {
  std::int32_t code;
  std::string message;
};
struct ordvane_bytes {
  std::string data;
};
struct ordvane_run {
  ordvane::Run run;
};
struct ordvane_ranking {
  ordvane::Ranking ranking;
};
struct ordvane_model {
  ordvane::Model model;
};
struct ordvane_options {
  ordvane::ReportOptions options;
};

namespace {

using ordvane::Error;
using ordvane::ErrorCode;

// The codes of both interfaces are the same numbers.
static_assert(ORDVANE_FAILED == static_cast<int>(ErrorCode::kFailed) &&
              ORDVANE_NOT_CALCULATED == static_cast<int>(ErrorCode::kNotCalculated) &&
              ORDVANE_CANCELLED == static_cast<int>(ErrorCode::kCancelled) &&
              ORDVANE_INVALID_ARGUMENT == static_cast<int>(ErrorCode::kInvalidArgument));
using ordvane::InteractionState;
static_assert(ORDVANE_MEASURED == static_cast<int>(InteractionState::kMeasured) &&
              ORDVANE_NO_OWN_SWING == static_cast<int>(InteractionState::kNoOwnSwing) &&
              ORDVANE_OTHER_VALUES == static_cast<int>(InteractionState::kOtherValues) &&
              ORDVANE_ERRORS == static_cast<int>(InteractionState::kErrors));

void set_error(ordvane_error** error, std::int32_t code, const char* message) noexcept {
  if (error == nullptr) return;
  try {
    *error = new ordvane_error{code, message};
  } catch (...) {
    *error = nullptr;
  }
}

// Runs a call of the interface; no exception leaves it.
template <class Step>
std::int32_t guarded(ordvane_error** error, const Step& step) noexcept {
  if (error != nullptr) *error = nullptr;
  try {
    ordvane::library::translating_errors(step);
    return ORDVANE_OK;
  } catch (const Error& failure) {
    const auto code = static_cast<std::int32_t>(failure.code());
    set_error(error, code, failure.what());
    return code;
  } catch (...) {  // the Error itself could not be made
    set_error(error, ORDVANE_OUT_OF_MEMORY, "out of memory");
    return ORDVANE_OUT_OF_MEMORY;
  }
}

void require(const void* argument, const char* name) {
  if (argument == nullptr)
    throw Error(ErrorCode::kInvalidArgument, std::string(name) + ": is null, which it may not be");
}

template <class Element>
std::span<const Element> elements(const Element* array, std::size_t count, const char* name) {
  if (count > 0) require(array, name);
  return {array, count};
}

std::vector<ordvane::TextResult> texts_of(const ordvane_text* array, std::size_t count, const char* name) {
  std::vector<ordvane::TextResult> texts;
  for (const ordvane_text& text : elements(array, count, name)) {
    require(text.text, name);
    texts.push_back({text.at, text.text});
  }
  return texts;
}

// Copies as much of a structure as its reader knows.
template <class Structure>
std::int32_t hand_out(const Structure& structure, Structure* to, std::size_t size) {
  if (to == nullptr) return 0;
  std::memcpy(to, &structure, std::min(size, sizeof structure));
  return 1;
}

double number_or_nan(const std::optional<double>& number) {
  return number.value_or(std::numeric_limits<double>::quiet_NaN());
}

ordvane::Color color_of(std::uint32_t rgb) {
  return {static_cast<std::uint8_t>(rgb >> 16), static_cast<std::uint8_t>(rgb >> 8),
          static_cast<std::uint8_t>(rgb)};
}

// Sets an option; null options give a code like any wrong argument.
template <class Set>
std::int32_t set_option(ordvane_options* options, const Set& set) noexcept {
  return guarded(nullptr, [&] {
    require(options, "options");
    set(options->options);
  });
}

const ordvane::ReportOptions& options_or_defaults(const ordvane_options* options) {
  static const ordvane::ReportOptions defaults;
  return options == nullptr ? defaults : options->options;
}

using Write = ordvane::WrittenReports (*)(const ordvane::Run&, const std::filesystem::path&,
                                          const ordvane::ReportOptions&);

std::int32_t write_to_file(Write write, const ordvane_run* run, const char* workbook,
                           const ordvane_options* options, ordvane_written* written,
                           ordvane_error** error) noexcept {
  return guarded(error, [&] {
    require(run, "run");
    require(workbook, "workbook");
    const ordvane::WrittenReports counts = write(run->run, workbook, options_or_defaults(options));
    if (written != nullptr) *written = {counts.sheets, counts.charts};
  });
}

template <class Items>
const char* name_at(const Items& items, std::size_t position) {
  return position < items.size() ? items[position].name.c_str() : nullptr;
}

}  // namespace

const char* ordvane_version(void) {
  return ordvane::version();
}

const char* ordvane_code_name(std::int32_t code) {
  return code == ORDVANE_OK ? "ok" : ordvane::code_name(static_cast<ErrorCode>(code));
}

std::int32_t ordvane_error_code(const ordvane_error* error) {
  return error == nullptr ? ORDVANE_OK : error->code;
}

const char* ordvane_error_message(const ordvane_error* error) {
  return error == nullptr ? "" : error->message.c_str();
}

void ordvane_error_free(ordvane_error* error) {
  delete error;
}

const char* ordvane_bytes_data(const ordvane_bytes* bytes) {
  return bytes == nullptr ? nullptr : bytes->data.c_str();
}

std::size_t ordvane_bytes_size(const ordvane_bytes* bytes) {
  return bytes == nullptr ? 0 : bytes->data.size();
}

void ordvane_bytes_free(ordvane_bytes* bytes) {
  delete bytes;
}

// ---- Runs ----

std::int32_t ordvane_run_read(const char* path, ordvane_run** run, ordvane_error** error) {
  return guarded(error, [&] {
    require(path, "path");
    require(run, "run");
    *run = new ordvane_run{ordvane::Run::read(path)};
  });
}

std::int32_t ordvane_run_from_arrays(const char* description, const ordvane_arrays* arrays, ordvane_run** run,
                                     ordvane_error** error) {
  return guarded(error, [&] {
    require(description, "description");
    require(arrays, "arrays");
    require(run, "run");
    // What a program built with other headers does not know is empty.
    ordvane_arrays given{};
    std::memcpy(&given, arrays, std::min(arrays->size, sizeof given));
    const auto texts = texts_of(given.texts, given.text_count, "texts");
    const auto group_texts = texts_of(given.group_texts, given.group_text_count, "group_texts");
    *run = new ordvane_run{ordvane::Run::from_arrays(
        description,
        {.values = elements(given.values, given.value_count, "values"),
         .results = elements(given.results, given.result_count, "results"),
         .texts = texts,
         .group_values = elements(given.group_values, given.group_value_count, "group_values"),
         .group_results = elements(given.group_results, given.group_result_count, "group_results"),
         .group_texts = group_texts})};
  });
}

void ordvane_run_free(ordvane_run* run) {
  delete run;
}

std::int32_t ordvane_run_simulations(const ordvane_run* run) {
  return run == nullptr ? 0 : run->run.simulations();
}

std::size_t ordvane_run_input_count(const ordvane_run* run) {
  return run == nullptr ? 0 : run->run.inputs().size();
}

std::size_t ordvane_run_output_count(const ordvane_run* run) {
  return run == nullptr ? 0 : run->run.outputs().size();
}

std::size_t ordvane_run_recalculations(const ordvane_run* run) {
  return run == nullptr ? 0 : run->run.recalculations();
}

const char* ordvane_run_input_name(const ordvane_run* run, std::size_t input) {
  return run == nullptr ? nullptr : name_at(run->run.inputs(), input);
}

const char* ordvane_run_output_name(const ordvane_run* run, std::size_t output) {
  return run == nullptr ? nullptr : name_at(run->run.outputs(), output);
}

std::int32_t ordvane_run_find_output(const ordvane_run* run, const char* name_or_cell, std::size_t* output,
                                     ordvane_error** error) {
  return guarded(error, [&] {
    require(run, "run");
    require(name_or_cell, "name_or_cell");
    require(output, "output");
    *output = run->run.find_output(name_or_cell);
  });
}

std::int32_t ordvane_run_describe(const ordvane_run* run, ordvane_bytes** text, ordvane_error** error) {
  return guarded(error, [&] {
    require(run, "run");
    require(text, "text");
    *text = new ordvane_bytes{run->run.describe()};
  });
}

// ---- Ranking ----

std::int32_t ordvane_rank(const ordvane_run* run, std::size_t output, std::int32_t simulation,
                          ordvane_ranking** ranking, ordvane_error** error) {
  return guarded(error, [&] {
    require(run, "run");
    require(ranking, "ranking");
    *ranking = new ordvane_ranking{ordvane::rank(run->run, output, simulation)};
  });
}

void ordvane_ranking_free(ordvane_ranking* ranking) {
  delete ranking;
}

std::size_t ordvane_ranking_output(const ordvane_ranking* ranking) {
  return ranking == nullptr ? 0 : ranking->ranking.output;
}

const char* ordvane_ranking_name(const ordvane_ranking* ranking) {
  return ranking == nullptr ? nullptr : ranking->ranking.name.c_str();
}

double ordvane_ranking_base(const ordvane_ranking* ranking) {
  return number_or_nan(ranking == nullptr ? std::nullopt : ranking->ranking.base);
}

std::size_t ordvane_ranking_effect_count(const ordvane_ranking* ranking) {
  return ranking == nullptr ? 0 : ranking->ranking.effects.size();
}

std::size_t ordvane_ranking_group_count(const ordvane_ranking* ranking) {
  return ranking == nullptr ? 0 : ranking->ranking.groups.size();
}

const char* ordvane_interaction_state_name(std::int32_t state) {
  return ordvane::state_name(static_cast<InteractionState>(state));
}

std::int32_t ordvane_ranking_effect(const ordvane_ranking* ranking, std::size_t place, ordvane_effect* effect,
                                    std::size_t size) {
  if (place >= ordvane_ranking_effect_count(ranking)) return 0;
  const ordvane::Effect& from = ranking->ranking.effects[place];
  return hand_out(ordvane_effect{.input = from.input,
                                 .name = from.name.c_str(),
                                 .rank = from.rank,
                                 .low = number_or_nan(from.low),
                                 .high = number_or_nan(from.high),
                                 .swing = number_or_nan(from.swing),
                                 .low_change = number_or_nan(from.low_change),
                                 .high_change = number_or_nan(from.high_change),
                                 .input_at_low = number_or_nan(from.input_at_low),
                                 .input_at_high = number_or_nan(from.input_at_high),
                                 .steps = from.steps,
                                 .failed = from.failed,
                                 .moves = from.moves,
                                 .leaves_out_base = from.leaves_out_base},
                  effect, size);
}

std::int32_t ordvane_ranking_group(const ordvane_ranking* ranking, std::size_t place,
                                   ordvane_group_effect* group, std::size_t size) {
  if (place >= ordvane_ranking_group_count(ranking)) return 0;
  const ordvane::GroupEffect& from = ranking->ranking.groups[place];
  return hand_out(ordvane_group_effect{.members = from.members.size(),
                                       .rank = from.rank,
                                       .low = number_or_nan(from.low),
                                       .high = number_or_nan(from.high),
                                       .swing = number_or_nan(from.swing),
                                       .low_change = number_or_nan(from.low_change),
                                       .high_change = number_or_nan(from.high_change),
                                       .own_swings = number_or_nan(from.own_swings),
                                       .interaction = number_or_nan(from.interaction),
                                       .interaction_state = static_cast<std::int32_t>(from.interaction_state),
                                       .steps = from.steps,
                                       .failed = from.failed,
                                       .moves = from.moves,
                                       .leaves_out_base = from.leaves_out_base},
                  group, size);
}

std::int32_t ordvane_ranking_group_member(const ordvane_ranking* ranking, std::size_t place,
                                          std::size_t member, ordvane_group_member* group_member,
                                          std::size_t size) {
  if (place >= ordvane_ranking_group_count(ranking)) return 0;
  const auto& members = ranking->ranking.groups[place].members;
  if (member >= members.size()) return 0;
  const ordvane::GroupMember& from = members[member];
  return hand_out(ordvane_group_member{.input = from.input,
                                       .name = from.name.c_str(),
                                       .at_low = number_or_nan(from.at_low),
                                       .at_high = number_or_nan(from.at_high),
                                       .own_swing = number_or_nan(from.own_swing)},
                  group_member, size);
}

// ---- Reports ----

ordvane_options* ordvane_options_new(void) {
  return new (std::nothrow) ordvane_options{};
}

void ordvane_options_free(ordvane_options* options) {
  delete options;
}

std::int32_t ordvane_options_add_output(ordvane_options* options, std::size_t output) {
  return set_option(options, [&](auto& o) { o.outputs.push_back(output); });
}

std::int32_t ordvane_options_set_matrix(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.matrix = on != 0; });
}

std::int32_t ordvane_options_set_tornado(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.tornado = on != 0; });
}

std::int32_t ordvane_options_set_spider(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.spider = on != 0; });
}

std::int32_t ordvane_options_set_sensitivity(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.sensitivity = on != 0; });
}

std::int32_t ordvane_options_set_output_detail(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.output_detail = on != 0; });
}

std::int32_t ordvane_options_set_detail_by_input(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.detail_by_input = on != 0; });
}

std::int32_t ordvane_options_set_multi_way(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.multi_way = on != 0; });
}

std::int32_t ordvane_options_set_percent(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.percent = on != 0; });
}

std::int32_t ordvane_options_set_max_inputs(ordvane_options* options, std::int32_t count) {
  return set_option(options, [&](auto& o) { o.max_inputs = count; });
}

std::int32_t ordvane_options_set_all_inputs(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.all_inputs = on != 0; });
}

std::int32_t ordvane_options_set_threshold(ordvane_options* options, double share) {
  return set_option(options, [&](auto& o) {
    o.threshold = std::isnan(share) ? std::nullopt : std::optional<double>(share);
  });
}

std::int32_t ordvane_options_set_bar_color(ordvane_options* options, std::uint32_t color) {
  return set_option(options, [&](auto& o) { o.bar_color = color_of(color); });
}

std::int32_t ordvane_options_set_base_color(ordvane_options* options, std::uint32_t color) {
  return set_option(options, [&](auto& o) { o.base_color = color_of(color); });
}

std::int32_t ordvane_options_set_low_color(ordvane_options* options, std::uint32_t color) {
  return set_option(options, [&](auto& o) { o.low_color = color_of(color); });
}

std::int32_t ordvane_options_set_labels(ordvane_options* options, std::int32_t labels) {
  return set_option(options, [&](auto& o) { o.labels = static_cast<ordvane::BarLabels>(labels); });
}

std::int32_t ordvane_options_set_watermark(ordvane_options* options, const char* text) {
  return set_option(options, [&](auto& o) {
    require(text, "text");
    o.watermark = text;
  });
}

std::int32_t ordvane_options_set_language(ordvane_options* options, const char* code) {
  return set_option(options, [&](auto& o) {
    require(code, "code");
    o.language = code;
  });
}

std::int32_t ordvane_options_set_created(ordvane_options* options, std::int64_t seconds) {
  return set_option(options,
                    [&](auto& o) { o.created = std::chrono::sys_seconds(std::chrono::seconds(seconds)); });
}

std::int32_t ordvane_options_set_overwrite(ordvane_options* options, std::int32_t on) {
  return set_option(options, [&](auto& o) { o.overwrite = on != 0; });
}

std::int32_t ordvane_options_set_progress(ordvane_options* options,
                                          void (*progress)(const char* text, void* user), void* user) {
  return set_option(options, [&](auto& o) {
    o.progress = nullptr;
    if (progress != nullptr)
      o.progress = [progress, user](const std::string& text) { progress(text.c_str(), user); };
  });
}

std::int32_t ordvane_options_set_cancelled(ordvane_options* options, std::int32_t (*cancelled)(void* user),
                                           void* user) {
  return set_option(options, [&](auto& o) {
    o.cancelled = nullptr;
    if (cancelled != nullptr) o.cancelled = [cancelled, user] { return cancelled(user) != 0; };
  });
}

std::int32_t ordvane_write_reports(const ordvane_run* run, const char* workbook,
                                   const ordvane_options* options, ordvane_written* written,
                                   ordvane_error** error) {
  return write_to_file(ordvane::write_reports, run, workbook, options, written, error);
}

std::int32_t ordvane_add_reports(const ordvane_run* run, const char* workbook, const ordvane_options* options,
                                 ordvane_written* written, ordvane_error** error) {
  return write_to_file(ordvane::add_reports, run, workbook, options, written, error);
}

std::int32_t ordvane_pack_reports(const ordvane_run* run, const ordvane_options* options,
                                  ordvane_bytes** workbook, ordvane_error** error) {
  return guarded(error, [&] {
    require(run, "run");
    require(workbook, "workbook");
    *workbook = new ordvane_bytes{ordvane::pack_reports(run->run, options_or_defaults(options))};
  });
}

const char* ordvane_language(std::size_t place) {
  static const std::vector<std::string> languages = [] {
    try {
      return ordvane::languages();
    } catch (...) {
      return std::vector<std::string>();
    }
  }();
  return place < languages.size() ? languages[place].c_str() : nullptr;
}

// ---- Workbook models ----

std::int32_t ordvane_model_open(const char* workbook, ordvane_model** model, ordvane_error** error) {
  return guarded(error, [&] {
    require(workbook, "workbook");
    require(model, "model");
    *model = new ordvane_model{ordvane::Model(workbook)};
  });
}

void ordvane_model_free(ordvane_model* model) {
  delete model;
}

std::int32_t ordvane_model_set(ordvane_model* model, const char* cell, double value, ordvane_error** error) {
  return guarded(error, [&] {
    require(model, "model");
    require(cell, "cell");
    model->model.set(cell, value);
  });
}

void ordvane_model_reset(ordvane_model* model) {
  if (model != nullptr) model->model.reset();
}

std::int32_t ordvane_model_value(ordvane_model* model, const char* cell, double* number, ordvane_bytes** text,
                                 ordvane_error** error) {
  return guarded(error, [&] {
    require(model, "model");
    require(cell, "cell");
    require(number, "number");
    ordvane::CellValue value = model->model.value(cell);
    if (text != nullptr) *text = new ordvane_bytes{std::move(value.text)};
    *number = number_or_nan(value.number);
  });
}

std::int32_t ordvane_sweep_workbook(const char* workbook, const char* definition, const char* run_file,
                                    std::int32_t (*cancelled)(void* user), void* user, ordvane_run** run,
                                    ordvane_error** error) {
  return guarded(error, [&] {
    require(workbook, "workbook");
    require(definition, "definition");
    require(run, "run");
    ordvane::SweepOptions options;
    if (run_file != nullptr) options.run = run_file;
    if (cancelled != nullptr) options.cancelled = [cancelled, user] { return cancelled(user) != 0; };
    *run = new ordvane_run{ordvane::sweep_workbook(workbook, definition, options)};
  });
}
