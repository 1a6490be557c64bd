// The series of one chart: where on the sheet each series' x and y values lie.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/excel.h"

namespace ordvane::model {

class OrdvaneGraphRange {
 public:
  const std::string& rName() const { return name_; }
  void set_rName(const std::string& name);  // trimmed of blanks
  std::int32_t numValues() const { return num_values_; }
  void set_numValues(std::int32_t count) { num_values_ = count; }
  const std::shared_ptr<host::Range>& xValues() const { return x_values_; }
  void set_xValues(std::shared_ptr<host::Range> range) { x_values_ = std::move(range); }
  const std::shared_ptr<host::Range>& yValues() const { return y_values_; }
  void set_yValues(std::shared_ptr<host::Range> range) { y_values_ = std::move(range); }

 private:
  std::string name_;
  std::int32_t num_values_ = 0;
  std::shared_ptr<host::Range> x_values_;
  std::shared_ptr<host::Range> y_values_;
};

class OrdvaneGraphRanges {
 public:
  std::int32_t Count() const { return static_cast<std::int32_t>(items_.size()); }
  // Appends an empty series. Series are found by position only; keys need not be unique and are not kept.
  std::shared_ptr<OrdvaneGraphRange> Add(std::int32_t key);
  // The series at a one-based position. A position past the end becomes Count, in the caller's variable too;
  // one below 1, or any on an empty list, fails with error 9.
  std::shared_ptr<OrdvaneGraphRange> Item(std::int32_t& index) const;

 private:
  std::vector<std::shared_ptr<OrdvaneGraphRange>> items_;
};

}  // namespace ordvane::model
