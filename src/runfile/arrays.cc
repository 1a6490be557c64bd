#include "runfile/arrays.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "runfile/description.h"
#include "runfile/recalculations.h"
#include "runfile/values.h"

namespace ordvane::runfile {
namespace {

constexpr const char* kDefaultBook = "Model";

void add_missing(Json& object, const char* field, Json value) {
  if (!object.contains(field)) object[field] = std::move(value);
}

// Items that stand in no spreadsheet: one below the other.
void add_places(Json& description, const char* items, const char* sheet) {
  Json* const list = description.find(items);
  if (list == nullptr || !list->is_array()) return;
  std::size_t row = 0;
  for (Json& item : *list) {
    ++row;
    if (!item.is_object()) continue;
    add_missing(item, "book", kDefaultBook);
    add_missing(item, "sheet", sheet);
    add_missing(item, "cell", "A" + std::to_string(row));
  }
}

// What programs need not say.
void add_defaults(Json& description) {
  if (!description.is_object()) return;
  add_missing(description, "format", kFormat);
  add_missing(description, "version", kVersion);
  add_missing(description, "simulations", 1);
  add_places(description, "inputs", "Inputs");
  add_places(description, "outputs", "Outputs");
}

// An array of numbers under the name that messages call it.
class Numbers {
 public:
  Numbers(const char* name, std::span<const double> numbers, std::int64_t expected,
          const std::string& because)
      : name_(name), numbers_(numbers) {
    if (static_cast<std::int64_t>(numbers.size()) != expected)
      throw BadRun(kNoFile, name,
                   "has " + counted(static_cast<std::int64_t>(numbers.size()), "number") + "; " +
                       std::to_string(expected) + (expected == 1 ? " is" : " are") + " expected (" + because +
                       ")");
  }

  double at(std::size_t position) const {
    const double number = numbers_[position];
    if (!std::isnan(number) && !(std::fabs(number) < kNumberLimit))
      throw BadRun(kNoFile, std::string(name_) + '[' + std::to_string(position) + ']',
                   "is " + value_text(number) + "; a number " + kNumberRange + " is expected");
    return number;
  }

 private:
  const char* name_;
  std::span<const double> numbers_;
};

// The results of the rows, texts among them.
class Results {
 public:
  Results(const char* name, std::span<const double> numbers, const char* texts_name,
          std::span<const TextResult> texts, const Run& run, std::int64_t rows)
      : outputs_(run.outputs.size()),
        numbers_(name, numbers, rows * static_cast<std::int64_t>(outputs_),
                 counted(rows, "row") + " of " + counted(static_cast<std::int64_t>(outputs_), "output")),
        size_(numbers.size()),
        texts_name_(texts_name),
        texts_(texts) {}

  // One row after the other, into the places.
  template <class Places>
  void put_row(std::size_t row, Places& places) const {
    for (std::size_t output = 0; output < outputs_; ++output)
      places.set_result(output, numbers_.at(row * outputs_ + output));
  }

  // What stands for the texts, where `set` puts the result of a simulation, output and recalculation.
  template <class Set>
  void put_texts(std::int64_t recalculations, const Set& set) const {
    for (std::size_t i = 0; i < texts_.size(); ++i) {
      const std::size_t at = texts_[i].at;
      if (at >= size_)
        throw BadRun(kNoFile, std::string(texts_name_) + '[' + std::to_string(i) + "].at",
                     "is " + std::to_string(at) + "; a position among the " + std::to_string(size_) +
                         " results, counted from 0, is expected");
      const auto row = static_cast<std::int64_t>(at / outputs_);
      set(static_cast<std::int32_t>(row / recalculations), at % outputs_, row % recalculations,
          encode_text_result(texts_[i].text));
    }
  }

 private:
  std::size_t outputs_;
  Numbers numbers_;
  std::size_t size_;
  const char* texts_name_;
  std::span<const TextResult> texts_;
};

void put_steps(Run& run, const Arrays& arrays) {
  const std::int64_t rows = count_rows(run, kNoFile);
  const Numbers values(
      "values", arrays.values, rows,
      counted(run.simulations, "simulation") + " of " + counted(run.recalculations, "recalculation"));
  const Results results("results", arrays.results, "texts", arrays.texts, run, rows);
  StepPlaces places(run);
  for (std::size_t row = 0; !places.done(); ++row, places.next()) {
    places.set_value(0, values.at(row));
    results.put_row(row, places);
  }
  results.put_texts(run.recalculations, [&](std::int32_t simulation, std::size_t output,
                                            std::int64_t recalculation, double value) {
    run.output_values.put(run.output_value_index(simulation, output, recalculation), value);
  });
}

// How many values a group's members take by themselves.
std::size_t member_steps(const Group& group) {
  std::size_t steps = 0;
  for (const std::int32_t count : group.steps) steps += static_cast<std::size_t>(count);
  return steps;
}

// The rows of one group, from the values of its members, which begin at `first`.
void put_group(const Group& group, const Numbers& values, std::size_t first, const Results& results,
               std::size_t& row, GroupPlaces& places) {
  std::vector<std::int64_t> strides;
  for (std::size_t member = 0; member < group.members.size(); ++member)
    strides.push_back(group.stride(member));
  for (std::int64_t combination = 0; combination < group.combinations; ++combination, ++row, places.next()) {
    std::size_t begin = first;
    for (std::size_t member = 0; member < group.members.size(); ++member) {
      const std::int64_t step = combination / strides[member] % group.steps[member];
      places.set_value(member, values.at(begin + static_cast<std::size_t>(step)));
      begin += static_cast<std::size_t>(group.steps[member]);
    }
    results.put_row(row, places);
  }
}

void put_groups(Run& run, const Arrays& arrays) {
  const std::int64_t rows = run.groups.empty() ? 0 : count_group_rows(run, kNoFile);
  std::size_t steps = 0;
  for (const Group& group : run.groups) steps += member_steps(group);
  const Numbers values("groupValues", arrays.group_values, run.simulations * static_cast<std::int64_t>(steps),
                       counted(run.simulations, "simulation") + " of " +
                           counted(static_cast<std::int64_t>(steps), "step") + " of the groups' members");
  const Results results("groupResults", arrays.group_results, "groupTexts", arrays.group_texts, run, rows);
  if (!run.groups.empty()) {
    GroupPlaces places(run);
    std::size_t row = 0;
    std::size_t first = 0;
    for (std::int32_t simulation = 0; simulation < run.simulations; ++simulation)
      for (const Group& group : run.groups) {
        put_group(group, values, first, results, row, places);
        first += member_steps(group);
      }
  }
  results.put_texts(run.group_recalculations, [&](std::int32_t simulation, std::size_t output,
                                                  std::int64_t recalculation, double value) {
    run.group_output_values.put(run.group_output_index(simulation, output, recalculation), value);
  });
}

}  // namespace

Run make_run(Json description, const Arrays& arrays) {
  add_defaults(description);
  Run run = read_description(description, kNoFile);
  put_steps(run, arrays);
  put_groups(run, arrays);
  run.file.clear();
  return run;
}

Run make_run(std::string_view description, const Arrays& arrays) {
  return make_run(parse_json(description, kNoFile), arrays);
}

}  // namespace ordvane::runfile
