#include "sweep/frozen_cells.h"

#include <algorithm>
#include <cctype>

#include "text/calendar.h"
#include "text/edit.h"

namespace ordvane::sweep {
namespace {

bool is_of_name(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

// How often a formula calls a function, by its text: that of a formula that cannot be read, too.
std::size_t calls(std::string_view formula, std::string_view function) {
  std::size_t count = 0;
  char quote = '\0';
  for (std::size_t at = 0; at < formula.size(); ++at) {
    const char character = formula[at];
    if (quote != '\0') {
      if (character == quote) quote = '\0';
      continue;
    }
    if (character == '"' || character == '\'') quote = character;
    if (at > 0 && is_of_name(formula[at - 1])) continue;
    const std::string_view rest = formula.substr(at);
    if (rest.size() > function.size() && rest[function.size()] == '(' &&
        text::lower_ascii(rest.substr(0, function.size())) == text::lower_ascii(function))
      ++count;
  }
  return count;
}

const calc::CellFormula* formula_of(const calc::Model& model, calc::CellId cell) {
  const calc::Workbook& book = model.workbook();
  const std::int32_t formula = book.cells[static_cast<std::size_t>(cell)].formula;
  return formula < 0 ? nullptr : &book.formulas[static_cast<std::size_t>(formula)];
}

bool reads_clock(std::string_view formula) {
  return calls(formula, "NOW") > 0 || calls(formula, "TODAY") > 0;
}

}  // namespace

calc::Frozen frozen_at(std::chrono::sys_seconds moment) {
  constexpr double kSecondsADay = 86400;
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  return {static_cast<double>(text::Calendar().day(text::date_of(day))) +
              static_cast<double>((moment - day).count()) / kSecondsADay,
          1};
}

std::vector<FrozenCell> frozen_cells(const calc::Model& model) {
  std::vector<FrozenCell> found;
  for (const calc::CellId cell : model.formula_cells()) {
    const calc::CellFormula* formula = formula_of(model, cell);
    if (formula == nullptr) continue;  // filled by an array formula, whose own cell is there, too
    const std::size_t randoms = calls(formula->text, "RAND");
    if (randoms == 0 && !reads_clock(formula->text)) continue;
    FrozenCell& frozen = found.emplace_back(FrozenCell{cell, {}});
    for (std::size_t i = 1; i <= randoms; ++i)
      frozen.randoms.push_back(calc::random_of(model.frozen(), cell, i));
  }
  return found;
}

bool any_volatile(const calc::Model& model, std::span<const calc::CellId> cells) {
  return std::any_of(cells.begin(), cells.end(), [&](calc::CellId cell) {
    const calc::CellFormula* formula = formula_of(model, cell);
    return formula != nullptr &&
           (formula->tree.is_volatile || reads_clock(formula->text) || calls(formula->text, "RAND") > 0);
  });
}

std::optional<std::string> never_frozen(const calc::Model& model, std::span<const calc::CellId> cells) {
  const std::vector<calc::DefinedName>& names = model.workbook().names;
  const bool random_names = std::any_of(names.begin(), names.end(), [](const calc::DefinedName& name) {
    return calls(name.text, "RAND") > 0 || calls(name.text, "RANDBETWEEN") > 0;
  });
  for (const calc::CellId cell : cells) {
    const calc::CellFormula* formula = formula_of(model, cell);
    if (formula == nullptr) continue;
    const std::string address = model.workbook().address(cell);
    for (const char* function : {"RANDBETWEEN", "RANDARRAY"})
      if (calls(formula->text, function) > 0) return address + ": " + function;
    if (random_names && formula->tree.is_volatile && calls(formula->text, "RAND") == 0 &&
        !reads_clock(formula->text))
      return address + ": a name with random numbers";
  }
  return std::nullopt;
}

}  // namespace ordvane::sweep
