#include "model/input_output.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <tuple>

#include "model/naming.h"
#include "text/edit.h"

namespace ordvane::model {
namespace {

constexpr std::int32_t kShortNameLimit = 75;

std::shared_ptr<const NumberRules> rules_or_default(const std::shared_ptr<const NumberRules>& rules) {
  static const auto kDefault = std::make_shared<const NumberRules>();
  return rules ? rules : kDefault;
}

// Clients may store what is no rank: it comes after all others.
std::int32_t whole_rank(double rank) {
  constexpr std::int32_t kLast = std::numeric_limits<std::int32_t>::max();
  const double whole = std::nearbyint(rank);
  return whole >= 1 && whole < kLast ? static_cast<std::int32_t>(whole) : kLast;
}

}  // namespace

std::int32_t ValueTable::allocate(std::int32_t l, std::int32_t j, std::int32_t k) {
  const std::int32_t sizes[] = {std::max(l, 1), std::max(j, 1), std::max(k, 1)};
  std::size_t elements = 1;
  host::allocating([&] {
    for (const std::int32_t size : sizes) {
      if (elements > values_.max_size() / static_cast<std::size_t>(size))
        throw std::length_error("value table");
      elements *= static_cast<std::size_t>(size);
    }
    values_.assign(elements, 0.0);
  });
  rows_.reset();
  std::tie(l_, j_, k_) = std::tie(sizes[0], sizes[1], sizes[2]);
  return l < 1 || j < 1 || k < 1 ? 1 : 0;
}

void ValueTable::show(std::shared_ptr<const TableRows> rows, std::int32_t l, std::int32_t j) {
  values_ = {};
  rows_ = std::move(rows);
  std::tie(l_, j_, k_) = std::tuple(l, j, 1);
}

void ValueTable::copy(std::int32_t l, std::int32_t j, std::span<double> to) const {
  if (to.empty()) return;
  const std::size_t first = index(l, j, 1), last = index(l, j + static_cast<std::int32_t>(to.size()) - 1, 1);
  if (rows_) return rows_->copy(l, j, to);
  std::copy(values_.begin() + static_cast<std::ptrdiff_t>(first),
            values_.begin() + static_cast<std::ptrdiff_t>(last) + 1, to.begin());
}

DralInputOutput::DralInputOutput(const std::shared_ptr<const NumberRules>& rules)
    : rules_(rules_or_default(rules)) {}

void DralInputOutput::show_steps(std::int32_t outputs, std::shared_ptr<const TableRows> results,
                                 std::shared_ptr<const TableRows> changes,
                                 std::shared_ptr<const TableRows> ranks) {
  OutputValuesCalculated_.show(std::move(results), outputs, numSteps);
  outputPercentChangedCalculated_.show(std::move(changes), outputs, numSteps);
  outputRankPerStep_.show(std::move(ranks), outputs, numSteps);
}

std::int32_t DralInputOutput::failed_results(std::int32_t output) const {
  if (output >= 1 && output <= failed_results_.size() && failed_results_(output) != kNotCounted)
    return failed_results_(output);
  std::vector<double> results(static_cast<std::size_t>(std::max(numSteps, 0)));
  copy_results(output, 1, results);
  return static_cast<std::int32_t>(
      std::ranges::count_if(results, [this](double result) { return !rules_->is_usable(result); }));
}

std::int32_t DralInputOutput::rank(std::int32_t output) const {
  return whole_rank(outputRank(output));
}

std::int32_t DralInputOutput::rank_of_step(std::int32_t output, std::int32_t step) const {
  return whole_rank(outputRankPerStep(output, step));
}

void DralInputOutput::set_SimpleName(const std::string& name) {
  simple_name_ = text::trimmed(name);
}

std::string DralInputOutput::SimpleNameShort() const {
  return rules_->shorten(simple_name_, kShortNameLimit);
}

void DralInputOutput::set_QualifiedName(const std::string& name) {
  qualified_name_ = text::trimmed(name);
}

std::string DralInputOutput::NameOrQualifiedCellAddressName(OrdvaneRangeMode mode) const {
  return has_name() ? SimpleNameShort() : address_for_range_mode(mode, bookName, sheetName, cellAddress);
}

}  // namespace ordvane::model
