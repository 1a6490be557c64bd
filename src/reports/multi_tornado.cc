// Multi-way tornado report: the groups in the order of their swings, and the chart over their table.
#include "reports/multi_tornado.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/error.h"
#include "layout/text_estimate.h"
#include "model/step_facts.h"
#include "reports/chart_helpers.h"
#include "reports/graph_sheet.h"
#include "reports/report_columns.h"
#include "reports/step_remarks.h"
#include "reports/table_parts.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

// String ids.
constexpr SheetTexts kSheetTexts = {.sheet_name = 313, .title = 311, .run_line = 316};
constexpr TornadoTexts kChartTexts = {
    .chart_title = 312, .chart_subtitle = 303, .change_axis = 308, .value_axis = 314};
constexpr std::int16_t kHighGroup = 301;
constexpr std::int16_t kLowGroup = 302;
constexpr std::int16_t kGroup = 304;
constexpr std::int16_t kNotes = 305;
constexpr std::int16_t kNoBars = 306;
constexpr std::int16_t kVariedTogether = 307;
constexpr std::int16_t kSwing = 310;
constexpr std::int16_t kTableCaption = 315;
constexpr std::int16_t kNothingMoves = 332;
constexpr std::int16_t kInvalidNote = 600;
constexpr std::int16_t kBaseZeroNote = 608;
constexpr std::int16_t kBaseInvalidNote = 730;
constexpr std::int16_t kNoUsableBase = 1007;
constexpr std::int16_t kOutputBaseZero = 1026;
constexpr std::int16_t kNoMultiTornado = 1041;

// Columns of the table, after those that say where the inputs are (one a step of the range mode).
enum Column : std::int32_t { kRank = 1, kName, kLow, kLowChange, kHigh, kHighChange, kColumns = kHighChange };
constexpr std::int32_t kHeaderRows = 3;
constexpr std::int32_t kMostBars = 32767;  // counted in 16 bits by the report layer

// Each text once, in the order of the members.
std::string distinct(const std::vector<std::string>& texts, const std::string& separator) {
  std::string joined;
  for (auto text = texts.begin(); text != texts.end(); ++text)
    if (std::find(texts.begin(), text, *text) == text) joined += (joined.empty() ? "" : separator) + *text;
  return joined;
}

// Where this many groups of the highest ranks go: element r is the group of rank r.
model::OneBased<std::int32_t> groups_by_rank(const model::GroupEffects& effects) {
  model::OneBased<std::int32_t> groups(effects.size());
  for (std::int32_t g = 1; g <= effects.size(); ++g) groups(effects(g).rank) = g;
  return groups;
}

class MultiTornado {
 public:
  MultiTornado(const Context& context, const model::DralInputOutput& output, const model::MultiWayRun& run,
               const model::GroupEffects& effects, const MultiTornadoLimits& limits,
               const TornadoStyle& style)
      : context_(context),
        session_(context.session),
        output_(output),
        run_(run),
        effects_(effects),
        by_rank_(groups_by_rank(effects)),
        bars_(count_bars(limits)),
        chart_(session_, output, context.in_percent(), context.range_mode, kChartTexts, style),
        remarks_(session_, Varied::kGroups),
        rows_(std::max(bars_, 0), column(kColumns)),
        facts_(std::max(bars_, 0)) {}

  void write(layout::ReportSheet& sheet) {
    if (bars_ <= 0) {
      sheet.NextCell()->set_value(session_.text(kNoBars));
      return;
    }
    fill_rows();
    chart_.choose_bars(rows_, {column(kName), column(low()), column(high())}, facts_, remarks_);
    if (const auto reason = reason_for_no_chart()) {
      CreateMessageChart(sheet, session_.text(kNoMultiTornado) + "\r\n" + session_.text(*reason));
      sheet.SetSheetOption(1);
      remarks_.write(sheet);
      write_table(sheet);
    } else {
      const auto chart = sheet.AddChart(kTornadoChart, kChartWidth,
                                        sheet.ChartHeightForBars(static_cast<std::int16_t>(chart_.bars())));
      sheet.SetSheetOption(1);
      remarks_.write(sheet);
      const auto table = write_table(sheet);
      host::ignoring_errors([&] { chart->Container()->set_width(TableWidthForChart(*table)); });
      chart_.draw(*chart, *table);
      SetWatermark(session_, *chart);
    }
    sheet.SheetWorksheet()->range("a1")->select();
  }

