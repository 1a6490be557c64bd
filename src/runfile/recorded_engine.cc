#include "runfile/recorded_engine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>
#include <utility>

#include "runfile/cell_address.h"
#include "runfile/values.h"
#include "text/utf16.h"
#include "unicode/names.h"

namespace ordvane::runfile {
namespace {

using engine::kInput;
using engine::kOutput;

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kRefused = 1;
constexpr std::int32_t kContextMark = 0x4F720000;  // tells the engine's own context words from others

// The books, sheets and cells that hold items of one kind, in the order of the run file. Spreadsheets do not
// tell names apart by case.
class Places {
 public:
  struct ItemIndexes {
    std::int32_t book = 0, sheet = 0, cell = 0;
  };

  void add(const Item& item) {
    const auto [book, new_book] =
        book_numbers_.try_emplace(unicode::folded(item.book), static_cast<std::int32_t>(books_.size()));
    if (new_book) books_.push_back({item.book, {}, {}});
    Book& held = books_[static_cast<std::size_t>(book->second)];
    const auto [sheet, new_sheet] = held.sheet_numbers.try_emplace(
        unicode::folded(item.sheet), static_cast<std::int32_t>(held.sheets.size()));
    if (new_sheet) held.sheets.push_back({item.sheet, {}});
    std::vector<const Item*>& cells = held.sheets[static_cast<std::size_t>(sheet->second)].cells;
    places_.push_back({book->second, sheet->second, static_cast<std::int32_t>(cells.size())});
    cells.push_back(&item);
  }

  const ItemIndexes& of_item(std::size_t item) const { return places_[item]; }
  // Each is null outside the lists.
  const std::string* book(std::int32_t index) const {
    const Book* found = at(books_, index);
    return found ? &found->name : nullptr;
  }
  std::int32_t sheets_in_book(std::int32_t index) const {
    return static_cast<std::int32_t>(books_[static_cast<std::size_t>(index)].sheets.size());
  }
  const std::string* sheet(std::int32_t book, std::int32_t index) const {
    const Sheet* found = sheet_at(book, index);
    return found ? &found->name : nullptr;
  }
  const Item* cell(std::int32_t book, std::int32_t sheet, std::int32_t index) const {
    const Sheet* found = sheet_at(book, sheet);
    const Item* const* item = found ? at(found->cells, index) : nullptr;
    return item ? *item : nullptr;
  }

 private:
  struct Sheet {
    std::string name;
    std::vector<const Item*> cells;
  };
  struct Book {
    std::string name;
    std::vector<Sheet> sheets;
    std::map<std::string, std::int32_t> sheet_numbers;
  };

  template <class T>
  static const T* at(const std::vector<T>& list, std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < list.size()
               ? &list[static_cast<std::size_t>(index)]
               : nullptr;
  }
  const Sheet* sheet_at(std::int32_t book, std::int32_t index) const {
    const Book* found = at(books_, book);
    return found ? at(found->sheets, index) : nullptr;
  }

