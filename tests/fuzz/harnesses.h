// What input from outside is fed to. Whatever comes is taken or refused with the error that is meant for it;
// every other exception, and whatever the sanitizers find, ends the program.
#pragma once

#include <span>
#include <string_view>

namespace ordvane::fuzz {

// A run file; behind a line "=====" the table beside it.
void try_run_file(std::string_view bytes);
// The same; behind a line "#####" what is chosen for reports. What check accepts is reported, as XML.
void try_reports(std::string_view bytes);
// Two runs, and what is chosen, with lines "#####" between: copies of the first, what programs and pages are
// told of it, and what changed between the two.
void try_answers(std::string_view bytes);
// A table that is imported; before a line "=====" the names of its inputs, in a second line of its outputs,
// in a third the number of its base's line. Its run is written and read again.
void try_table(std::string_view bytes);
// Parts of a sweep, with lines "=====" between them, which are merged into a run that is read again.
void try_parts(std::string_view bytes);
// A workbook that reports are added to, and that is calculated, as its file is. Cells that are calculated for
// themselves or with others, with the model or after a change of it have the same values.
void try_package(std::string_view bytes);
// A formula of a workbook that is otherwise sound.
void try_formula(std::string_view bytes);
// Calls of any functions with arguments of every kind, which the bytes choose: one alone, and one as an array
// formula.
void try_function(std::string_view bytes);
// A workbook that is calculated, as a list of its parts: lines "@@ NAME", each before what is in that part.
void try_workbook(std::string_view bytes);
// The same; reports are added to it, and in the place of those.
void try_graft(std::string_view bytes);
// A what-if definition, as a file or as options, a line each. What it means in a workbook is calculated.
void try_what_if(std::string_view bytes);
// The words of a command, a line each, in a folder of runs, a table, a workbook and a definition.
void try_command(std::string_view bytes);

struct Harness {
  const char* name;
  void (*tries)(std::string_view bytes);
  const char* corpus;      // folder of inputs, in tests/fuzz/corpus
  const char* dictionary;  // file, in tests/fuzz
};
std::span<const Harness> harnesses();

}  // namespace ordvane::fuzz