 private:
  std::int32_t column(Column after_places) const {
    return static_cast<std::int32_t>(context_.range_mode) + after_places;
  }
  Column low() const { return context_.in_percent() ? kLowChange : kLow; }
  Column high() const { return context_.in_percent() ? kHighChange : kHigh; }
  bool has_base() const { return output_.BaseValue() != 0 && output_.rules().is_usable(output_.BaseValue()); }

  std::int32_t count_bars(const MultiTornadoLimits& limits) const {
    std::int32_t passing = by_rank_.size();
    if (has_base()) {
      passing = 0;
      while (passing < by_rank_.size() &&
             std::fabs(effects_(by_rank_(passing + 1)).bar_width) >= limits.inputs_change_threshold)
        ++passing;
    }
    return std::min({by_rank_.size(), limits.max_inputs_per_graph, passing, kMostBars});
  }

  std::optional<std::int16_t> reason_for_no_chart() const {
    if (chart_.bars() == 0) return kNothingMoves;
    if (context_.in_percent() && !has_base())
      return output_.BaseValue() == 0 ? kOutputBaseZero : kNoUsableBase;
    if (!chart_.has_bars()) return kInvalidNote;
    return std::nullopt;
  }

  // ---- Rows ----

  void fill_rows() {
    for (std::int32_t rank = 1; rank <= by_rank_.size(); ++rank) {
      const model::MultiGroup& group = run_.groups(by_rank_(rank));
      const model::GroupEffect& effect = effects_(by_rank_(rank));
      model::StepFacts facts = facts_of(group, effect);
      const bool is_shown = rank <= bars_;
      if (is_shown) {
        fill_row(rank, group, effect);
        facts_(rank) = facts;
        CheckUserCancel(session_);
      }
      // A failure is worth a word even where it is what keeps the group off the sheet.
      facts.leaves_out_base = facts.leaves_out_base && is_shown;
      if (facts.failed > 0 || facts.leaves_out_base) remarks_.add(name_of(group), facts);
    }
  }

  // A group's combinations, as the steps of an input.
  model::StepFacts facts_of(const model::MultiGroup& group, const model::GroupEffect& effect) const {
    const model::NumberRules& rules = output_.rules();
    const auto apart = [&](double a, double b) {
      return rules.is_usable(a) && rules.is_usable(b) && rules.difference(a, b) != 0;
    };
    return {.steps = group.combinations,
            .failed = effect.failed,
            .moves = apart(effect.highest, effect.lowest) || apart(effect.lowest, output_.BaseValue()),
            .compared = effect.lowest_at > 0 &&
                        (group.combinations - effect.failed > 1 || rules.is_usable(output_.BaseValue())),
            .leaves_out_base = effect.leaves_out_base};
  }

  std::string name_of(const model::MultiGroup& group) const {
    std::string name;
    for (const std::int32_t member : group.members) {
      if (!name.empty()) name += layout::kBetweenMembers;
      name += ItemLabel(context_.inputs(member));
    }
    return name;
  }