  std::vector<Book> books_;
  std::map<std::string, std::int32_t> book_numbers_;
  std::vector<ItemIndexes> places_;
};

// An input of the ordered list.
struct ListedInput {
  const Input* input;
  std::size_t item;          // position among all inputs of the run
  std::int64_t recorded_at;  // first recalculation in the run
  std::int32_t first;        // first recalculation as the engine counts them
  bool in_groups = false;
};

// A group of the run as the engine counts.
struct GroupPlace {
  const Group* group;
  std::vector<std::size_t> members;   // zero-based places in the ordered list
  std::vector<std::int64_t> strides;  // how many combinations one step of each lasts
  std::int64_t end() const { return group->first + group->combinations; }
};

// The item's own part of its formula, by one-based positions of UTF-16 units. Without a function of its own
// the item is the whole formula behind its "=".
std::pair<std::int32_t, std::int32_t> function_position(const Item& item) {
  if (item.formula.empty()) return {0, 0};
  if (item.function.empty())
    return {item.formula.size() > 1 && item.formula.front() == '=' ? 2 : 1, text::utf16_length(item.formula)};
  const std::size_t at = item.formula.find(item.function);
  if (at == std::string::npos) return {0, 0};
  const std::int32_t before = text::utf16_length(std::string_view(item.formula).substr(0, at));
  return {before + 1, before + text::utf16_length(item.function)};
}

bool is_blank(const std::string& name) {
  return name.find_first_not_of(' ') == std::string::npos;
}

std::string label_text(const Item& item) {
  std::string text;
  for (const LabelCell& label : item.labels) text += (text.empty() ? "" : " / ") + label.text;
  return text;
}

std::string absolute_cell(const std::string& text) {
  const auto cell = parse_cell(text);
  return cell ? to_absolute_text(*cell) : text;
}

std::string absolute_range(const std::string& text) {
  const auto range = parse_range(text);
  return range ? to_absolute_text(*range) : text;
}

std::int16_t flag(bool value) {
  return value ? 1 : 0;
}

class RecordedEngine : public engine::Engine {
 public:
  explicit RecordedEngine(std::shared_ptr<const Run> run)
      : run_(std::move(run)), sampling_type_(run_->sampling_type) {
    std::int64_t recorded_at = 0;
    std::int64_t first = 0;
    for (std::size_t i = 0; i < run_->inputs.size(); ++i) {
      const Input& input = run_->inputs[i];
      places_[kInput].add(input);
      if (input.saved_samples) {
        listed_.push_back({&input, i, recorded_at, static_cast<std::int32_t>(first)});
        first += input.steps;
      }
      recorded_at += input.steps;
    }
    recalculations_ = static_cast<std::int32_t>(first);
    std::vector<std::size_t> place(run_->inputs.size());  // in the ordered list, by input
    for (std::size_t l = 0; l < listed_.size(); ++l) place[listed_[l].item] = l;
    for (const Group& group : run_->groups) {
      GroupPlace in_list{&group, {}, {}};
      for (std::size_t m = 0; m < group.members.size(); ++m) {
        in_list.members.push_back(place[group.members[m]]);
        in_list.strides.push_back(group.stride(m));
        listed_[place[group.members[m]]].in_groups = true;
      }
      groups_.push_back(std::move(in_list));
    }
    for (const Output& output : run_->outputs) places_[kOutput].add(output);
  }

  std::int32_t open_contexts() const { return static_cast<std::int32_t>(open_.size()); }

  void load_library(const std::string&) override {}

  std::int32_t DrllibInitLibraryVB(const std::string&, const std::string&, std::int32_t& a, std::int32_t& b,
                                   std::int32_t& c, std::int32_t& d) override {
    const std::int32_t number = ++contexts_made_;
    a = kContextMark + number;
    b = ~a;
    c = a ^ b;
    d = number;
    open_[a] = {b, c, d};
    return kDone;
  }

  // Closes a context whose words are those that its initialisation wrote; refuses any other, such as one
  // that is closed already, and changes nothing then.
  std::int32_t DrllibFreeLibraryVB(std::int32_t a, std::int32_t& b, std::int32_t c, std::int32_t& d,
                                   std::int32_t&, std::int32_t&, std::int32_t&, std::string&) override {
    const auto context = open_.find(a);
    if (context == open_.end() || context->second != ContextWords{b, c, d}) return kRefused;
    open_.erase(context);
    return kDone;
  }

  std::int32_t DRL4_Init(std::int32_t) override { return kDone; }

  std::int32_t DRL4_GetSimStats(std::int32_t, std::int32_t& numberOfSimulations,
                                std::int32_t& numberOfIterations) override {
    numberOfSimulations = run_->simulations;
    numberOfIterations = recalculations_ + group_recalculations();
    return kDone;
  }

