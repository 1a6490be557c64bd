// Multi-way tornado report: the groups in the order of their swings, and the chart over their table.
#include "reports/multi_tornado.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "layout/text_estimate.h"
#include "model/step_facts.h"
#include "reports/answers.h"
#include "reports/bar_report.h"
#include "reports/item_texts.h"
#include "reports/progress.h"

namespace ordvane::reports {
namespace {

constexpr BarReportTexts kTexts = {.sheet = {.sheet_name = text_id::kMultiTornadoSheetName,
                                             .title = text_id::kMultiTornadoTitle,
                                             .run_line = text_id::kMultiTornadoRun},
                                   .chart = {.chart_title = text_id::kMultiTornadoChartTitle,
                                             .chart_subtitle = text_id::kMultiTornadoChartSubtitle,
                                             .change_axis = text_id::kMultiTornadoChangeAxis,
                                             .value_axis = text_id::kMultiTornadoValueAxis},
                                   .no_bars = text_id::kMultiTornadoNoBars,
                                   .no_chart = text_id::kMessageNoMultiTornado,
                                   .nothing_moves = text_id::kMultiTornadoNothingMoves,
                                   .invalid = text_id::kNoteNotShown,
                                   .base_zero = text_id::kNoteOutputBaseZero,
                                   .base_invalid = text_id::kTornadoOutputBaseNoNumber};

// Columns of the table, after those that say where the inputs are (one a step of the range mode).
enum Column : std::int32_t { kRank = 1, kName, kLow, kLowChange, kHigh, kHighChange, kColumns = kHighChange };
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

class MultiTornado final : public BarReport {
 public:
  MultiTornado(const Context& context, std::int32_t output, const model::MultiWayRun& run,
               const model::GroupEffects& effects, const TornadoStyle& style)
      : BarReport(context, context.outputs(output), "MultiTornado", kTexts, style, Varied::kGroups),
        run_(run),
        effects_(effects),
        by_rank_(groups_by_rank(effects)) {
    set_rows(count_bars(), {.name = column(kName),
                            .low = column(kLow),
                            .low_change = column(kLowChange),
                            .high = column(kHigh),
                            .high_change = column(kHighChange),
                            .count = column(kColumns)});
  }

 private:
  std::int32_t column(Column after_places) const {
    return static_cast<std::int32_t>(context_.range_mode) + after_places;
  }

  std::int32_t count_bars() const {
    std::int32_t passing = by_rank_.size();
    if (has_base()) {
      passing = 0;
      while (passing < by_rank_.size() &&
             std::fabs(effects_(by_rank_(passing + 1)).bar_width) >= context_.settings.threshold)
        ++passing;
    }
    return std::min({by_rank_.size(), context_.settings.max_inputs, passing, kMostBars});
  }

  void fill_rows() override {
    for (std::int32_t rank = 1; rank <= by_rank_.size(); ++rank) {
      const model::MultiGroup& group = run_.groups(by_rank_(rank));
      const model::GroupEffect& effect = effects_(by_rank_(rank));
      const bool is_shown = rank <= bars_;
      if (is_shown) {
        fill_row(rank, group, effect);
        CheckUserCancel(session_);
      }
      // There may be many groups, and a name is made of those of all members.
      if (is_shown || effect.failed > 0)
        add_facts(is_shown ? rank : 0, name_of(group), facts_of(group, effect));
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

  // Its members, each as `label` says.
  template <class Label>
  std::string joined(const model::MultiGroup& group, const Label& label) const {
    std::string name;
    for (const std::int32_t member : group.members) {
      if (!name.empty()) name += layout::kBetweenMembers;
      name += label(context_.inputs(member));
    }
    return name;
  }
  std::string name_of(const model::MultiGroup& group) const { return joined(group, ItemLabel); }

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
    put_ends(row, {.low = effect.lowest,
                   .low_change = effect.lowest_change,
                   .high = effect.highest,
                   .high_change = effect.highest_change});
    session_.log.line("GenerateMultiTornadoReport group: " + name);
  }

  std::string description() const override {
    std::vector<std::string> moving;
    const auto name = [&](const model::DralInputOutput& item) {
      return item.NameOrQualifiedCellAddressName(context_.range_mode);
    };
    for (std::int32_t rank = 1; rank <= by_rank_.size() && moving.size() < kMostNamed; ++rank) {
      const model::MultiGroup& group = run_.groups(by_rank_(rank));
      const model::GroupEffect& effect = effects_(by_rank_(rank));
      if (facts_of(group, effect).moves)
        moving.push_back(GroupText(session_, joined(group, name), output_, effect.lowest, effect.highest));
    }
    return DependsSentence(session_, name(output_), moving);
  }

  void write_lines(layout::ReportSheet& sheet) const override { sheet.AddLine(description()); }

  TableCaptions captions() const override {
    return {session_.text(text_id::kMultiTornadoCaption, std::to_string(bars_)),
            session_.text(text_id::kMultiTornadoVariedTogether) + session_.text(text_id::kMultiTornadoSwing)};
  }

  std::vector<layout::Column> columns() const override {
    const SharedColumns shared(context_);
    std::vector<layout::Column> columns = shared.places();
    layout::append(columns, ruled({shared.rank(),
                                   layout::name_column(session_.text(text_id::kMultiTornadoInputOrGroup))}));
    std::vector<layout::Column> ends;
    for (const session::TextId<0> end : {text_id::kMultiTornadoLowEnd, text_id::kMultiTornadoHighEnd})
      layout::append(ends, ruled(layout::grouped(session_.text(end), 2,
                                                 {shared.value(ValueFormat(output_)), shared.fraction()})));
    layout::append(columns, shared.of_outputs(1, ends));
    return columns;
  }

  void finish(layout::ReportSheet& sheet, layout::ReportTable& /*table*/,
              const std::vector<std::string>& notes) override {
    std::string all;
    for (const std::string& note : notes) all += (all.empty() ? "" : " ") + note;
    if (!all.empty()) sheet.NextCell()->set_value(session_.text(text_id::kMultiTornadoNotes, all));
  }

  const model::MultiWayRun& run_;
  const model::GroupEffects& effects_;
  model::OneBased<std::int32_t> by_rank_;  // the group of each rank
};

}  // namespace

void GenerateMultiTornadoReport(const Context& context, std::int32_t output, const model::MultiWayRun& run,
                                const model::GroupEffects& effects, const TornadoStyle& style) {
  MultiTornado(context, output, run, effects, style).make();
}

}  // namespace ordvane::reports
