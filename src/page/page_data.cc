#include "page/page_data.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

#include "page/section.h"

namespace ordvane::page {
namespace {

using text::Json;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// Numbers as 64 bits each, the lowest byte first, in base 64: exact, and quickly read.
std::string packed(const std::vector<double>& numbers) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr std::size_t kBytes = 8;
  const std::size_t size = numbers.size() * kBytes;
  const auto byte = [&](std::size_t at) {
    if (at >= size) return 0U;
    const auto bits = std::bit_cast<std::uint64_t>(numbers[at / kBytes]);
    return static_cast<unsigned>(bits >> (at % kBytes * kBytes) & 255U);
  };
  std::string text;
  text.reserve((size + 2) / 3 * 4);
  for (std::size_t at = 0; at < size; at += 3) {
    const unsigned three = byte(at) << 16U | byte(at + 1) << 8U | byte(at + 2);
    for (const unsigned shift : {18U, 12U, 6U, 0U}) text += kLetters[three >> shift & 63U];
  }
  const std::size_t filled = (3 - size % 3) % 3;
  text.replace(text.size() - filled, filled, filled, '=');
  return text;
}

// The places of what many inputs have alike.
class Rules {
 public:
  std::size_t place(const Figures& figures) {
    const Json rules = figures.rules();
    for (std::size_t i = 0; i < all_.size(); ++i)
      if (all_[i] == rules) return i;
    all_.push_back(rules);
    return all_.size() - 1;
  }
  const Json& all() const { return all_; }

 private:
  Json all_ = Json::array();
};

Json number_or_null(double value) {
  return std::isnan(value) ? Json() : Json(value);
}

Json inputs_of(const Views& views, Rules& rules) {
  Json names = Json::array(), places = names, places_of_rules = names, steps = names, bases = names;
  for (const InputFacts& input : views.inputs()) {
    names.push_back(input.name);
    places.push_back(input.place);
    places_of_rules.push_back(rules.place(input.figures));
    steps.push_back(input.item->steps);
    bases.push_back(number_or_null(input.base));
  }
  Json values = Json::array();
  for (std::int32_t simulation = 1; simulation <= views.run().simulations; ++simulation) {
    std::vector<double> tried;
    for (std::int64_t step = 0; step < views.run().recalculations; ++step)
      tried.push_back(views.input_value(simulation, step));
    values.push_back(packed(tried));
  }
  return {{"names", names}, {"places", places}, {"rules", places_of_rules},
          {"steps", steps}, {"bases", bases},   {"values", values}};
}

// The step behind an end of a bar, counted from 0: the first with its result, and with its input where that
// is told.
int step_at(const std::vector<Point>& points, double result, double input) {
  for (std::size_t step = 0; step < points.size(); ++step)
    if (points[step].output == result && (std::isnan(input) || points[step].input == input))
      return static_cast<int>(step);
  return -1;
}

// What the model answered where the output reaches its target, by input; null where it was not asked.
Json asked_of(const View& view) {
  if (!view.ranking.answers.asked_model) return {};
  Json asked = Json::object();
  for (const embedded::Effect& effect : view.ranking.effects)
    for (const model::Crossing& crossing : view.answers(effect).break_even.reached)
      if (crossing.place == model::Crossing::Place::kModel)
        asked[std::to_string(effect.input_index)].push_back(crossing.input);
  return asked;
}

Json view_of(const Views& views, const View& view, Rules& rules, const std::string& section) {
  std::vector<double> results, swings, shares, elasticities, arcs;
  for (std::int64_t step = 0; step < views.run().recalculations; ++step)
    results.push_back(views.output_value(view, step));
  Json order = Json::array(), ends = order, remarks = Json::object(), without_effect = order,
       on_graphs = order;
  for (const embedded::Effect& effect : view.ranking.effects) {
    const auto points = views.points(view, effect);
    order.push_back(effect.input_index);
    ends.push_back(step_at(points, effect.low, number_or_nan(effect.input_at_low)));
    ends.push_back(step_at(points, effect.high, number_or_nan(effect.input_at_high)));
    const model::InputAnswers& answers = view.answers(effect);
    swings.push_back(number_or_nan(effect.swing));
    shares.push_back(answers.share.value_or(kNone));
    elasticities.push_back(answers.elasticity.value_or(kNone));
    arcs.push_back(answers.arc_elasticity.value_or(kNone));
    if (effect.facts.without_effect()) without_effect.push_back(effect.input_index);
    if (std::string text = remarks_of(views, view, effect); !text.empty())
      remarks[std::to_string(effect.input_index)] = std::move(text);
  }
  std::vector<double> groups;
  for (std::size_t g = 0; g < std::min(view.ranking.groups.size(), kMostGroups); ++g)
    for (const double value : {view.ranking.groups[g].low, view.ranking.groups[g].high,
                               view.ranking.groups[g].swing, view.ranking.groups[g].interaction})
      groups.push_back(number_or_nan(value));
  for (const embedded::Effect* effect : view.on_graphs) on_graphs.push_back(effect->input_index);
  return {{"name", view.name},
          {"base", number_or_null(view.base)},
          {"rules", rules.place(view.figures)},
          {"changes", view.has_changes()},
          {"simulation", view.simulation - 1},
          {"order", order},
          {"drawn", on_graphs},
          {"ends", ends},
          {"swings", packed(swings)},
          {"shares", packed(shares)},
          {"elasticities", packed(elasticities)},
          {"arcs", packed(arcs)},
          {"groups", packed(groups)},
          {"target", view.ranking.answers.target},
          {"asked", asked_of(view)},
          {"results", packed(results)},
          {"idle", without_effect},
          {"remarks", remarks},
          {"section", section}};
}

Json texts_of(const Views& views) {
  const session::Session& texts = views.texts();
  constexpr const char* kFirst = "{1}";
  constexpr const char* kSecond = "{2}";
  constexpr const char* kThird = "{3}";
  return {{"copy", texts.text(text_id::kPageCopy)},
          {"copied", texts.text(text_id::kPageCopied)},
          {"download", texts.text(text_id::kPageDownload)},
          {"up", texts.text(text_id::kPageSortedUp, kFirst)},
          {"down", texts.text(text_id::kPageSortedDown, kFirst)},
          {"filtered", texts.text(text_id::kPageFiltered, kFirst, kSecond)},
          {"reached", texts.text(text_id::kPageReached, kFirst, kSecond, kThird)},
          {"output_at", texts.text(text_id::kAnswersOutputAt, kFirst)},
          {"place", texts.text(text_id::kHeadingCell)},
          {"none", kNoNumber}};
}

}  // namespace

std::string page_data(const Views& views, const std::vector<std::string>& sections) {
  Rules rules;
  const environment::Language& language = views.language();
  Json data{{"language",
             {{"decimal", std::string(1, language.decimal_separator)},
              {"group", language.group_separator},
              {"list", language.list_separator}}},
            {"texts", texts_of(views)},
            {"inputs", inputs_of(views, rules)}};
  for (std::size_t i = 0; i < views.all().size(); ++i)
    data["views"].push_back(view_of(views, views.all()[i], rules, sections[i]));
  data["rules"] = rules.all();
  data["percent"] = rules_of(kShareFormat, language);
  data["plain"] = rules_of(kElasticityFormat, language);
  data["whole"] = rules_of("#,##0", language);
  std::string text = data.dump();
  // Nothing in it ends the script element that it stands in.
  std::string safe;
  safe.reserve(text.size());
  for (const char letter : text) letter == '<' ? safe += "\\u003c" : safe += letter;
  return safe;
}

}  // namespace ordvane::page
