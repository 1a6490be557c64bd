// Calculates every formula of workbooks and prints the values: for comparing with other programs.
//
// Usage: calculate_workbook [-|WORKBOOK.xlsx...]. Names of workbooks are read from the standard input, one a
// line, when "-" is given; an empty line is printed behind each workbook then. A line a cell: sheet number,
// cell, kind, value, by tabs. Kinds are n, b, t, e, and x for what is not calculated, whose value is what
// stands in the way.
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "calc/address.h"
#include "calc/model.h"
#include "text/edit.h"

namespace {

using namespace ordvane::calc;

std::string shown(const Value& value) {
  char number[64];
  switch (value.kind()) {
    case Kind::kText:
      return "t\t" + ordvane::text::one_line(value.text());
    case Kind::kError:
      return "e\t" + std::to_string(static_cast<int>(value.error()));
    case Kind::kBoolean:
      return value.number() != 0 ? "b\t1" : "b\t0";
    default:
      std::snprintf(number, sizeof number, "n\t%.17g", value.number());
      return number;
  }
}

void print_workbook(const std::string& path) {
  try {
    const Model model{std::filesystem::path(path)};
    for (const CellId id : model.formula_cells()) {
      const Cell& cell = model.workbook().cells[static_cast<std::size_t>(id)];
      const std::string& obstacle = model.obstacle(id);
      std::cout << cell.sheet << '\t' << cell_name(cell.row, cell.column) << '\t'
                << (obstacle.empty() ? shown(model.base(id)) : "x\t" + ordvane::text::one_line(obstacle))
                << '\n';
    }
  } catch (const std::exception& error) {
    std::cout << "error\t" << ordvane::text::one_line(error.what()) << '\n';
  }
}

}  // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) {
    if (arguments[i] != std::string("-")) {
      print_workbook(arguments[i]);
      continue;
    }
    for (std::string path; std::getline(std::cin, path);) {
      print_workbook(path);
      std::cout << std::endl;
    }
  }
}
