#include "calc/functions.h"

#include <algorithm>
#include <vector>

namespace ordvane::calc {
namespace {

const std::vector<const Function*>& sorted_functions() {
  static const std::vector<const Function*> sorted = [] {
    std::vector<const Function*> list;
    for (const auto field :
         {math_functions,         statistical_functions, text_functions,         date_functions,
          financial_functions,    lookup_functions,      logical_functions,      information_functions,
          rounding_functions,     elementary_functions,  criteria_functions,     matrix_functions,
          sample_functions,       pair_functions,        distribution_functions, annuity_functions,
          depreciation_functions, calendar_functions,    number_text_functions,  finding_functions,
          array_functions,        kind_functions,        bond_functions,         line_functions,
          unit_functions})
      for (const Function& function : field()) list.push_back(&function);
    std::sort(list.begin(), list.end(),
              [](const Function* a, const Function* b) { return a->name < b->name; });
    return list;
  }();
  return sorted;
}

}  // namespace

char Function::argument_letter(int position) const {
  const auto at = static_cast<std::size_t>(position);
  const std::size_t bar = arguments.find('|');
  if (bar == std::string_view::npos) return arguments[std::min(at, arguments.size() - 1)];
  return at < bar ? arguments[at] : arguments[bar + 1 + (at - bar) % (arguments.size() - bar - 1)];
}

const Function* find_function(std::string_view name) {
  for (const std::string_view prefix : {"_XLFN.", "_XLWS."})
    if (name.starts_with(prefix)) name.remove_prefix(prefix.size());
  const auto& sorted = sorted_functions();
  const auto found = std::lower_bound(
      sorted.begin(), sorted.end(), name,
      [](const Function* function, std::string_view wanted) { return function->name < wanted; });
  return found != sorted.end() && (*found)->name == name ? *found : nullptr;
}

std::span<const Function* const> all_functions() {
  return sorted_functions();
}

}  // namespace ordvane::calc
