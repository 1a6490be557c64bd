// Real models: every step of their what-if lists, and every formula cell, as LibreOffice calculates them.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "calc/recalculation.h"
#include "support/external_checks.h"
#include "tiny_workbook.h"

namespace ordvane::test {
namespace {

using calc::CellChange;
using calc::CellId;
using calc::Model;
using calc::Value;
using nlohmann::json;

std::filesystem::path models_folder() {
  return std::filesystem::path(ORDVANE_SOURCE_DIR) / ".." / "shared" / "models";
}

std::vector<std::string> model_names() {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& file : std::filesystem::directory_iterator(models_folder(), ignored))
    if (file.path().extension() == ".xlsx") names.push_back(file.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

json read_json(const std::string& name) {
  std::ifstream file(models_folder() / name);
  return json::parse(file);
}

CellId cell_of(const Model& model, const json& place) {
  const calc::AddressEnd at = calc::read_address_end(place["cell"].get_ref<const std::string&>());
  return model.workbook().find(model.workbook().sheet(place["sheet"].get_ref<const std::string&>()), at.row,
                               at.column);
}

std::string expected_text(const json& value) {
  if (value.is_string()) return "\"" + value.get<std::string>() + "\"";
  if (value.is_object()) return value["error"].get<std::string>();
  return shown(Value(value.get<double>()));
}

std::string number_text(const Value& value) {
  return shown(value.is_numeric() ? Value(value.number()) : value);
}

// A lane each for steps of several inputs, as a sweep packs them.
void check_steps(const std::string& name) {
  const Model model(models_folder() / (name + ".xlsx"));
  const json whatif = read_json(name + ".whatif.json"), expected = read_json(name + ".expected.json");
  std::vector<CellId> inputs, outputs;
  for (const json& input : whatif["inputs"]) inputs.push_back(cell_of(model, input));
  for (const json& output : whatif["outputs"]) outputs.push_back(cell_of(model, output));
  calc::Recalculation recalculation(model, inputs, outputs);
  for (const calc::Obstacle& obstacle : recalculation.obstacles())
    ADD_FAILURE() << model.workbook().address(obstacle.cell) << ": " << obstacle.what;
  std::vector<std::vector<CellChange>> changes;
  std::vector<const json*> rows;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    for (const json& row : expected["inputs"][i]["rows"]) {
      changes.push_back({{inputs[i], row["value"].get<double>()}});
      rows.push_back(&row["outputs"]);
    }
  }
  for (std::size_t first = 0; first < changes.size(); first += calc::kLanes) {
    const std::size_t count = std::min<std::size_t>(calc::kLanes, changes.size() - first);
    const std::vector<std::span<const CellChange>> lanes(
        changes.begin() + static_cast<std::ptrdiff_t>(first),
        changes.begin() + static_cast<std::ptrdiff_t>(first + count));
    const std::span<const Value> results = recalculation.evaluate(lanes);
    for (std::size_t lane = 0; lane < count; ++lane)
      for (std::size_t i = 0; i < outputs.size(); ++i)
        EXPECT_EQ(number_text(results[lane * outputs.size() + i]), expected_text((*rows[first + lane])[i]))
            << name << ", " << model.workbook().address(changes[first + lane][0].cell) << " = "
            << shown(changes[first + lane][0].value) << ": " << model.workbook().address(outputs[i]);
  }
}

TEST(Models, EveryStepBitForBit) {
  const std::vector<std::string> names = model_names();
  if (names.empty()) GTEST_SKIP() << "the models are not beside the sources";
  for (const std::string& name : names) check_steps(name);
}

// Where the file has results at all.
TEST(Models, EveryFormulaNearTheStoredValue) {
  const std::vector<std::string> names = model_names();
  if (names.empty()) GTEST_SKIP() << "the models are not beside the sources";
  int compared = 0;
  for (const std::string& name : names) {
    const Model model(models_folder() / (name + ".xlsx"));
    for (const CellId cell : model.formula_cells()) {
      const Value stored = model.workbook().cells[static_cast<std::size_t>(cell)].stored,
                  value = model.base(cell);
      if (stored.is_blank()) continue;
      ++compared;
      const bool are_near =
          stored.is_numeric() && value.is_numeric()
              ? std::fabs(stored.number() - value.number()) <= 1e-9 * std::fabs(stored.number())
              : number_text(stored) == number_text(value);
      EXPECT_TRUE(are_near) << name << ", " << model.workbook().address(cell) << ": " << shown(value)
                            << ", not " << shown(stored);
    }
  }
  EXPECT_GT(compared, 3000);
}

// The values of all formula cells as LibreOffice recalculates them: sheet, cell, kind and value.
TEST(Models, EveryFormulaAsLibreOfficeRecalculatesIt) {
  const std::vector<std::string> names = model_names();
  if (names.empty()) GTEST_SKIP() << "the models are not beside the sources";
  if (!kOthersAreAsked) GTEST_SKIP() << "other programs are asked in ordinary builds only";
  if (run_command("command -v soffice").status != 0) GTEST_SKIP() << "LibreOffice is not installed";
  const TemporaryFolder folder;
  const std::string script = std::string(ORDVANE_SOURCE_DIR) + "/tests/calc/recalculate.py";
  std::string command =
      "/usr/bin/python3 " + shell_quoted(script) + " " + shell_quoted(folder.path().string());
  for (const std::string& name : names)
    command += " " + shell_quoted((models_folder() / (name + ".xlsx")).string());
  const CommandResult made = run_command(command);
  ASSERT_EQ(made.status, 0) << made.output;
  for (const std::string& name : names) {
    const Model model(models_folder() / (name + ".xlsx"));
    std::ifstream file(folder / (name + ".json"));
    const json cells = json::parse(file);
    EXPECT_EQ(cells.size(), model.formula_cells().size());
    for (const json& one : cells) {
      const calc::AddressEnd at = calc::read_address_end(one[1].get<std::string>());
      const CellId cell = model.workbook().find(one[0].get<std::int32_t>(), at.row, at.column);
      ASSERT_NE(cell, calc::kNoCell);
      EXPECT_EQ(number_text(model.base(cell)), expected_text(one[2]))
          << name << ", " << model.workbook().address(cell);
    }
  }
}

}  // namespace
}  // namespace ordvane::test
