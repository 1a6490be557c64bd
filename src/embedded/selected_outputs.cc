#include "embedded/selected_outputs.h"

#include <algorithm>
#include <string>

namespace ordvane::embedded {

model::OneBased<std::int32_t> selected_outputs(const runfile::Run& run,
                                               const std::vector<std::int32_t>& positions) {
  const auto count = static_cast<std::int32_t>(run.outputs.size());
  model::OneBased<std::int32_t> selected;
  for (const std::int32_t position : positions) {
    if (position < 0 || position >= count)
      host::raise_subscript_out_of_range("output " + std::to_string(position) + " of " +
                                         std::to_string(count));
    if (std::find(selected.begin(), selected.end(), position) == selected.end()) selected.push_back(position);
  }
  if (positions.empty())
    for (std::int32_t position = 0; position < count; ++position) selected.push_back(position);
  return selected;
}

}  // namespace ordvane::embedded
