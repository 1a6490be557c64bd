#include "exchange/comparison_report.h"

#include <algorithm>
#include <utility>

#include "embedded/cell_text.h"
#include "embedded/embedded_environment.h"
#include "embedded/report_saving.h"
#include "environment/string_table.h"
#include "layout/pair_chart.h"
#include "layout/report_table.h"
#include "layout/report_workbook.h"
#include "model/naming.h"
#include "office/office.h"
#include "reports/graph_sheet.h"
#include "reports/report_columns.h"
#include "reports/table_values.h"

namespace ordvane::exchange {
namespace {

using layout::Column;

constexpr std::int32_t kHeaderRows = 1;
constexpr double kHeightWithoutPairs = 120, kHeightOfPair = 24, kChartWidth = 476;

enum BaseColumn : std::int32_t {
  kItem = 1,
  kCell,
  kStatus,
  kBefore,
  kNow,
  kChange,
  kShare,
  kBaseColumns = kShare
};
enum SwingColumn : std::int32_t {
  kRank = 1,
  kRankBefore,
  kInput,
  kSwingBefore,
  kSwing,
  kSwingChange,
  kSwingShare,
  kBreakEvenBefore,
  kBreakEven,
  kSwingColumns = kBreakEven
};

class ComparisonReport {
 public:
  ComparisonReport(session::Session& session, layout::ReportWorkbook& workbook, const Comparison& comparison)
      : session_(session), workbook_(workbook), comparison_(comparison) {}

  void make() {
    make_bases();
    for (const ComparedOutput& output : comparison_.outputs)
      if (!output.inputs.empty() && !is_as_before(output)) make_swings(output);
    workbook_.ReportsComplete();
  }

 private:
  std::string text(session::TextId<0> id) const { return session_.text(id); }

  std::shared_ptr<layout::ReportSheet> start(const std::string& name,
                                             std::vector<layout::TitleLine> more = {}) {
    const auto sheet = workbook_.AddSheet(name);
    std::vector<layout::TitleLine> lines{
        {text(text_id::kComparisonBefore), comparison_.before->file.filename().string()},
        {text(text_id::kComparisonNow), comparison_.now->file.filename().string()}};
    std::move(more.begin(), more.end(), std::back_inserter(lines));
    sheet->AddTitleBlock(text(text_id::kComparisonTitle), lines);
    sheet->SetSheetOption(1);
    return sheet;
  }

  static Column percent(std::string caption) {
    Column column = layout::figure_column(std::move(caption));
    column.number_format = reports::PercentFormat();
    return column;
  }

  // Where inputs bring an output to its target: "Output at 0 (before)".
  Column reached(const ComparedOutput& output, session::TextId<0> when) const {
    const embedded::CellText cell(output.item.item());
    return layout::figure_column(
        session_.text(text_id::kAnswersOutputAt, cell.text(target_of(comparison_, output))) + " (" +
        text(when) + ")");
  }
  // One as a number, several as a text.
  void put(host::CellBlock& block, std::int32_t row, std::int32_t column, const ComparedInput& input,
           const std::vector<double>& values) const {
    if (values.size() == 1) return block.set_number(row, column, values.front());
    const embedded::CellText cell(comparison_.inputs[input.input].item.item());
    std::string all;
    for (const double value : values) all += (all.empty() ? "" : " / ") + cell.text(value);
    if (!all.empty()) block.set_text(row, column, all);
  }
  static void put(host::CellBlock& block, std::int32_t row, std::int32_t column,
                  const std::optional<double>& value) {
    if (value) block.set_number(row, column, *value);
  }

  // Items of one kind with their base values.
  template <class Item>
  void add_bases(layout::ReportSheet& sheet, const std::string& caption, const std::vector<Item>& items) {
    const auto rows = static_cast<std::int32_t>(items.size());
    const auto table = reports::AddTable(
        sheet, rows, kHeaderRows, {.caption = caption, .subcaption = ""},
        {layout::name_column(text(text_id::kHeadingName)), layout::name_column(text(text_id::kHeadingCell)),
         layout::name_column(text(text_id::kComparisonStatus)),
         layout::figure_column(text(text_id::kComparisonBefore)),
         layout::figure_column(text(text_id::kComparisonNow)),
         layout::figure_column(text(text_id::kHeadingChange)),
         percent(text(text_id::kHeadingChangePercent))});
    if (rows == 0) return;
    table->WrapNames();
    host::CellBlock block(rows, kBaseColumns);
    std::int32_t row = 0;
    for (const Item& of : items) {
      const runfile::Item& item = of.item.item();
      block.set_text(++row, kItem, of.item.name);
      block.set_text(row, kCell, item.sheet + "!" + item.cell);
      block.set_text(row, kStatus, status_text(session_, of.item));
      put(block, row, kBefore, of.base.before);
      put(block, row, kNow, of.base.now);
      put(block, row, kChange, of.base.change());
      put(block, row, kShare, of.base.share());
    }
    table->PutBody(1, block);
    row = 0;
    for (const Item& of : items)
      table->Body(++row, kBefore, 1, of.item.item().date ? 2 : 3)
          ->set_number_format(of.item.item().number_format);
  }

  void make_bases() {
    const auto sheet = start(text(text_id::kComparisonSheetName));
    add_bases(*sheet, text(text_id::kComparisonOutputs), comparison_.outputs);
    add_bases(*sheet, text(text_id::kComparisonInputs), comparison_.inputs);
    sheet->FinishSheet();
  }

