// Tornado report: the rows are ranked and formatted first, then the chart takes its place over the table, and
// its bars are drawn from the table's columns.
#include "graphs/tornado.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

#include "graphs/chart_helpers.h"
#include "graphs/graph_sheet.h"
#include "host/error.h"
#include "tables/utils.h"

namespace ordvane::graphs {
namespace {

using host::HAlign;

// String ids.
constexpr SheetTexts kSheetTexts = {.sheet_name = 712, .title = 711, .run_line = 716};
constexpr std::int16_t kInvalidNote = 700;
constexpr std::int16_t kChartSubtitle = 701;
constexpr std::int16_t kBaseGroup = 702;
constexpr std::int16_t kHighGroup = 703;
constexpr std::int16_t kLowGroup = 704;
constexpr std::int16_t kNoBars = 706;
constexpr std::int16_t kInputGroup = 707;
constexpr std::int16_t kBaseZeroNote = 708;
constexpr std::int16_t kChangeAxis = 709;
constexpr std::int16_t kTableSubcaption = 710;
constexpr std::int16_t kChartTitle = 713;
constexpr std::int16_t kValueAxis = 714;
constexpr std::int16_t kTableCaption = 715;
constexpr std::int16_t kNoUsableBase = 1007;
constexpr std::int16_t kOutputBaseZero = 1026;
constexpr std::int16_t kNoTornado = 1040;

// Columns of the table, after those that say where an input is (one a step of the range mode).
enum Column : std::int32_t {
  kRank = 1,
  kName,
  kCell,
  kLow,
  kLowChange,
  kLowInput,
  kHigh,
  kHighChange,
  kHighInput,
  kInputBase,
  kColumns = kInputBase
};
constexpr std::int32_t kHeaderRows = 3;

// Whole days since the spreadsheet's day 0, which counts a 29 February 1900 that never was.
std::optional<std::chrono::year_month_day> date_of(double serial) {
  constexpr double kLastSerial = 2958465;  // 31 December 9999
  constexpr double kFirstOfMarch1900 = 61;
  if (!(serial >= 1 && serial <= kLastSerial)) return std::nullopt;
  const std::chrono::sys_days day_zero =
      std::chrono::year(1899) / 12 / (serial < kFirstOfMarch1900 ? 31 : 30);
  return day_zero + std::chrono::days(static_cast<int>(serial));
}

std::string padded(unsigned number, std::size_t width) {
  std::string digits = std::to_string(number);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

// A date by a format of days, months and years in figures.
std::string date_text(const std::chrono::year_month_day& date, const std::string& format) {
  std::string text;
  for (std::size_t at = 0; at < format.size();) {
    const std::size_t end = std::min(format.find_first_not_of(format[at], at), format.size());
    const std::size_t width = end - at;
    const auto year = static_cast<unsigned>(static_cast<int>(date.year()));
    switch (format[at]) {
      case 'd':
        text += padded(static_cast<unsigned>(date.day()), width);
        break;
      case 'm':
        text += padded(static_cast<unsigned>(date.month()), width);
        break;
      case 'y':
        text += padded(width > 2 ? year : year % 100, width);
        break;
      default:
        text += format.substr(at, width);
    }
    at = end;
  }
  return text;
}

// Six significant digits, and always two decimals.
double rounded_for_reading(double value) {
  constexpr int kDigits = 6;
  constexpr int kDecimals = 2;
  if (value == 0) return 0;
  const int whole_digits = static_cast<int>(std::floor(std::log10(std::fabs(value)))) + 1;
  const double unit = std::pow(10.0, std::max(kDigits - whole_digits, kDecimals));
  const double rounded = std::nearbyint(value * unit) / unit;
  return std::isfinite(rounded) ? rounded : value;
}

bool same_bits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

struct TornadoJob {
  const model::DralInputOutput& output;
  std::int32_t output_index;
  const model::Records& inputs;
  model::OrdvaneRangeMode range_mode;
  bool percent;
  std::int32_t bars;
  double base_value;
  const std::string& base_label;
  host::Color bar_color;
  host::Color baseline_color;
};

class TornadoReport {
 public:
  TornadoReport(session::Session& session, const TornadoJob& job)
      : session_(session), job_(job), rows_(job.bars, column(kColumns)), input_formats_(job.bars) {}

  void write(const std::shared_ptr<tables::ReportSheet>& sheet) {
    fill_rows();
    read_bars();
    if (const auto reason = reason_for_no_chart()) {
      CreateMessageChart(*sheet, session_.text(kNoTornado) + "\r\n" + session_.text(*reason));
      sheet->SetSheetOption(1);
      write_table(*sheet);
    } else {
      const auto chart = sheet->AddChart(kTornadoChart, kChartWidth,
                                         sheet->ChartHeightForBars(static_cast<std::int16_t>(job_.bars)));
      sheet->SetSheetOption(1);
      draw(*chart, *write_table(*sheet));
      SetWatermark(session_, *chart);
    }
    sheet->SheetWorksheet()->range("a1")->select();
  }

 private:
  std::int32_t column(Column after_places) const {
    return static_cast<std::int32_t>(job_.range_mode) + after_places;
  }
  Column low() const { return job_.percent ? kLowChange : kLow; }
  Column high() const { return job_.percent ? kHighChange : kHigh; }
  bool usable(double value) const { return job_.output.rules().is_usable(value); }

  // ---- Rows ----

  void fill_rows() {
    for (const model::DralInputOutput& input : job_.inputs) {
      const double rank = input.outputRank(job_.output_index);
      if (rank > job_.bars) continue;
      fill_row(static_cast<std::int32_t>(std::nearbyint(rank)), input);
      session_.log.line("GenerateTornadoReport cellAddress: " + input.cellAddress);
      tables::CheckUserCancel(session_);
    }
  }

  void fill_row(std::int32_t row, const model::DralInputOutput& input) {
    if (job_.range_mode == model::OrdvaneRangeBookMode) rows_.set_text(row, 1, input.bookName);
    if (job_.range_mode != model::OrdvaneRangeCellMode) rows_.set_text(row, job_.range_mode, input.sheetName);
    rows_.set_number(row, column(kRank), row);
    rows_.set_text(row, column(kName), ItemLabel(input));
    rows_.set_text(row, column(kCell), input.cellAddress);
    const auto of_output = model::OrdvaneDivisorOutput;
    const auto of_input = model::OrdvaneDivisorInput;
    fill_value(row, kLow, input.outputMinValue(job_.output_index), of_output);
    fill_value(row, kLowChange, input.outputMinPercentChange(job_.output_index), of_output);
    fill_value(row, kLowInput, input.minInputValue(job_.output_index), of_input);
    fill_value(row, kHigh, input.outputMaxValue(job_.output_index), of_output);
    fill_value(row, kHighChange, input.outputMaxPercentChange(job_.output_index), of_output);
    fill_value(row, kHighInput, input.maxInputValue(job_.output_index), of_input);
    fill_value(row, kInputBase, input.BaseValue(), of_input);
    input_formats_(row) = ValueFormat(input);
  }

  void fill_value(std::int32_t row, Column place, double value, model::OrdvaneDivisorType item) {
    std::int32_t flags = 0;
    tables::FormatTableValue(job_.output.rules(), rows_, row, column(place), value, flags, 1.0, item);
    if (flags == 0) return;
    const bool change = place == kLowChange || place == kHighChange;
    auto& first = change && job_.output.BaseValue() == 0 ? first_without_change_ : first_invalid_;
    if (!first || row < first->row) first = {row, column(place)};
  }

  // The ends of the bars, as the table shows them.
  void read_bars() {
    for (std::int32_t row = 1; row <= job_.bars; ++row) {
      const auto& low_cell = rows_.at(row, column(low()));
      const auto& high_cell = rows_.at(row, column(high()));
      if (low_cell.kind != host::CellKind::kNumber || high_cell.kind != host::CellKind::kNumber) continue;
      low_values_.push_back(low_cell.number);
      high_values_.push_back(high_cell.number);
    }
  }

  std::optional<std::int16_t> reason_for_no_chart() const {
    if (job_.percent && job_.output.BaseValue() == 0) return kOutputBaseZero;
    if (low_values_.empty()) return job_.percent ? kNoUsableBase : kInvalidNote;
    return std::nullopt;
  }

  // ---- Table ----

  std::shared_ptr<tables::ReportTable> write_table(tables::ReportSheet& sheet) {
    auto table = sheet.AddTable(job_.bars, column(kColumns), kHeaderRows, 0,
                                session_.text(kTableCaption, std::to_string(job_.bars)),
                                session_.text(kTableSubcaption));
    write_headers(*table);
    table->PutBody(1, rows_);
    format_values(*table);
    for (const Column last : {kCell, kLowChange, kLowInput, kHighChange, kHighInput})
      table->AddColumnRule(column(last), -1, tables::kRuleLineStyle, tables::kRuleWeight,
                           tables::kRuleColorIndex);
    add_note(*table, first_without_change_, kBaseZeroNote);
    add_note(*table, first_invalid_, kInvalidNote);
    return table;
  }

  void write_headers(tables::ReportTable& table) {
    const auto figures = [&](Column place, std::int32_t caption, HAlign body = HAlign::kRight) {
      table.SetColumnHeader(column(place), session_.CommonString(caption), body, HAlign::kCenter, 0,
                            tables::kFitColumn, "", false);
    };
    const auto names = [&](std::int32_t place, std::int32_t caption) {
      table.SetColumnHeader(place, session_.CommonString(caption), HAlign::kLeft, HAlign::kLeft, 0,
                            tables::kNameColumnWidth, "", true);
    };
    if (job_.range_mode == model::OrdvaneRangeBookMode) names(1, 0);
    if (job_.range_mode != model::OrdvaneRangeCellMode) names(job_.range_mode, 1);
    figures(kRank, 9, HAlign::kCenter);
    names(column(kName), 2);
    figures(kCell, 3, HAlign::kCenter);
    for (const Column value : {kLow, kLowInput, kHigh, kHighInput}) figures(value, 5);
    for (const Column change : {kLowChange, kHighChange}) figures(change, 7);
    figures(kInputBase, 16);

    AddHeaderGroup(table, 1, 1, 2, column(kCell), session_.text(kInputGroup));
    AddHeaderGroup(table, 1, column(kLow), 1, 3, session_.text(kLowGroup));
    AddHeaderGroup(table, 1, column(kHigh), 1, 3, session_.text(kHighGroup));
    AddHeaderGroup(table, 1, column(kInputBase), 2, 1, session_.text(kBaseGroup));
    for (const Column value : {kLow, kHigh}) {
      AddHeaderGroup(table, 2, column(value), 1, 2, session_.CommonString(11));
      AddHeaderGroup(table, 2, column(value) + 2, 1, 1, session_.CommonString(10));
    }
  }

  void format_values(tables::ReportTable& table) {
    const std::string format = ValueFormat(job_.output);
    session_.log.line("GenerateTornadoReport t_InputsCount: " + session::log_text(job_.bars) +
                      "    numberFormat: " + format);
    for (const Column value : {kLow, kHigh})
      if (!format.empty()) table.FormatBody(1, job_.bars, column(value), format);
    for (const Column change : {kLowChange, kHighChange})
      table.FormatBody(1, job_.bars, column(change), tables::PercentFormat());
    format_input_values(table);
  }

  // Every row has its own input; neighbours with one format are formatted together.
  void format_input_values(tables::ReportTable& table) {
    for (std::int32_t first = 1, end; first <= job_.bars; first = end) {
      end = first + 1;
      while (end <= job_.bars && input_formats_(end) == input_formats_(first)) ++end;
      if (input_formats_(first).empty()) continue;
      for (const Column value : {kLowInput, kHighInput, kInputBase})
        table.FormatBody(first, end - first, column(value), input_formats_(first));
    }
  }

  struct Place {
    std::int32_t row, column;
  };

  void add_note(tables::ReportTable& table, const std::optional<Place>& place, std::int16_t text) {
    if (place) table.AddTableNote(place->row, place->column, session_.CommonString(12), session_.text(text));
  }

  // ---- Chart ----

  void draw(tables::ReportChart& chart, tables::ReportTable& table) {
    const host::AxisScale scale = axis_scale();
    SetChartAreaLineWeight(*chart.Chart());
    chart.AddTornadoBars(static_cast<std::int16_t>(job_.bars), *table.Body(1, column(low()), job_.bars),
                         *table.Body(1, column(high()), job_.bars), *table.Body(1, column(kName), job_.bars),
                         origin().value_or(scale.minimum));
    set_texts(chart);
    chart.FinishChart();
    host::ignoring_errors([&] { session_.application().set_screen_updating(true); });
    host::ignoring_errors([&] { session_.application().set_screen_updating(false); });
    for (const std::int32_t bar : {3, 4})
      host::ignoring_errors([&] { chart.Chart()->series(bar)->set_interior({.color = job_.bar_color}); });
    host::ignoring_errors([&] { bound_value_axis(*chart.Chart(), scale); });
    host::ignoring_errors([&] { add_base_line(*chart.Chart(), scale); });
  }

  void set_texts(tables::ReportChart& chart) {
    const std::string name = job_.output.NameOrQualifiedCellAddressName(job_.range_mode);
    chart.SetTitle(session_.text(kChartTitle, name));
    chart.SetSubtitle(subtitle());
    constexpr double kAuto = host::kAutoScaleValue;
    chart.SetXAxis(session_.text(job_.percent ? kChangeAxis : kValueAxis, name), kAuto, kAuto, kAuto,
                   axis_format(), true);
  }

  std::string axis_format() const {
    if (job_.percent) return tables::PercentFormat();
    if (job_.output.IsDate) return job_.output.DateFormat;
    return job_.output.NumberFormatLocal.empty() ? "" : job_.output.NumberFormatLocal + "[LOCAL]";
  }

  // The output's value before anything was varied.
  std::optional<double> base() const {
    if (!same_bits(job_.base_value, host::kNoBaseValue) && usable(job_.base_value)) return job_.base_value;
    if (usable(job_.output.BaseValue())) return job_.output.BaseValue();
    return std::nullopt;
  }

  // Where the base value lies on the value axis; changes are counted from it.
  std::optional<double> origin() const { return job_.percent ? 0.0 : base(); }

  // Rounded bounds around the bars and the base value.
  host::AxisScale axis_scale() const {
    double lowest = ArrayMin(low_values_);
    double highest = ArrayMax(high_values_);
    if (const auto value = origin()) {
      lowest = std::min(lowest, *value);
      highest = std::max(highest, *value);
    }
    return session_.environment->numbers().axis_scale(lowest, highest);
  }

  // The base line has its own, unseen axis; both must agree for it to stand right. The chart chooses its
  // unit.
  static void bound_value_axis(host::Chart& chart, const host::AxisScale& scale) {
    const auto axis = chart.axis(host::AxisType::kValue, host::AxisGroup::kPrimary);
    axis->set_minimum_scale(scale.minimum);
    axis->set_maximum_scale(scale.maximum);
  }

  std::string base_text(double value) const {
    const auto date = job_.output.IsDate ? date_of(value) : std::nullopt;
    return job_.base_label + "=" +
           (date ? date_text(*date, job_.output.DateFormat)
                 : session_.environment->numbers().number_text(value));
  }

  // Names the base value also where the marker is not drawn: with several runs, and in programs that draw no
  // points over bars.
  std::string subtitle() const {
    const auto value = base();
    const std::string text = session_.text(kChartSubtitle);
    return value ? text + " (" + base_text(rounded_for_reading(*value)) + ")" : text;
  }

  void add_base_line(host::Chart& chart, const host::AxisScale& scale) {
    if (same_bits(job_.base_value, host::kNoBaseValue) || !usable(job_.base_value)) return;
    constexpr host::Color kBlack = 0;
    AddBaseValueLine(session_, chart, *origin(), scale.minimum, scale.maximum, job_.baseline_color,
                     base_text(job_.base_value), kBlack, chart.plot_area_interior_color());
  }

  session::Session& session_;
  TornadoJob job_;

  host::CellBlock rows_;
  model::OneBased<std::string> input_formats_;  // by row
  std::optional<Place> first_without_change_, first_invalid_;
  std::vector<double> low_values_, high_values_;
};

}  // namespace

std::int32_t GenerateTornadoReport(session::Session& session, tables::ReportWorkbook& rWB,
                                   std::int32_t outputIndex,
                                   const model::OneBased<std::int32_t>& /*selectedOutputs*/,
                                   const model::Records& trInputs, const model::Records& trOutputs,
                                   std::int32_t /*numIterations*/, model::OrdvaneRangeMode rangeMode,
                                   model::OrdvaneOutputMode outputMode, const model::RankingRecord& ranking,
                                   std::int32_t runNumber, std::int32_t totalRuns, double baseValue,
                                   const std::string& baseLabel, host::Color barColor,
                                   host::Color baselineColor) {
  session.log.line("ReportTornado.GenerateTornadoReport");
  const model::DralInputOutput& output = trOutputs(outputIndex);
  const auto sheet = StartGraphSheet(session, rWB, output, kSheetTexts, runNumber, totalRuns);
  const std::int32_t bars = ranking.input_limit;
  if (bars <= 0)
    sheet->NextCell()->set_value(session.text(kNoBars));
  else
    TornadoReport(session, {.output = output,
                            .output_index = outputIndex,
                            .inputs = trInputs,
                            .range_mode = rangeMode,
                            .percent = outputMode == model::OrdvaneOutputAsPercentChange,
                            .bars = bars,
                            .base_value = baseValue,
                            .base_label = baseLabel,
                            .bar_color = barColor,
                            .baseline_color = baselineColor})
        .write(sheet);
  sheet->FinishSheet();
  return 0;
}

}  // namespace ordvane::graphs