  std::int32_t DRL4_GetNumInputsAndOutputs(std::int32_t, std::int32_t mode, std::int32_t& numInputs,
                                           std::int32_t& numOutputs) override {
    if (mode != 0) return kRefused;
    numInputs = static_cast<std::int32_t>(run_->inputs.size());
    numOutputs = static_cast<std::int32_t>(run_->outputs.size());
    return kDone;
  }

  std::int32_t DRL4_GetNumInputsWithSavedSamples(std::int32_t, std::int32_t& numInputs) override {
    numInputs = static_cast<std::int32_t>(listed_.size());
    return kDone;
  }

  std::int32_t DRL4_GetVaryMultis(std::int32_t, std::span<std::int32_t> list, std::int32_t& a,
                                  std::int32_t& b, std::int32_t& c) override {
    a = static_cast<std::int32_t>(listed_.size());
    b = recalculations_;
    c = group_recalculations();
    const std::size_t fitting = std::min(listed_.size(), list.size() / 2);
    for (std::size_t i = 0; i < fitting; ++i) {
      list[2 * i] = static_cast<std::int32_t>(i) + 1;
      list[2 * i + 1] = listed_[i].input->steps;
    }
    return fitting == listed_.size() ? kDone : kRefused;
  }

  std::int32_t DRL4_GetUsedVaryMultis(std::int32_t, std::int32_t first, std::int32_t count,
                                      std::span<std::int32_t> members, std::int32_t membersPerGroup,
                                      std::int32_t stepsPerGroup, std::span<std::int32_t> steps) override {
    if (first < 0 || count < 1 || count > group_recalculations() - first) return kRefused;
    const std::int32_t row = std::min(membersPerGroup, stepsPerGroup);
    const auto holds = [&](std::span<std::int32_t> cells, std::int32_t width) {
      return width > 0 && cells.size() / static_cast<std::size_t>(width) >= static_cast<std::size_t>(count);
    };
    if (!holds(members, membersPerGroup) || !holds(steps, stepsPerGroup)) return kRefused;
    const std::int64_t last = std::int64_t{first} + count - 1;
    for (auto group = group_at(first); group != groups_.end() && group->group->first <= last; ++group)
      if (group->members.size() > static_cast<std::size_t>(row)) return kRefused;
    const auto elements = [count](std::int32_t width) {
      return static_cast<std::size_t>(count) * static_cast<std::size_t>(width);
    };
    std::ranges::fill(members.first(elements(membersPerGroup)), 0);
    std::ranges::fill(steps.first(elements(stepsPerGroup)), 0);
    auto group = group_at(first);
    for (std::int32_t r = 0; r < count; ++r) {
      const std::int64_t recalculation = std::int64_t{first} + r;
      while (recalculation >= group->end()) ++group;
      for (std::size_t m = 0; m < group->members.size(); ++m) {
        const auto at = [&](std::int32_t width) {
          return static_cast<std::size_t>(r) * static_cast<std::size_t>(width) + m;
        };
        members[at(membersPerGroup)] = static_cast<std::int32_t>(group->members[m]) + 1;
        steps[at(stepsPerGroup)] = static_cast<std::int32_t>((recalculation - group->group->first) /
                                                             group->strides[m] % group->group->steps[m]) +
                                   1;
      }
    }
    return kDone;
  }

  std::int32_t DRL4_GetVaryCountList(std::int32_t, std::span<std::int16_t> list,
                                     std::int32_t count) override {
    const auto wanted = static_cast<std::size_t>(std::max(count, 0));
    const std::size_t fitting = std::min({wanted, list.size(), listed_.size()});
    for (std::size_t i = 0; i < fitting; ++i) list[i] = static_cast<std::int16_t>(listed_[i].input->steps);
    return fitting == wanted ? kDone : kRefused;
  }

