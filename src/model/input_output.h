// DralInputOutput: one input or output of the model, with its names, base value and value tables.
//
// The scan fills identity and names, data retrieval the tables, the reports only read. Every per-output
// result is kept on the input that was varied, indexed first by the output's position and then by the input's
// step. All indexes count from 1; any index outside a table, and any use of a table never initialised, fails
// with error 9.
//
// NaN never enters the base value, the original value or the tables of rule kReplaceNaN: the missing-number
// marker is stored instead.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/excel.h"
#include "model/enumerations.h"
#include "model/number_rules.h"
#include "model/one_based.h"

namespace ordvane::model {

enum class TableRule : std::uint8_t { kReplaceNaN, kAsGiven };

// The elements of a table that come from elsewhere. Both indexes count from 1 and are those of an element.
class TableRows {
 public:
  virtual ~TableRows() = default;
  virtual double at(std::int32_t l, std::int32_t j) const = 0;
  // Elements of a row, from (l, j) on: as many as `to` has room for.
  virtual void copy(std::int32_t l, std::int32_t j, std::span<double> to) const {
    for (double& value : to) value = at(l, j++);
  }
};

// Up to three dimensions of doubles in one piece of memory, the last index running fastest; or two, of rows
// that come from elsewhere.
class ValueTable {
 public:
  // Reallocates with zeros. A size below 1 becomes 1; the result is 1 if any did, else 0. Error 7, and
  // nothing changed, for more elements than there is room for.
  std::int32_t allocate(std::int32_t l, std::int32_t j = 1, std::int32_t k = 1);
  // These rows instead, of so many elements. They cannot be put.
  void show(std::shared_ptr<const TableRows> rows, std::int32_t l, std::int32_t j);
  double get(std::int32_t l, std::int32_t j = 1, std::int32_t k = 1) const {
    const std::size_t at = index(l, j, k);
    return rows_ ? rows_->at(l, j) : values_[at];
  }
  // Elements of a row of two dimensions, from (l, j) on: as many as `to` has room for.
  void copy(std::int32_t l, std::int32_t j, std::span<double> to) const;
  void put(std::int32_t l, std::int32_t j, std::int32_t k, double value) {
    const std::size_t at = index(l, j, k);
    if (rows_) host::raise_subscript_out_of_range("value table of a run");
    values_[at] = value;
  }

 private:
  std::size_t index(std::int32_t l, std::int32_t j, std::int32_t k) const {
    if (l < 1 || l > l_ || j < 1 || j > j_ || k < 1 || k > k_)
      host::raise_subscript_out_of_range("value table");
    return (static_cast<std::size_t>(l - 1) * static_cast<std::size_t>(j_) +
            static_cast<std::size_t>(j - 1)) *
               static_cast<std::size_t>(k_) +
           static_cast<std::size_t>(k - 1);
  }

  std::vector<double> values_;
  std::shared_ptr<const TableRows> rows_;  // null: `values_` has the elements
  std::int32_t l_ = 0, j_ = 0, k_ = 0;
};

class DralInputOutput {
 public:
  using Long = std::int32_t;
  using Integer = std::int16_t;
  using Boolean = bool;
  using Double = double;
  using String = std::string;
  using RangeRef = std::shared_ptr<host::Range>;

  // Without rules: those of a record that a client made on its own.
  explicit DralInputOutput(const std::shared_ptr<const NumberRules>& rules = nullptr);

#define ORDVANE_FIELD(number, type, name) type name{};
#include "model/input_output_fields.def"

  double BaseValue() const {
    return m_BaseValue;
  }
  void set_BaseValue(double value) {
    m_BaseValue = rules_->without_nan(value);
  }
  double OriginalValue() const {
    return m_OriginalValue;
  }
  void set_OriginalValue(double value) {
    m_OriginalValue = rules_->without_nan(value);
  }

  const std::string& SimpleName() const {
    return simple_name_;
  }
  void set_SimpleName(const std::string& name);
  std::string SimpleNameShort() const;  // at most 75 UTF-16 units
  const std::string& QualifiedName() const {
    return qualified_name_;
  }
  void set_QualifiedName(const std::string& name);

