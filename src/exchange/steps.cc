#include "exchange/steps.h"

#include <cmath>
#include <map>
#include <numeric>
#include <utility>

#include "embedded/find_outputs.h"
#include "runfile/values.h"
#include "unicode/names.h"

namespace ordvane::exchange {
namespace {

constexpr int kVersion = 1;

using Outputs = std::vector<std::size_t>;

Outputs chosen(const runfile::Run& run, const std::vector<std::int32_t>& outputs) {
  Outputs all(run.outputs.size());
  std::iota(all.begin(), all.end(), std::size_t{0});
  return outputs.empty() ? all : Outputs(outputs.begin(), outputs.end());
}

// A number, a text, or null for an empty field.
Json result_of(const runfile::StoredValues& values, const runfile::TextsOfResults& texts, std::size_t at) {
  const double value = values[at];
  if (!runfile::is_encoded_error(value)) return number_or_null(value);
  if (const auto text = texts.find(at); text != texts.end()) return text->second;
  return std::string(host::cell_error_text(runfile::decode_error(value)));
}

// Where one recalculation stands in the run.
struct Recalculation {
  std::int32_t simulation = 0;
  const runfile::Group* group = nullptr;  // null: one input is varied
  std::size_t group_position = 0;
  std::vector<std::size_t> inputs;  // that are varied
  std::int64_t step = 0;            // of the input, or combination of the group; from 0
  std::int64_t position = 0;        // among those of its kind in the simulation

  double value(const runfile::Run& run, std::size_t member) const {
    return group ? run.group_input_values[run.group_value_index(simulation, *group, step, member)]
                 : run.input_values[run.input_value_index(simulation, position)];
  }
  Json result(const runfile::Run& run, std::size_t output) const {
    return group ? result_of(run.group_output_values, run.group_texts,
                             run.group_output_index(simulation, output, position))
                 : result_of(run.output_values, run.texts,
                             run.output_value_index(simulation, output, position));
  }
};

template <class Visit>
void visit_recalculations(const runfile::Run& run, std::int32_t simulation, const Visit& visit) {
  Recalculation at;
  at.simulation = simulation;
  for (std::size_t i = 0; i < run.inputs.size(); ++i) {
    at.inputs = {i};
    for (at.step = 0; at.step < run.inputs[i].steps; ++at.step, ++at.position) {
      visit(at);
      run.output_values.looked_at(run.outputs.size());
    }
  }
  at.position = 0;
  for (std::size_t g = 0; g < run.groups.size(); ++g) {
    at.group = &run.groups[g];
    at.group_position = g;
    at.inputs = at.group->members;
    for (at.step = 0; at.step < at.group->combinations; ++at.step, ++at.position) {
      visit(at);
      run.group_output_values.looked_at(run.outputs.size());
    }
  }
}

// One cell for one input, a list for several.
template <class CellOf>
Json of_varied(const Recalculation& at, const CellOf& cell_of) {
  if (!at.group) return cell_of(std::size_t{0});
  Json list = Json::array();
  for (std::size_t member = 0; member < at.inputs.size(); ++member) list.push_back(cell_of(member));
  return list;
}

// Names by which columns can be told apart: an item's own, else its place; both where a name is taken.
class ColumnNames {
 public:
  ColumnNames(const runfile::Run& run) {
    ++count_[unicode::folded(kVariedColumn)];
    for (const runfile::Input& input : run.inputs) ++count_[unicode::folded(input.name)];
    for (const runfile::Output& output : run.outputs) ++count_[unicode::folded(output.name)];
  }
  std::string of(const runfile::Item& item) const {
    const bool unique = !item.name.empty() && count_.at(unicode::folded(item.name)) == 1;
    return unique ? item.name : embedded::described(item);
  }

 private:
  std::map<std::string, int> count_;
};

Json base_of(const runfile::Item& item) {
  return item.base ? number_or_null(*item.base) : Json();
}

}  // namespace

void write_steps(const runfile::Run& run, const std::vector<std::int32_t>& outputs,
                 std::optional<std::int32_t> simulation, TextForm form, const Write& write) {
  RowWriter rows(form,
                 {"simulation", "group", "input", "inputSheet", "inputCell", "step", "value", "output",
                  "outputSheet", "outputCell", "result"},
                 document_head("ordvane-steps", kVersion, run.file.string()), write);
  const Outputs positions = chosen(run, outputs);
  const std::int32_t first = simulation ? *simulation - 1 : 0;
  const std::int32_t last = simulation ? *simulation : run.simulations;
  for (std::int32_t s = first; s < last; ++s)
    visit_recalculations(run, s, [&](const Recalculation& at) {
      const auto part = [&](std::string runfile::Item::*of) {
        return of_varied(at, [&](std::size_t member) { return Json(run.inputs[at.inputs[member]].*of); });
      };
      std::vector<Json> cells{s + 1,
                              at.group ? Json(at.group_position + 1) : Json(),
                              part(&runfile::Item::name),
                              part(&runfile::Item::sheet),
                              part(&runfile::Item::cell),
                              at.step + 1,
                              of_varied(at, [&](std::size_t m) { return number_or_null(at.value(run, m)); })};
      const std::size_t leading = cells.size();
      for (const std::size_t o : positions) {
        const runfile::Output& output = run.outputs[o];
        cells.resize(leading);
        for (Json cell : {Json(output.name), Json(output.sheet), Json(output.cell), at.result(run, o)})
          cells.push_back(std::move(cell));
        rows.add(cells);
      }
    });
  rows.finish();
}

void write_table(const runfile::Run& run, const std::vector<std::int32_t>& outputs, std::int32_t simulation,
                 TextForm form, const Write& write) {
  const Outputs positions = chosen(run, outputs);
  const ColumnNames names(run);
  std::vector<std::string> columns{kVariedColumn};
  std::vector<Json> base{Json()};
  std::vector<std::size_t> column_of(run.inputs.size(), 0);
  for (std::size_t i = 0; i < run.inputs.size(); ++i) {
    if (!run.inputs[i].saved_samples) continue;
    column_of[i] = columns.size();
    columns.push_back(names.of(run.inputs[i]));
    base.push_back(base_of(run.inputs[i]));
  }
  const std::size_t first_output = columns.size();
  for (const std::size_t o : positions) {
    columns.push_back(names.of(run.outputs[o]));
    base.push_back(base_of(run.outputs[o]));
  }
  RowWriter rows(form, columns, document_head("ordvane-table", kVersion, run.file.string()), write);
  rows.add(base);
  visit_recalculations(run, simulation - 1, [&](const Recalculation& at) {
    std::vector<Json> cells = base;
    std::string varied;
    for (std::size_t member = 0; member < at.inputs.size(); ++member) {
      const std::size_t column = column_of[at.inputs[member]];
      if (column == 0) return;
      varied += (varied.empty() ? "" : kBetweenVaried) + columns[column];
      cells[column] = number_or_null(at.value(run, member));
    }
    cells.front() = std::move(varied);
    for (std::size_t i = 0; i < positions.size(); ++i) cells[first_output + i] = at.result(run, positions[i]);
    rows.add(cells);
  });
  rows.finish();
}

}  // namespace ordvane::exchange
