#include "large_run.h"

#include <fstream>

#include "runfile/write_run.h"

namespace ordvane::acceptance {
namespace {

void place(runfile::Item& item, const std::string& book, const std::string& sheet, const std::string& cell) {
  item.book = book, item.sheet = sheet, item.cell = item.range = cell;
}

// Every output weighs the inputs in its own way, so that no two are ranked alike.
double result(std::int32_t output, std::int32_t input, std::int32_t steps, std::int32_t step) {
  const double move = 2.0 * step / steps - 1;
  const double weight = 1 + (input * 37 + output * 61) % 97;
  return 1000 * (output + 1) + weight * move + 0.3 * weight * move * move;
}

}  // namespace

void write_large_run(const std::filesystem::path& file, const RunSize& size, const std::string& book,
                     const std::string& sheet) {
  runfile::Run run;
  for (std::int32_t i = 0; i < size.inputs; ++i) {
    runfile::Input input;
    input.name = "Input " + std::to_string(i + 1);
    place(input, book, sheet, "A" + std::to_string(i + 1));
    input.base = 100 + i;
    input.steps = size.steps;
    run.inputs.push_back(input);
  }
  for (std::int32_t o = 0; o < size.outputs; ++o) {
    runfile::Output output;
    output.name = "Output " + std::to_string(o + 1);
    place(output, book, sheet, "C" + std::to_string(o + 1));
    output.base = 1000 * (o + 1);
    run.outputs.push_back(output);
  }
  std::filesystem::path table = file;
  table.replace_extension(".csv");
  std::ofstream rows(table, std::ios::binary);
  rows << runfile::rows_header(run.outputs.size());
  for (std::int32_t i = 0; i < size.inputs; ++i)
    for (std::int32_t step = 1; step <= size.steps; ++step) {
      std::string row = "1," + std::to_string(i + 1) + "," + std::to_string(step);
      runfile::append_field(row, (100.0 + i) * (0.8 + 0.4 * step / size.steps));
      for (std::int32_t o = 0; o < size.outputs; ++o)
        runfile::append_field(row, result(o, i, size.steps, step));
      rows << row << '\n';
    }
  std::ofstream(file, std::ios::binary)
      << runfile::run_text(runfile::description_of(run), table.filename().string(), "");
}

}  // namespace ordvane::acceptance
