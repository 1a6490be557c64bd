// Small helpers that the table and graph reports share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/cells.h"
#include "layout/report_table.h"
#include "model/combinations.h"
#include "model/enumerations.h"
#include "model/number_rules.h"
#include "model/one_based.h"
#include "session/session.h"

namespace ordvane::reports {

inline std::string PercentFormat() {
  return "0.00%";
}

// "name (address)", or "(address)" without a name.
std::string NameWithAddress(const std::string& name, const std::string& address);

// One table value turned into cell content: the value, the value divided by `divisor` unless that is exactly
// 1, or " - " with the reason added to `flags` (OrdvaneInvalidTableValue bits). Never fails.
void FormatTableValue(const model::NumberRules& rules, host::CellBlock& block, std::int32_t row,
                      std::int32_t column, double value, std::int32_t& flags, double divisor,
                      model::OrdvaneDivisorType divisor_kind);
// The same as a cell value.
host::CellValue FormatTableValue(const model::NumberRules& rules, double value, std::int32_t& flags,
                                 double divisor, model::OrdvaneDivisorType divisor_kind);

// Throws errc::kUserCancelled when the user asks to stop.
void CheckUserCancel(session::Session& session);

// Width in points for a chart above or below the table: the table's, within 376 to 476; 400 when
// unmeasurable.
double TableWidthForChart(layout::ReportTable& table);

// Shows up to three texts as progress and in the status bar. With `current` and `step`: only at every
// multiple of `step` and at `last`.
void ShowProgress(session::Session& session, const std::string& text1, const std::string& text2 = {},
                  const std::string& text3 = {}, std::optional<std::int32_t> current = {},
                  std::optional<std::int32_t> step = {}, std::optional<std::int32_t> last = {});

// Ranks of values(1..n), the greatest 1, equal ones consecutive by position. Returns 0.
std::int32_t RankDescending(session::Session& session, std::int32_t n, model::OneBased<std::int32_t>& ranks,
                            const model::OneBased<double>& values, bool show_progress);

using model::Combinations;

}  // namespace ordvane::reports
