#include "model/input_output.h"

#include "model/naming.h"
#include "text/edit.h"

namespace ordvane::model {
namespace {

constexpr std::int32_t kShortNameLimit = 75;

std::shared_ptr<const NumberRules> rules_or_default(const std::shared_ptr<const NumberRules>& rules) {
  static const auto kDefault = std::make_shared<const NumberRules>();
  return rules ? rules : kDefault;
}

}  // namespace

std::int32_t ValueTable::allocate(std::int32_t l, std::int32_t j, std::int32_t k) {
  const bool clamped = l < 1 || j < 1 || k < 1;
  l_ = l < 1 ? 1 : l;
  j_ = j < 1 ? 1 : j;
  k_ = k < 1 ? 1 : k;
  values_.assign(static_cast<std::size_t>(l_) * static_cast<std::size_t>(j_) * static_cast<std::size_t>(k_),
                 0.0);
  return clamped ? 1 : 0;
}

DralInputOutput::DralInputOutput(const std::shared_ptr<const NumberRules>& rules)
    : rules_(rules_or_default(rules)) {}

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
