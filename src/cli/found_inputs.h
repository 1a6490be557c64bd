// What is told of inputs and outputs that were found and not named.
#pragma once

#include <string>

#include "cli/commands.h"
#include "sweep/suggest.h"

namespace ordvane::cli {

// How many numbers move the outputs, which of them are varied, and which are not and why.
std::string found_text(const sweep::Suggestion& suggestion);
// A problem: outputs are missing; the options that name those that could be meant.
std::string proposed_outputs_text(const std::vector<sweep::Suggestion::Item>& outputs,
                                  const SweepCommand& command);
// "Prices!C3" as a shell takes it.
std::string shell_word(const std::string& text);

}  // namespace ordvane::cli