  void fill_row(std::int32_t row, const model::MultiGroup& group, const model::GroupEffect& effect) {
    std::vector<std::string> books, sheets;
    for (const std::int32_t member : group.members) {
      const model::DralInputOutput& input = context_.inputs(member);
      books.push_back(input.bookName);
      sheets.push_back(input.sheetName);
    }
    const std::string name = name_of(group);
    const std::string separator = session_.environment->numbers().list_separator();
    if (context_.range_mode == model::OrdvaneRangeBookMode)
      rows_.set_text(row, 1, distinct(books, separator));
    if (context_.range_mode != model::OrdvaneRangeCellMode)
      rows_.set_text(row, context_.range_mode, distinct(sheets, separator));
    rows_.set_number(row, column(kRank), row);
    rows_.set_text(row, column(kName), name);
    fill_value(row, kLow, effect.lowest);
    fill_value(row, kLowChange, effect.lowest_change);
    fill_value(row, kHigh, effect.highest);
    fill_value(row, kHighChange, effect.highest_change);
    session_.log.line("GenerateMultiTornadoReport group: " + name);
  }

  void fill_value(std::int32_t row, Column place, double value) {
    std::int32_t flags = 0;
    FormatTableValue(output_.rules(), rows_, row, column(place), value, flags, 1.0,
                     model::OrdvaneDivisorOutput);
    if (flags == 0) return;
    const bool change = place == kLowChange || place == kHighChange;
    const bool has_results = rows_.at(row, column(kLow)).kind == host::CellKind::kNumber;
    notes_.add(change && has_results ? note_on_missing_change() : kInvalidNote, row, column(place));
  }

  std::int16_t note_on_missing_change() const {
    return output_.BaseValue() == 0 ? kBaseZeroNote : kBaseInvalidNote;
  }

  // ---- Table ----

  std::shared_ptr<layout::ReportTable> write_table(layout::ReportSheet& sheet) {
    auto table = AddTable(sheet, bars_, kHeaderRows,
                          {session_.text(kTableCaption, std::to_string(bars_)),
                           session_.text(kVariedTogether) + session_.text(kSwing)},
                          columns());
    table->WrapNames();
    table->PutBody(1, rows_);
    session_.log.line("GenerateMultiTornadoReport t_InputsCount: " + session::log_text(bars_) +
                      "    numberFormat: " + ValueFormat(output_));
    for (std::int32_t row = 1; row <= bars_; ++row)
      if (const std::string note = StepNote(session_, facts_(row), Varied::kGroups); !note.empty())
        table->AddTableNote(row, column(kName), session_.CommonString(12), note);
    std::string notes;
    for (const std::string& note : notes_.write(session_, *table)) notes += (notes.empty() ? "" : " ") + note;
    if (!notes.empty()) sheet.NextCell()->set_value(session_.text(kNotes, notes));
    return table;
  }

  std::vector<layout::Column> columns() const {
    const SharedColumns shared(context_);
    std::vector<layout::Column> columns = shared.places();
    layout::append(columns, ruled({shared.rank(), layout::name_column(session_.text(kGroup))}));
    std::vector<layout::Column> ends;
    for (const std::int16_t end : {kLowGroup, kHighGroup})
      layout::append(ends, ruled(layout::grouped(session_.text(end), 2,
                                                 {shared.value(ValueFormat(output_)), shared.fraction()})));
    layout::append(columns, shared.of_outputs(1, ends));
    return columns;
  }

  const Context& context_;
  session::Session& session_;
  const model::DralInputOutput& output_;
  const model::MultiWayRun& run_;
  const model::GroupEffects& effects_;
  model::OneBased<std::int32_t> by_rank_;  // the group of each rank
  std::int32_t bars_;
  TornadoChart chart_;
  StepRemarks remarks_;
  FirstNotes notes_;
  host::CellBlock rows_;
  model::OneBased<model::StepFacts> facts_;  // by row
};

}  // namespace

void GenerateMultiTornadoReport(const Context& context, std::int32_t on, const model::MultiWayRun& run,
                                const model::GroupEffects& effects, const MultiTornadoLimits& limits,
                                const TornadoStyle& style) {
  context.session.log.line("ReportMultiTornado.GenerateMultiTornadoReport");
  const model::DralInputOutput& output = context.outputs(on);
  const auto sheet = StartOutputSheet(context, output.bookName, output, kSheetTexts);
  MultiTornado(context, output, run, effects, limits, style).write(*sheet);
  sheet->FinishSheet();
}

}  // namespace ordvane::reports
