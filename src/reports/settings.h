// What a host chooses for its reports: the one place of the settings' names, meanings and defaults.
//
// The command, the library and the automation interface each fill one of these; the reports find it in their
// context.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/excel.h"
#include "model/answers.h"

namespace ordvane::reports {

inline constexpr host::Color kDefaultBarColor = 0x993333;  // a dark blue; 0xBBGGRR

// Of what the lower end of a two-coloured bar has, where a host asks for two colours and names none: an
// orange that people who tell few colours apart still tell from the blue of bars.
inline constexpr host::Color kLowColor = 0x009FE6;

// What stands at the ends of a tornado's bars: what the input was set to there, what the output came to, or
// the one and the other.
enum class BarLabels : std::uint8_t { kInputs, kOutputs, kBoth };

struct Settings {
  // Reports that are made; a summary always is.
  bool tornado = true;
  bool spider = true;
  bool sensitivity = true;
  bool output_detail = false;
  bool detail_by_input = false;
  bool multi_way = false;
  std::optional<bool> matrix = {};  // inputs against outputs; none: where there are tornado graphs

  bool wants_matrix() const { return matrix.value_or(tornado); }

  bool percent = false;           // graphs show changes in percent of the base value
  std::int32_t max_inputs = 20;   // most inputs, or groups of them, on a graph: 1 to 32
  bool all_inputs = false;        // graphs have also the inputs that do not move their output
  bool has_threshold = false;     // graphs have only inputs whose swing reaches the threshold
  double threshold = 0;           // a share of the base value; groups of inputs always have to reach it
  bool include_base_line = true;  // of a tornado
  host::Color bar_color = kDefaultBarColor;
  host::Color base_color = kDefaultBarColor;  // of the base line
  // Of the part of a tornado bar that input values below their base make; none: bars have one colour.
  std::optional<host::Color> low_color = {};
  BarLabels labels = BarLabels::kInputs;  // groups of inputs have those of outputs alone

  model::SortBy sort = model::SortBy::kSwing;  // order of the inputs of a tornado
  // The value of outputs that break-evens are told for; none: each output's own.
  std::optional<double> target = {};
  // Own ones, by the engine's index of the output; others have 0.
  std::vector<model::OutputTarget> output_targets = {};

  model::OutputTarget target_of(std::int32_t output_index) const {
    const auto at = static_cast<std::size_t>(output_index);
    return model::wanted_target(target,
                                at < output_targets.size() ? output_targets[at] : model::OutputTarget{});
  }

  void set_threshold(double share) {
    has_threshold = true;
    threshold = share;
  }

  // Of a host that has chosen nothing yet, and chooses by members of the automation interface.
  static Settings unset() {
    Settings settings;
    settings.tornado = settings.spider = settings.sensitivity = false;
    settings.max_inputs = 0;
    settings.all_inputs = true;
    return settings;
  }
};

}  // namespace ordvane::reports