  std::int32_t DRL4_GetDoubleInputOrOutputData(std::int32_t, std::int32_t kind, std::int32_t index,
                                               std::int32_t run, std::int32_t first, std::int32_t last,
                                               std::span<double> data, std::int32_t) override {
    if (!has_item(kind, index) || run < 0 || run >= run_->simulations) return kRefused;
    const std::int32_t recorded = recalculations_ + group_recalculations();
    if (first < 0 || first > last || first >= recorded) return kRefused;
    const auto wanted = static_cast<std::size_t>(last) - static_cast<std::size_t>(first) + 1;
    data = data.first(std::min({wanted, static_cast<std::size_t>(recorded - first), data.size()}));
    const auto standard =
        std::min(data.size(), static_cast<std::size_t>(std::max(recalculations_ - first, 0)));
    const std::int64_t multi_way = std::max(first - recalculations_, 0);
    if (kind == kInput) {
      const ListedInput& listed = listed_[static_cast<std::size_t>(index)];
      std::ranges::fill(data, listed.input->base.value_or(std::numeric_limits<double>::quiet_NaN()));
      if (standard > 0) copy_input(listed, run, first, data.first(standard));
      copy_group_input(static_cast<std::size_t>(index), run, multi_way, data.subspan(standard));
    } else {
      const auto output = static_cast<std::size_t>(index);
      if (standard > 0) copy_output(output, run, first, data.first(standard));
      const auto rest = data.subspan(standard);
      if (!rest.empty())
        run_->group_output_values.copy(run_->group_output_index(run, output, multi_way), rest);
    }
    return data.size() == wanted ? kDone : kRefused;
  }

  // The run does not change, and the maps of its files are let go of without harm to others.
  bool concurrent() const override { return true; }
  std::int32_t DRL4_DoubleIsNaN(double value) override { return std::isnan(value) ? 1 : 0; }
  std::int32_t DRL4_DoubleIsError(double value) override { return is_encoded_error(value) ? 1 : 0; }
  std::int32_t DRL4_GetSamplingType(std::int32_t) override { return sampling_type_; }
  std::int32_t DRL4_SetSamplingType(std::int32_t, std::int32_t type) override {
    sampling_type_ = type;
    return kDone;
  }

  // NOLINTBEGIN(readability-function-size): arguments of the engine's exports
  std::int32_t DRL7_GetOrderedInputInfoVB(std::int32_t, std::int16_t, std::int32_t index, std::string& name,
                                          std::string& alternativeName, std::string& formula,
                                          std::int32_t& functionStart, std::int32_t& functionStop,
                                          std::int16_t& useDefaultName, std::int32_t& bookIndex,
                                          std::int32_t& sheetIndex, std::int32_t& cellIndex,
                                          std::int32_t& formulaIndex, std::int16_t& inCellIndex,
                                          std::int16_t& isLocked, std::int16_t& isMulti,
                                          std::int16_t& rangeType, double& minChange, double& maxChange,
                                          std::int16_t& distForRange) override {
    if (!has_item(kInput, index)) return kRefused;
    const ListedInput& listed = listed_[static_cast<std::size_t>(index)];
    name_item(*listed.input, name, alternativeName, useDefaultName);
    place_item(kInput, listed.item, bookIndex, sheetIndex, cellIndex, formulaIndex, inCellIndex);
    formula = listed.input->formula;
    std::tie(functionStart, functionStop) = function_position(*listed.input);
    isLocked = flag(listed.input->locked);
    isMulti = flag(listed.in_groups);
    rangeType = 0;
    distForRange = 0;
    std::tie(minChange, maxChange) = range_of_variation(listed);
    return kDone;
  }