  void make_swings(const ComparedOutput& output) {
    const runfile::Item& item = output.item.item();
    const auto sheet =
        start(model::clean_sheet_name(session_.text(text_id::kComparisonSwingsSheetName, item.cell)),
              {{text(text_id::kLabelOutput), output.item.name}});
    const std::size_t bars = std::min(output.inputs.size(), kMostPairs);
    const auto chart =
        sheet->AddPairChart(kChartWidth, kHeightWithoutPairs + kHeightOfPair * static_cast<double>(bars));
    const std::string caption = session_.text(text_id::kComparisonSwings, output.item.name);
    const auto table = add_swings(*sheet, output, caption);
    reports::FitWidth(*chart, reports::TableWidthForChart(*table));
    chart->SetTitle(caption);
    chart->Draw(*table, pairs_of(output, bars));
    chart->FinishChart();
    sheet->FinishSheet();
  }

  std::shared_ptr<layout::ReportTable> add_swings(layout::ReportSheet& sheet, const ComparedOutput& output,
                                                  const std::string& caption) {
    const auto rows = static_cast<std::int32_t>(output.inputs.size());
    const auto centered = [](std::string heading) {
      return layout::figure_column(std::move(heading), host::HAlign::kCenter);
    };
    const auto table = reports::AddTable(
        sheet, rows, kHeaderRows, {.caption = caption, .subcaption = ""},
        {centered(text(text_id::kHeadingRank)), centered(text(text_id::kComparisonRankBefore)),
         layout::name_column(text(text_id::kHeadingInput)),
         layout::figure_column(text(text_id::kComparisonBefore)),
         layout::figure_column(text(text_id::kComparisonNow)),
         layout::figure_column(text(text_id::kHeadingChange)), percent(text(text_id::kHeadingChangePercent)),
         reached(output, text_id::kComparisonBefore), reached(output, text_id::kComparisonNow)});
    table->WrapNames();
    host::CellBlock block(rows, kSwingColumns);
    std::int32_t row = 0;
    for (const ComparedInput& input : output.inputs) {
      ++row;
      if (input.rank) block.set_number(row, kRank, *input.rank);
      if (input.rank_before) block.set_number(row, kRankBefore, *input.rank_before);
      block.set_text(row, kInput, comparison_.inputs[input.input].item.name);
      put(block, row, kSwingBefore, input.swing.before);
      put(block, row, kSwing, input.swing.now);
      put(block, row, kSwingChange, input.swing.change());
      put(block, row, kSwingShare, input.swing.share());
      put(block, row, kBreakEvenBefore, input, input.break_even_before);
      put(block, row, kBreakEven, input, input.break_even);
    }
    table->PutBody(1, block);
    row = 0;
    for (const ComparedInput& input : output.inputs)
      table->Body(++row, kBreakEvenBefore, 1, 2)
          ->set_number_format(comparison_.inputs[input.input].item.item().number_format);
    // Between dates lie days.
    const runfile::Item& item = output.item.item();
    if (!item.date) table->Body(1, kSwingBefore, rows, 3)->set_number_format(item.number_format);
    return table;
  }

  layout::Pairs pairs_of(const ComparedOutput& output, std::size_t bars) const {
    layout::Pairs pairs{.names = {},
                        .name = kInput,
                        .first = kSwingBefore,
                        .second = kSwing,
                        .first_caption = text(text_id::kComparisonBefore),
                        .second_caption = text(text_id::kComparisonNow),
                        .number_format = output.item.item().date ? "" : output.item.item().number_format};
    for (std::size_t i = 0; i < bars; ++i) {
      const ComparedInput& input = output.inputs[i];
      pairs.names.push_back(comparison_.inputs[input.input].item.name);
      for (const std::optional<double>& swing : {input.swing.before, input.swing.now})
        pairs.greatest = std::max(pairs.greatest, swing.value_or(0));
    }
    return pairs;
  }

  session::Session& session_;
  layout::ReportWorkbook& workbook_;
  const Comparison& comparison_;
};

}  // namespace

std::string status_text(const session::Session& session, const ItemPair& pair) {
  switch (pair.fate) {
    case Fate::kSame:
      return {};
    case Fate::kRenamed:
      return session.text(text_id::kComparisonRenamed, pair.name_before);
    case Fate::kRelocated:
      return session.text(text_id::kComparisonRelocated, pair.before->sheet + "!" + pair.before->cell);
    case Fate::kAdded:
      return session.text(text_id::kComparisonAdded);
    case Fate::kGone:
      return session.text(text_id::kComparisonGone);
  }
  return {};
}

void write_comparison(const Comparison& comparison, const std::filesystem::path& workbook,
                      const embedded::ReportOptions& options) {
  const environment::Language& language = environment::language(options.language);
  const auto environment = std::make_shared<embedded::EmbeddedEnvironment>(options);
  const auto application = office::make_application();
  application->set_number_symbols({std::string(1, language.decimal_separator), language.group_separator});
  session::Session session;
  session.environment = environment;
  session.g_XLApp = application;
  session.string_table = environment::make_string_table(language);
  layout::ReportWorkbook reports(session, session.text(text_id::kComparisonTitle), nullptr, nullptr, 0);
  ComparisonReport(session, reports, comparison).make();
  const auto book = application->model(*reports.workbook());
  for (const auto& sheet : book->sheets) sheet->is_report = true;
  xlsx::SaveOptions saving = embedded::saving_options(options, *environment);
  saving.replace = options.overwrite;
  xlsx::save(*book, workbook, saving);
}

}  // namespace ordvane::exchange
