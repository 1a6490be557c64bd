#include "page/views.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "environment/standard_environment.h"
#include "model/number_rules.h"
#include "runfile/values.h"

namespace ordvane::page {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

std::string place_of(const runfile::Item& item) {
  return item.sheet + "!" + item.cell;
}

}  // namespace

double number_or_nan(double value) {
  return std::isfinite(value) && value != host::kMissingNumber && !runfile::is_encoded_error(value) ? value
                                                                                                    : kNone;
}

bool View::has_changes() const {
  return base != 0 && !std::isnan(base) && !figures.shows_dates();
}

bool View::has_crossings() const {
  return std::any_of(ranking.answers.inputs.begin(), ranking.answers.inputs.end(),
                     [](const model::InputAnswers& answers) { return !answers.break_even.reached.empty(); });
}

double View::change(double value) const {
  if (std::isnan(value) || !has_changes()) return kNone;
  return number_or_nan(model::NumberRules().fractional_change(value, base));
}

Views::Views(const runfile::Run& run, const embedded::ReportOptions& options,
             const std::vector<std::vector<embedded::OutputRanking>>& rankings)
    : run_(run), options_(options), language_(environment::language(options.language)) {
  environment::Settings settings;
  settings.language = options.language;
  session_.environment = std::make_shared<environment::StandardEnvironment>(settings);
  session_.string_table = environment::make_string_table(language_);
  add_inputs();
  std::size_t count = 0;
  for (const auto& of_simulation : rankings) count += of_simulation.size();
  views_.reserve(count);  // what stands on graphs is pointed at
  for (std::size_t i = 0; i < rankings.size(); ++i)
    for (const embedded::OutputRanking& ranking : rankings[i])
      add_view(ranking, static_cast<std::int32_t>(i) + 1);
}

void Views::add_inputs() {
  std::int64_t first = 0;
  for (const runfile::Input& item : run_.inputs) {
    const double base = number_or_nan(item.base.value_or(kNone));
    std::vector<double> values{base};
    for (std::int64_t step = 0; step < item.steps; ++step) values.push_back(input_value(1, first + step));
    inputs_.push_back({&item, item.name, place_of(item), first, base, Figures(item, values, language_)});
    first += item.steps;
  }
}

void Views::add_view(const embedded::OutputRanking& ranking, std::int32_t simulation) {
  const runfile::Output& output = run_.outputs[static_cast<std::size_t>(ranking.output_index)];
  const double base = number_or_nan(ranking.base);
  std::vector<double> values{base};
  for (const embedded::Effect& effect : ranking.effects) {
    inputs_[static_cast<std::size_t>(effect.input_index)].name = effect.input;
    values.push_back(number_or_nan(effect.low));
    values.push_back(number_or_nan(effect.high));
  }
  std::string name = ranking.output.empty() ? place_of(output) : ranking.output;
  if (run_.simulations > 1)
    name += " – " + session_.text(text_id::kLabelRun) + " " +
            session_.text(text_id::kTornadoRun, std::to_string(simulation), std::to_string(run_.simulations));
  views_.push_back({&output,
                    std::move(name),
                    place_of(output),
                    simulation,
                    base,
                    ranking,
                    {},
                    Figures(output, values, language_)});
  views_.back().on_graphs = graph_inputs(views_.back());
}

// As the sheets of graphs choose them: the first by rank whose swing reaches the threshold, without those
// that move nothing; the tornado's order is that of all graphs.
std::vector<const embedded::Effect*> Views::graph_inputs(const View& view) const {
  const bool has_threshold = options_.has_threshold && view.has_changes();
  std::vector<const embedded::Effect*> chosen;
  for (const embedded::Effect& effect : view.ranking.effects) {
    if (effect.rank > options_.max_inputs) break;
    if (has_threshold && !(effect.swing >= options_.threshold * std::fabs(view.base))) break;
    if (options_.all_inputs || !effect.facts.without_effect()) chosen.push_back(&effect);
  }
  std::vector<std::size_t> places(
      view.ranking.effects.size());  // of each rank, in the order that is asked for
  const auto sorted = model::sorted_by(options_.sort, view.ranking.answers.inputs);
  for (std::size_t place = 0; place < sorted.size(); ++place) places[sorted[place]] = place;
  const auto place_of = [&](const embedded::Effect* effect) {
    return places[static_cast<std::size_t>(effect - view.ranking.effects.data())];
  };
  std::sort(chosen.begin(), chosen.end(),
            [&](const auto* a, const auto* b) { return place_of(a) < place_of(b); });
  return chosen;
}

double Views::input_value(std::int32_t simulation, std::int64_t recalculation) const {
  return number_or_nan(run_.input_values[run_.input_value_index(simulation - 1, recalculation)]);
}

double Views::output_value(const View& view, std::int64_t recalculation) const {
  const auto output = static_cast<std::size_t>(view.ranking.output_index);
  return number_or_nan(
      run_.output_values[run_.output_value_index(view.simulation - 1, output, recalculation)]);
}

std::vector<Point> Views::points(const View& view, const embedded::Effect& effect) const {
  const InputFacts& input = input_of(effect);
  std::vector<Point> points;
  for (std::int64_t step = input.first_step; step < input.first_step + input.item->steps; ++step)
    points.push_back({input_value(view.simulation, step), output_value(view, step)});
  return points;
}

std::unique_ptr<Views> views_of(const std::shared_ptr<const runfile::Run>& run,
                                const embedded::ReportOptions& options) {
  std::vector<std::vector<embedded::OutputRanking>> rankings;
  for (std::int32_t simulation = 1; simulation <= run->simulations; ++simulation)
    rankings.push_back(
        embedded::rank_outputs(run, options.outputs, {simulation, options.target, options.language}));
  return std::make_unique<Views>(*run, options, rankings);
}

}  // namespace ordvane::page