  std::int32_t DRL7_GetOrderedOutputInfoVB(std::int32_t, std::int16_t, std::int32_t index, std::string& name,
                                           std::string& alternativeName, std::string& formula,
                                           std::int32_t& functionStart, std::int32_t& functionStop,
                                           std::int16_t& useDefaultName, std::int32_t& bookIndex,
                                           std::int32_t& sheetIndex, std::int32_t& cellIndex,
                                           std::int32_t& formulaIndex, std::int16_t& inCellIndex,
                                           std::int16_t& isLocked, std::int16_t& dateFlag,
                                           std::string& outputRangeName, std::int32_t& outputRangeIndex,
                                           std::int32_t& dralOutputIndex) override {
    if (!has_item(kOutput, index)) return kRefused;
    const Output& output = run_->outputs[static_cast<std::size_t>(index)];
    name_item(output, name, alternativeName, useDefaultName);
    place_item(kOutput, static_cast<std::size_t>(index), bookIndex, sheetIndex, cellIndex, formulaIndex,
               inCellIndex);
    formula = output.formula;
    std::tie(functionStart, functionStop) = function_position(output);
    isLocked = flag(output.locked);
    dateFlag = flag(output.date);
    outputRangeName = output.range_name;
    outputRangeIndex = output.range_index;
    dralOutputIndex = index;
    return kDone;
  }

  std::int32_t DRL7_GetWorkbookWithInputOrOutputVB(std::int32_t, std::int16_t, std::int32_t kind,
                                                   std::int32_t bookIndex, std::int32_t& sheetsInBook,
                                                   std::string& workbook) override {
    const std::string* book = is_kind(kind) ? places_[kind].book(bookIndex) : nullptr;
    if (!book) return kRefused;
    sheetsInBook = places_[kind].sheets_in_book(bookIndex);
    workbook = *book;
    return kDone;
  }

  std::int32_t DRL7_GetSheetWithInputOrOutputVB(std::int32_t, std::int16_t, std::int32_t kind,
                                                std::int32_t bookIndex, std::int32_t sheetIndex,
                                                std::string& sheet) override {
    const std::string* found = is_kind(kind) ? places_[kind].sheet(bookIndex, sheetIndex) : nullptr;
    if (!found) return kRefused;
    sheet = *found;
    return kDone;
  }

  // A cell holds one item, in its one formula.
  std::int32_t DRL7_GetCellWithInputOrOutputVB(std::int32_t, std::int16_t, std::int32_t kind,
                                               std::int32_t bookIndex, std::int32_t sheetIndex,
                                               std::int32_t cellIndex, std::int32_t formulaIndex,
                                               std::int16_t inCellIndex, std::string& cellAddress,
                                               std::string& rangeAddress,
                                               std::int32_t& itemsInCell) override {
    const Item* item = is_kind(kind) ? places_[kind].cell(bookIndex, sheetIndex, cellIndex) : nullptr;
    if (!item || formulaIndex != 0 || inCellIndex != 1) return kRefused;
    cellAddress = absolute_cell(item->cell);
    rangeAddress = absolute_range(item->range.empty() ? item->cell : item->range);
    itemsInCell = 1;
    return kDone;
  }
  // NOLINTEND(readability-function-size)

 private:
  using ContextWords = std::array<std::int32_t, 3>;

  static bool is_kind(std::int32_t kind) { return kind == kInput || kind == kOutput; }
  bool has_item(std::int32_t kind, std::int32_t index) const {
    if (!is_kind(kind) || index < 0) return false;
    return static_cast<std::size_t>(index) < (kind == kInput ? listed_.size() : run_->outputs.size());
  }

  // An item without a name goes by the texts beside its cell, which count as its name, or else by its
  // default name.
  static void name_item(const Item& item, std::string& name, std::string& alternative,
                        std::int16_t& use_default) {
    const bool labelled = is_blank(item.name) && !item.labels.empty();
    name = labelled ? label_text(item) : item.name;
    alternative = item.default_name;
    use_default = flag(labelled);
  }

  void place_item(std::int32_t kind, std::size_t item, std::int32_t& book, std::int32_t& sheet,
                  std::int32_t& cell, std::int32_t& formula, std::int16_t& in_cell) const {
    const Places::ItemIndexes& place = places_[kind].of_item(item);
    book = place.book;
    sheet = place.sheet;
    cell = place.cell;
    formula = 0;
    in_cell = 1;
  }

