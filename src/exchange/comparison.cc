#include "exchange/comparison.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <utility>

#include "embedded/find_outputs.h"
#include "host/environment.h"
#include "model/number_rules.h"
#include "text/numbers.h"
#include "unicode/names.h"

namespace ordvane::exchange {
namespace {

using embedded::Effect;
using embedded::OutputRanking;

constexpr const char* kFormat = "ordvane-diff";
constexpr int kVersion = 1;
constexpr int kShownDigits = 6;

std::optional<double> figure(double value) {
  return std::isfinite(value) && value != host::kMissingNumber ? std::optional(value) : std::nullopt;
}

// One side of a comparison: items with the names that reports show.
struct Side {
  std::vector<const runfile::Item*> items;
  std::vector<std::string> names;

  void add(const runfile::Item& item, std::string name) {
    items.push_back(&item);
    names.push_back(std::move(name));
  }
};

std::string shown_name(const runfile::Item& item, const std::string& label) {
  if (!item.name.empty()) return item.name;
  return label.empty() ? item.sheet + "!" + item.cell : label;
}

// Books are not compared: a model is saved under a new name every month.
std::string place_of(const runfile::Item& item) {
  return unicode::folded(item.sheet) + "!" + unicode::folded(item.cell);
}

class Pairing {
 public:
  Pairing(const Side& before, const Side& now)
      : before_(before), now_(now), partner_(now.items.size(), kNone), taken_(before.items.size(), false) {
    const auto name = [](const Side& side, std::size_t at) { return unicode::folded(side.names[at]); };
    const auto place = [](const Side& side, std::size_t at) { return place_of(*side.items[at]); };
    match([&](const Side& side, std::size_t at) { return name(side, at) + "\n" + place(side, at); });
    match(name);
    match(place);
  }