  // False for an empty name and for a single blank.
  bool has_name() const {
    return !ioName.empty() && ioName != " ";
  }
  // The short name of an item that has one, else its address as the mode spells it.
  std::string NameOrQualifiedCellAddressName(OrdvaneRangeMode mode) const;

  const NumberRules& rules() const {
    return *rules_;
  }

  // For each table X: its initialiser, X(...) to read, XPut(...) to write.
#define ORDVANE_TABLE1(number, name, init, rule)          \
  std::int32_t init(std::int32_t l) {                     \
    return name##_.allocate(l);                           \
  }                                                       \
  double name(std::int32_t l) const {                     \
    return name##_.get(l);                                \
  }                                                       \
  void name##Put(std::int32_t l, double value) {          \
    name##_.put(l, 1, 1, stored(TableRule::rule, value)); \
  }
#define ORDVANE_TABLE2(number, name, init, rule)                 \
  std::int32_t init(std::int32_t l, std::int32_t j) {            \
    return name##_.allocate(l, j);                               \
  }                                                              \
  double name(std::int32_t l, std::int32_t j) const {            \
    return name##_.get(l, j);                                    \
  }                                                              \
  void name##Put(std::int32_t l, std::int32_t j, double value) { \
    name##_.put(l, j, 1, stored(TableRule::rule, value));        \
  }
#define ORDVANE_TABLE3(number, name, init, rule)                                 \
  std::int32_t init(std::int32_t l, std::int32_t j, std::int32_t k) {            \
    return name##_.allocate(l, j, k);                                            \
  }                                                                              \
  double name(std::int32_t l, std::int32_t j, std::int32_t k) const {            \
    return name##_.get(l, j, k);                                                 \
  }                                                                              \
  void name##Put(std::int32_t l, std::int32_t j, std::int32_t k, double value) { \
    name##_.put(l, j, k, stored(TableRule::rule, value));                        \
  }
#include "model/input_output_fields.def"

  // The step tables of `outputs` outputs show these rows: results, their changes and ranks.
  void show_steps(std::int32_t outputs, std::shared_ptr<const TableRows> results,
                  std::shared_ptr<const TableRows> changes, std::shared_ptr<const TableRows> ranks);

  // The results of an output at the steps from `first` on, as OutputValuesCalculated tells them one by one.
  void copy_results(std::int32_t output, std::int32_t first, std::span<double> results) const {
    OutputValuesCalculated_.copy(output, first, results);
  }

  // How many of the output's results at the input's steps are no numbers: as counted, else as the table has
  // them.
  std::int32_t failed_results(std::int32_t output) const;
  // Retrieval counts them, for so many outputs.
  void failed_results_init(std::int32_t outputs) {
    failed_results_.assign(outputs, kNotCounted);
  }
  void count_failed_results(std::int32_t output, std::int32_t failed) {
    failed_results_(output) = failed;
  }

  // The ranks as whole numbers: the tables that clients see hold them as doubles.
  std::int32_t rank(std::int32_t output) const;
  std::int32_t rank_of_step(std::int32_t output, std::int32_t step) const;

 private:
  double stored(TableRule rule, double value) const {
    return rule == TableRule::kReplaceNaN ? rules_->without_nan(value) : value;
  }

  static constexpr std::int32_t kNotCounted = -1;

  std::shared_ptr<const NumberRules> rules_;
  std::string simple_name_;
  std::string qualified_name_;
  OneBased<std::int32_t> failed_results_;

#define ORDVANE_TABLE1(number, name, init, rule) ValueTable name##_;
#define ORDVANE_TABLE2(number, name, init, rule) ValueTable name##_;
#define ORDVANE_TABLE3(number, name, init, rule) ValueTable name##_;
#include "model/input_output_fields.def"
};

using Records = OneBased<DralInputOutput>;

}  // namespace ordvane::model
