#include "model/graph_ranges.h"

#include "text/edit.h"

namespace ordvane::model {

void OrdvaneGraphRange::set_rName(const std::string& name) {
  name_ = text::trimmed(name);
}

std::shared_ptr<OrdvaneGraphRange> OrdvaneGraphRanges::Add(std::int32_t /*key*/) {
  return items_.emplace_back(std::make_shared<OrdvaneGraphRange>());
}

std::shared_ptr<OrdvaneGraphRange> OrdvaneGraphRanges::Item(std::int32_t& index) const {
  if (index > Count()) index = Count();
  if (index < 1) host::raise_subscript_out_of_range("graph ranges");
  return items_[static_cast<std::size_t>(index - 1)];
}

}  // namespace ordvane::model
