// A definition made from the model alone: what was not said is found.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "sweep/job.h"

namespace ordvane::sweep {

inline constexpr std::size_t kMostFoundInputs = 20;
inline constexpr std::size_t kMostFoundOutputs = 10;

struct Suggestion {
  // An input or output for people.
  struct Item {
    std::string place;         // Sheet!B5
    std::string defined_name;  // that the workbook has for the cell; empty: none
    std::string name, value;
  };

  WhatIf what_if;  // complete; inputs that were found are the strongest first
  std::vector<Item> inputs, outputs;
  std::int64_t moving = 0;  // inputs found that move an output; those beyond the strongest too
  // Constants that were found and are not varied: why, and which.
  std::vector<std::pair<std::string, std::vector<Item>>> left_out;
};

// Finds the outputs when the job names none, and the inputs when it names none. Throws what run_job() throws,
// runfile::BadRun too where nothing is found.
Suggestion suggest(const Job& job, calc::Model& model);

// The outputs alone, when the job names none: what the user may choose from.
std::vector<Suggestion::Item> propose_outputs(const Job& job, const calc::Model& model);

// The file of a definition that suggest() made.
std::string what_if_text(const WhatIf& what_if);

}  // namespace ordvane::sweep
