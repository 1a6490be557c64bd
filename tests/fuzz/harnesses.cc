#include "fuzz/harnesses.h"

namespace ordvane::fuzz {

std::span<const Harness> harnesses() {
  static constexpr Harness kHarnesses[] = {
      {"run_file", try_run_file, "runs", "runs.dict"},
      {"reports", try_reports, "runs", "runs.dict"},
      {"answers", try_answers, "pairs", "runs.dict"},
      {"table", try_table, "tables", "tables.dict"},
      {"parts", try_parts, "parts", "runs.dict"},
      {"package", try_package, "packages", "workbooks.dict"},
      {"formula", try_formula, "formulas", "formulas.dict"},
      {"function", try_function, "functions", "formulas.dict"},
      {"workbook", try_workbook, "workbooks", "workbooks.dict"},
      {"graft", try_graft, "workbooks", "workbooks.dict"},
      {"what_if", try_what_if, "what-ifs", "what-ifs.dict"},
      {"command", try_command, "commands", "commands.dict"},
  };
  return kHarnesses;
}

}  // namespace ordvane::fuzz