  // In the order of what is now, those that are gone behind; with the positions on both sides.
  struct Pair {
    ItemPair item;
    std::optional<std::size_t> before, now;
  };
  std::vector<Pair> pairs() const {
    std::vector<Pair> pairs;
    for (std::size_t at = 0; at < now_.items.size(); ++at) {
      Pair pair{{nullptr, now_.items[at], "", now_.names[at], Fate::kAdded}, std::nullopt, at};
      if (const std::size_t old = partner_[at]; old != kNone) {
        pair.before = old;
        pair.item.before = before_.items[old];
        pair.item.name_before = before_.names[old];
        const bool same_name = unicode::same_name(before_.names[old], now_.names[at]);
        const bool same_place = place_of(*before_.items[old]) == place_of(*now_.items[at]);
        pair.item.fate = !same_name ? Fate::kRenamed : same_place ? Fate::kSame : Fate::kRelocated;
      }
      pairs.push_back(std::move(pair));
    }
    for (std::size_t at = 0; at < before_.items.size(); ++at)
      if (!taken_[at])
        pairs.push_back({{before_.items[at], nullptr, before_.names[at], before_.names[at], Fate::kGone},
                         at,
                         std::nullopt});
    return pairs;
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  // Pairs what is left by a key that is unique on each side.
  void match(const std::function<std::string(const Side&, std::size_t)>& key_of) {
    std::map<std::string, std::size_t> of_before, of_now;
    for (std::size_t at = 0; at < taken_.size(); ++at)
      if (!taken_[at]) note(of_before, key_of(before_, at), at);
    for (std::size_t at = 0; at < partner_.size(); ++at)
      if (partner_[at] == kNone) note(of_now, key_of(now_, at), at);
    for (const auto& [key, at] : of_now) {
      const auto old = of_before.find(key);
      if (at == kNone || old == of_before.end() || old->second == kNone) continue;
      partner_[at] = old->second;
      taken_[old->second] = true;
    }
  }
  static void note(std::map<std::string, std::size_t>& positions, const std::string& key, std::size_t at) {
    const auto [there, is_new] = positions.emplace(key, at);
    if (!is_new) there->second = kNone;
  }

  const Side &before_, &now_;
  std::vector<std::size_t> partner_;  // of what is now, among what was
  std::vector<bool> taken_;
};

// The ranked inputs of an output by their positions in the run.
std::map<std::size_t, const Effect*> effects_of(const OutputRanking& ranking) {
  std::map<std::size_t, const Effect*> effects;
  for (const Effect& effect : ranking.effects)
    effects.emplace(static_cast<std::size_t>(effect.input_index), &effect);
  return effects;
}

Side inputs_of(const runfile::Run& run, const std::vector<OutputRanking>& rankings) {
  const auto effects = effects_of(rankings.front());
  Side side;
  for (std::size_t i = 0; i < run.inputs.size(); ++i) {
    const auto effect = effects.find(i);
    side.add(run.inputs[i], shown_name(run.inputs[i], effect == effects.end() ? "" : effect->second->input));
  }
  return side;
}

Side outputs_of(const runfile::Run& run, const std::vector<OutputRanking>& rankings) {
  Side side;
  for (const OutputRanking& ranking : rankings) {
    const runfile::Output& output = run.outputs[static_cast<std::size_t>(ranking.output_index)];
    side.add(output, shown_name(output, ranking.output));
  }
  return side;
}

// `effect`: one of the ranking's; null: none.
std::vector<double> break_even_of(const OutputRanking& ranking, const Effect* effect) {
  std::vector<double> values;
  if (!effect) return values;
  const auto position = static_cast<std::size_t>(effect - ranking.effects.data());
  for (const model::Crossing& crossing : ranking.answers.inputs[position].break_even.reached)
    values.push_back(crossing.input);
  return values;
}

// Where their numbers differ, one was added or is gone.
bool break_even_moved(const ComparedInput& input, double share) {
  if (input.break_even.size() != input.break_even_before.size()) return true;
  for (std::size_t i = 0; i < input.break_even.size(); ++i)
    if (FigurePair{input.break_even_before[i], input.break_even[i]}.moved_more_than(share)) return true;
  return false;
}

std::string listed(const std::vector<double>& values) {
  std::string text;
  for (const double value : values)
    text += (text.empty() ? "" : ", ") + text::general_number(value, kShownDigits);
  return text.empty() ? "none" : text;
}

std::vector<ComparedInput> compared_inputs(const std::vector<Pairing::Pair>& inputs,
                                           const OutputRanking& before, const OutputRanking& now) {
  const auto effects_before = effects_of(before);
  const auto effects_now = effects_of(now);
  std::vector<ComparedInput> compared;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    ComparedInput input;
    input.input = i;
    const auto take = [](const std::map<std::size_t, const Effect*>& effects,
                         std::optional<std::size_t> position,
                         std::optional<std::int32_t>& rank) -> const Effect* {
      const auto found = position ? effects.find(*position) : effects.end();
      if (found == effects.end()) return nullptr;
      rank = found->second->rank;
      return found->second;
    };
    const Effect* const old = take(effects_before, inputs[i].before, input.rank_before);
    const Effect* const present = take(effects_now, inputs[i].now, input.rank);
    if (!old && !present) continue;
    const auto pair = [&](double Effect::*of) {
      return FigurePair{old ? figure(old->*of) : std::nullopt, present ? figure(present->*of) : std::nullopt};
    };
    input.low = pair(&Effect::low);
    input.high = pair(&Effect::high);
    input.swing = pair(&Effect::swing);
    input.break_even_before = break_even_of(before, old);
    input.break_even = break_even_of(now, present);
    compared.push_back(std::move(input));
  }
  std::stable_sort(compared.begin(), compared.end(), [](const ComparedInput& a, const ComparedInput& b) {
    if (a.rank.has_value() != b.rank.has_value()) return a.rank.has_value();
    return a.rank ? *a.rank < *b.rank : *a.rank_before < *b.rank_before;
  });
  return compared;
}

// ---- JSON ----

Json number(const std::optional<double>& value) {
  return value ? Json(*value) : Json();
}

template <class Value>
Json whole(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

const char* fate_name(Fate fate) {
  constexpr const char* kNames[] = {"same", "renamed", "relocated", "added", "gone"};
  return kNames[static_cast<std::size_t>(fate)];
}

Json json_pair(const ItemPair& pair) {
  const runfile::Item& item = pair.item();
  Json json{{"name", pair.name},
            {"book", item.book},
            {"sheet", item.sheet},
            {"cell", item.cell},
            {"status", fate_name(pair.fate)}};
  if (pair.fate == Fate::kRenamed) json["nameBefore"] = pair.name_before;
  if (pair.before && pair.now && place_of(*pair.before) != place_of(*pair.now)) {
    json["sheetBefore"] = pair.before->sheet;
    json["cellBefore"] = pair.before->cell;
  }
  return json;
}

void add_figures(Json& json, const std::string& name, const FigurePair& pair) {
  json[name + "Before"] = number(pair.before);
  json[name] = number(pair.now);
  json[name + "Change"] = number(pair.change());
  json[name + "ChangeShare"] = number(pair.share());
}

std::string shown(const FigurePair& pair) {
  const auto text = [](const std::optional<double>& value) {
    return value ? text::general_number(*value, kShownDigits) : std::string("none");
  };
  std::string words = text(pair.before) + " to " + text(pair.now);
  if (const auto share = pair.share())
    words += " (" + std::string(*share > 0 ? "+" : "") + text::fixed_number(*share * 100, 1) + "%)";
  return words;
}

}  // namespace

bool FigurePair::differs() const {
  if (!before || !now) return before.has_value() != now.has_value();
  return model::NumberRules().difference(*now, *before) != 0;
}

std::optional<double> FigurePair::change() const {
  return before && now ? std::optional(model::NumberRules().difference(*now, *before)) : std::nullopt;
}

std::optional<double> FigurePair::share() const {
  return before && now && *before != 0 ? std::optional(*change() / std::fabs(*before)) : std::nullopt;
}

bool FigurePair::moved_more_than(double limit) const {
  if (!differs()) return false;
  const auto moved = share();
  return !moved || std::fabs(*moved) > limit;
}

Comparison compare(std::shared_ptr<const runfile::Run> before, std::shared_ptr<const runfile::Run> now,
                   std::int32_t simulation) {
  Comparison comparison{std::move(before), std::move(now), {}, {}, {}};
  const auto old_rankings = embedded::rank_outputs(comparison.before, {}, {.simulation = simulation});
  comparison.rankings = embedded::rank_outputs(comparison.now, {}, {.simulation = simulation});
  const auto base_of = [](const runfile::Item* item) { return item ? item->base : std::nullopt; };

  const Side inputs_before = inputs_of(*comparison.before, old_rankings);
  const Side inputs_now = inputs_of(*comparison.now, comparison.rankings);
  const auto inputs = Pairing(inputs_before, inputs_now).pairs();
  for (const Pairing::Pair& pair : inputs)
    comparison.inputs.push_back({pair.item, {base_of(pair.item.before), base_of(pair.item.now)}});

  const Side outputs_before = outputs_of(*comparison.before, old_rankings);
  const Side outputs_now = outputs_of(*comparison.now, comparison.rankings);
  for (const Pairing::Pair& pair : Pairing(outputs_before, outputs_now).pairs()) {
    ComparedOutput output{pair.item, {}, {}};
    if (pair.before) output.base.before = figure(old_rankings[*pair.before].base);
    if (pair.now) output.base.now = figure(comparison.rankings[*pair.now].base);
    if (pair.before && pair.now)
      output.inputs = compared_inputs(inputs, old_rankings[*pair.before], comparison.rankings[*pair.now]);
    comparison.outputs.push_back(std::move(output));
  }
  return comparison;
}

double target_of(const Comparison& comparison, const ComparedOutput& output) {
  const auto at = static_cast<std::size_t>(&output - comparison.outputs.data());
  return at < comparison.rankings.size() ? comparison.rankings[at].answers.target : 0;
}

bool is_as_before(const ComparedInput& input) {
  return input.rank == input.rank_before && !input.swing.differs() && !input.low.differs() &&
         !input.high.differs() && !break_even_moved(input, 0);
}

bool is_as_before(const ComparedOutput& output) {
  return !output.base.differs() &&
         std::all_of(output.inputs.begin(), output.inputs.end(),
                     [](const ComparedInput& input) { return is_as_before(input); });
}

namespace {

void add_fate(std::vector<std::string>& moved, const char* kind, const ItemPair& pair) {
  if (pair.fate == Fate::kAdded || pair.fate == Fate::kGone)
    moved.push_back(std::string(kind) + embedded::described(pair.name, pair.item()) +
                    (pair.fate == Fate::kAdded ? ": added" : ": gone"));
}

// Of one input of an output; `ranked`: how many inputs have a rank.
void add_moved(std::vector<std::string>& moved, const std::string& output, const ComparedInput& input,
               const std::string& name, double ranked, double share) {
  const auto add = [&](const char* figure, const std::string& change) {
    moved.push_back(output + figure + name + " " + change);
  };
  if (input.swing.moved_more_than(share)) add("swing of ", shown(input.swing));
  if (break_even_moved(input, share))
    add("break-even of ", listed(input.break_even_before) + " to " + listed(input.break_even));
  if (std::abs(*input.rank - *input.rank_before) > share * ranked)
    add("rank of ", std::to_string(*input.rank_before) + " to " + std::to_string(*input.rank));
}

}  // namespace

std::vector<std::string> moved_more_than(const Comparison& comparison, double share) {
  std::vector<std::string> moved;
  for (const InputPair& input : comparison.inputs) {
    add_fate(moved, "input ", input.item);
    if (input.item.before && input.item.now && input.base.moved_more_than(share))
      moved.push_back("input " + embedded::described(input.item.name, input.item.item()) + ": base value " +
                      shown(input.base));
  }
  for (const ComparedOutput& output : comparison.outputs) {
    add_fate(moved, "output ", output.item);
    if (!output.item.before || !output.item.now) continue;
    const std::string name = embedded::described(output.item.name, output.item.item()) + ": ";
    if (output.base.moved_more_than(share)) moved.push_back(name + "base value " + shown(output.base));
    const auto ranked =
        static_cast<double>(std::count_if(output.inputs.begin(), output.inputs.end(),
                                          [](const ComparedInput& input) { return input.rank.has_value(); }));
    for (const ComparedInput& input : output.inputs)
      if (input.rank && input.rank_before)
        add_moved(moved, name, input, comparison.inputs[input.input].item.name, ranked, share);
  }
  return moved;
}

Json comparison_document(const Comparison& comparison) {
  Json document = document_head(kFormat, kVersion, comparison.now->file.string());
  document["runBefore"] = comparison.before->file.string();
  document["inputs"] = Json::array();
  for (const InputPair& input : comparison.inputs) {
    Json json = json_pair(input.item);
    add_figures(json, "base", input.base);
    document["inputs"].push_back(std::move(json));
  }
  document["outputs"] = Json::array();
  for (const ComparedOutput& output : comparison.outputs) {
    Json json = json_pair(output.item);
    add_figures(json, "base", output.base);
    json["inputs"] = Json::array();
    for (const ComparedInput& input : output.inputs) {
      Json row = json_pair(comparison.inputs[input.input].item);
      row["rankBefore"] = whole(input.rank_before);
      row["rank"] = whole(input.rank);
      add_figures(row, "low", input.low);
      add_figures(row, "high", input.high);
      add_figures(row, "swing", input.swing);
      row["breakEvenBefore"] = input.break_even_before;
      row["breakEven"] = input.break_even;
      json["inputs"].push_back(std::move(row));
    }
    document["outputs"].push_back(std::move(json));
  }
  return document;
}

}  // namespace ordvane::exchange
