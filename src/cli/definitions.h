// The commands of `ordvane` with their options and what help tells of them: the one place that defines them.
// A new command is a function here, called in the order in which lists have the commands.
#pragma once

#include "cli/arguments.h"

namespace ordvane::cli {

void define_commands(Arguments& arguments);
// What is told of `ordvane` as a whole.
HelpParts help_of_all();

}  // namespace ordvane::cli