  // As the run states it, else from the lowest to the highest value used; 0, 0 when there is none.
  std::pair<double, double> range_of_variation(const ListedInput& listed) const {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (std::int32_t simulation = 0; simulation < run_->simulations; ++simulation) {
      const std::size_t first = run_->input_value_index(simulation, listed.recorded_at);
      for (std::size_t step = 0; step < static_cast<std::size_t>(listed.input->steps); ++step) {
        low = std::fmin(low, run_->input_values[first + step]);
        high = std::fmax(high, run_->input_values[first + step]);
      }
    }
    if (low > high) low = high = 0;
    return {listed.input->low.value_or(low), listed.input->high.value_or(high)};
  }

  // Recalculations `first` and following, as many as `data` has room for; all of them exist.
  void copy_input(const ListedInput& listed, std::int32_t run, std::int32_t first,
                  std::span<double> data) const {
    copy_steps(listed, run_->input_values, run_->input_value_index(run, listed.recorded_at), first, data);
  }

  void copy_output(std::size_t output, std::int32_t run, std::int32_t first, std::span<double> data) const {
    if (recalculations_ == run_->recalculations)
      return run_->output_values.copy(run_->output_value_index(run, output, first), data);
    for (const ListedInput& listed : listed_)
      copy_steps(listed, run_->output_values, run_->output_value_index(run, output, listed.recorded_at),
                 first, data);
  }

  // Puts the values of one input's steps, which begin at `steps`, to where they fall in `data`, which starts
  // at recalculation `first`.
  static void copy_steps(const ListedInput& listed, const StoredValues& values, std::size_t steps,
                         std::int32_t first, std::span<double> data) {
    const std::int64_t start = std::int64_t{listed.first} - first;
    const std::int64_t from = std::max<std::int64_t>(start, 0);
    const std::int64_t to =
        std::min<std::int64_t>(start + listed.input->steps, static_cast<std::int64_t>(data.size()));
    if (from < to)
      values.copy(steps + static_cast<std::size_t>(from - start),
                  data.subspan(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from)));
  }

  std::int32_t group_recalculations() const { return static_cast<std::int32_t>(run_->group_recalculations); }

  // The group of this multi-way recalculation, counted from 0; the end when there is none.
  std::vector<GroupPlace>::const_iterator group_at(std::int64_t recalculation) const {
    return std::partition_point(groups_.begin(), groups_.end(),
                                [&](const GroupPlace& group) { return group.end() <= recalculation; });
  }

  // Puts what one input was set to where it is a member into `data`, which starts at
  // multi-way recalculation `first`.
  void copy_group_input(std::size_t place, std::int32_t run, std::int64_t first,
                        std::span<double> data) const {
    const std::int64_t stop = first + static_cast<std::int64_t>(data.size());
    for (auto group = group_at(first); group != groups_.end() && group->group->first < stop; ++group) {
      const auto member = std::ranges::find(group->members, place);
      if (member == group->members.end()) continue;
      const auto m = static_cast<std::size_t>(member - group->members.begin());
      for (std::int64_t r = std::max(first, group->group->first); r < std::min(stop, group->end()); ++r)
        data[static_cast<std::size_t>(r - first)] =
            run_->group_input_values[run_->group_value_index(run, *group->group, r - group->group->first, m)];
    }
  }

  std::shared_ptr<const Run> run_;
  std::vector<GroupPlace> groups_;
  std::int32_t sampling_type_;
  std::int32_t recalculations_ = 0;  // of the listed inputs
  std::vector<ListedInput> listed_;
  Places places_[2];  // by kind
  std::int32_t contexts_made_ = 0;
  std::map<std::int32_t, ContextWords> open_;
};

}  // namespace

std::shared_ptr<engine::Engine> make_recorded_engine(std::shared_ptr<const Run> run) {
  return std::make_shared<RecordedEngine>(std::move(run));
}

std::int32_t open_contexts(const engine::Engine& engine) {
  const auto* recorded = dynamic_cast<const RecordedEngine*>(&engine);
  return recorded ? recorded->open_contexts() : 0;
}

}  // namespace ordvane::runfile
