// Small helpers of the reports: table values, progress, cancelling, ranks.
#include "reports/utils.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "host/environment.h"
#include "host/error.h"
#include "model/ranking.h"

namespace ordvane::reports {
namespace {

constexpr double kDivisorNone = 1.0;

constexpr double kUnmeasuredWidth = 400.0;
constexpr double kNarrowestChart = 376.0;
constexpr double kWidestChart = 476.0;

std::int32_t base_zero_flag(model::OrdvaneDivisorType kind) {
  switch (kind) {
    case model::OrdvaneDivisorInput:
      return model::OrdvaneInvalidTableValueInputBaseZero;
    case model::OrdvaneDivisorOutput:
      return model::OrdvaneInvalidTableValueOutputBaseZero;
    case model::OrdvaneDivisorInputOrOutput:
      break;
  }
  return model::OrdvaneInvalidTableValueInputOutputBaseZero;
}

std::int32_t base_invalid_flag(model::OrdvaneDivisorType kind) {
  switch (kind) {
    case model::OrdvaneDivisorInput:
      return model::OrdvaneInvalidTableValueInputBaseInvalid;
    case model::OrdvaneDivisorOutput:
      return model::OrdvaneInvalidTableValueOutputBaseInvalid;
    case model::OrdvaneDivisorInputOrOutput:
      break;
  }
  return model::OrdvaneInvalidTableValueInputOutputBaseInvalid;
}

// A value that cannot be tested counts as an error value.
bool is_error(const model::NumberRules& rules, double value) {
  bool error = true;
  host::ignoring_errors([&] { error = rules.is_error(value); });
  return error;
}

// A change is divided by the size of the base value, so a missing base value may come without its sign.
bool is_missing_base(double divisor) {
  return std::fabs(divisor) == std::fabs(host::kMissingNumber);
}

// The number that a table shows, or the flag that says why there is none.
struct TableNumber {
  double number = 0;
  std::int32_t flag = model::OrdvaneInvalidTableValueNone;
};

TableNumber table_number(const model::NumberRules& rules, double value, double divisor,
                         model::OrdvaneDivisorType kind) {
  if (value == host::kMissingNumber) return {.flag = base_zero_flag(kind)};
  if (is_error(rules, value)) return {.flag = model::OrdvaneInvalidTableValueError};
  if (divisor != kDivisorNone) {
    if (is_error(rules, divisor) || is_missing_base(divisor)) return {.flag = base_invalid_flag(kind)};
    if (divisor == 0.0) return {.flag = base_zero_flag(kind)};
    value /= divisor;
  }
  // No cell holds what is not finite.
  if (!std::isfinite(value)) return {.flag = model::OrdvaneInvalidTableValueError};
  return {.number = value};
}

std::string joined(std::initializer_list<std::string> texts) {
  std::string result;
  for (const std::string& text : texts)
    if (!text.empty()) result += (result.empty() ? "" : " ") + text;
  return result;
}

}  // namespace

std::string NameWithAddress(const std::string& name, const std::string& address) {
  return (name.empty() ? "(" : name + " (") + address + ")";
}

void FormatTableValue(const model::NumberRules& rules, host::CellBlock& block, std::int32_t row,
                      std::int32_t column, double value, std::int32_t& flags, double divisor,
                      model::OrdvaneDivisorType divisor_kind) {
  const TableNumber shown = table_number(rules, value, divisor, divisor_kind);
  flags |= shown.flag;
  if (shown.flag == model::OrdvaneInvalidTableValueNone)
    block.set_number(row, column, shown.number);
  else
    block.set_text(row, column, host::kNotShown);
}

host::CellValue FormatTableValue(const model::NumberRules& rules, double value, std::int32_t& flags,
                                 double divisor, model::OrdvaneDivisorType divisor_kind) {
  const TableNumber shown = table_number(rules, value, divisor, divisor_kind);
  flags |= shown.flag;
  if (shown.flag == model::OrdvaneInvalidTableValueNone) return shown.number;
  return host::kNotShown;
}

void CheckUserCancel(session::Session& session) {
  session.check_cancel();
}

double TableWidthForChart(layout::ReportTable& table) {
  double width = kUnmeasuredWidth;
  host::ignoring_errors([&] { table.Settle(); });
  host::ignoring_errors([&] {
    const auto last = table.Body(1, table.columns());
    width = last->left() + last->width() - table.ColumnHeaderRange(0)->left();
  });
  return std::clamp(width, kNarrowestChart, kWidestChart);
}

void ShowProgress(session::Session& session, const std::string& text1, const std::string& text2,
                  const std::string& text3, std::optional<std::int32_t> current,
                  std::optional<std::int32_t> step, std::optional<std::int32_t> last) {
  const bool throttled = current && step && *step != 0;
  if (throttled && *current % *step != 0 && current != last) return;
  session.environment->show_progress(text1, text2, text3);
  session.application().set_status_bar(joined({text1, text2, text3}));
  session.environment->pump_messages();
}

std::int32_t RankDescending(session::Session& session, std::int32_t n, model::OneBased<std::int32_t>& ranks,
                            const model::OneBased<double>& values, bool show_progress) {
  ranks.clear();
  if (n < 1) return 0;
  if (n > values.size()) host::raise_subscript_out_of_range("values to rank");
  ranks = model::rank_descending(std::span(values.data(), static_cast<std::size_t>(n)));
  if (!show_progress) return 0;
  std::int64_t shown = -1;
  for (std::int32_t i = 1; i <= n; ++i) {
    const std::int64_t percent = std::int64_t{i} * 100 / n;
    if (percent == shown) continue;
    shown = percent;
    ShowProgress(session, session.text(text_id::kProgressRanking, percent));
  }
  return 0;
}

}  // namespace ordvane::reports
