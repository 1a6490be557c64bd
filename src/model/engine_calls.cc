#include "model/engine_calls.h"

#include <algorithm>
#include <limits>

namespace ordvane::model {

void require_success(std::int32_t status, const char* call, const std::string& item) {
  if (engine::succeeded(status)) return;
  throw host::Error(host::errc::kInvalidProcedureCall, std::string(call) + " refused " + item + " (status " +
                                                           std::to_string(static_cast<std::int16_t>(status)) +
                                                           ")");
}

void fetch_values(session::Session& session, std::int32_t kind, const DralInputOutput& item, std::int32_t run,
                  std::int32_t first, std::span<double> values) {
  if (values.empty()) return;
  std::ranges::fill(values, std::numeric_limits<double>::quiet_NaN());
  const std::int32_t last = first + static_cast<std::int32_t>(values.size()) - 1;
  const std::int32_t status = session.engine->DRL4_GetDoubleInputOrOutputData(
      session.hVars, kind, item.ioIndex, run - 1, first, last, values, 1);
  const std::string& name = item.QualifiedName();
  require_success(
      status, "DRL4_GetDoubleInputOrOutputData",
      (kind == engine::kInput ? "input \"" : "output \"") + (name.empty() ? item.cellAddress : name) + "\"");
}

}  // namespace ordvane::model
