#include "reports/multi_way_detail.h"

#include <algorithm>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "layout/look.h"
#include "reports/body_writer.h"
#include "reports/detail_by_input.h"
#include "reports/gap_notes.h"
#include "reports/item_texts.h"
#include "reports/output_detail.h"
#include "reports/progress.h"
#include "reports/report_columns.h"
#include "reports/sheet_opening.h"
#include "reports/step_remarks.h"

namespace ordvane::reports {
namespace {

using host::HAlign;

constexpr std::int32_t kHeaderRows = 3;
constexpr std::int32_t kNameRow = 2;
constexpr std::int32_t kColumnsPerOutput = 5;
constexpr std::int32_t kCaptionRows = 2;  // above the table of combinations
constexpr double kLabelWidth = 14;        // characters, at least
constexpr std::int32_t kProgressMessages = 200;
constexpr std::size_t kMostGroupNotes = 500;  // a spreadsheet takes its time over each

struct Columns {
  std::int32_t m = 0;        // range mode
  std::int32_t members = 0;  // of the largest group
  std::int32_t outputs = 0;
  std::int32_t combination = 1, group = 2;
  // Of each member: name, workbook and worksheet in the wider range modes, value.
  std::int32_t per_member() const { return m + 2; }
  std::int32_t name(std::int32_t member) const { return group + 1 + (member - 1) * per_member(); }
  std::int32_t member_value(std::int32_t member) const { return name(member + 1) - 1; }
  // Of each output.
  std::int32_t result(std::int32_t output) const {
    return name(members + 1) + (output - 1) * kColumnsPerOutput;
  }
  std::int32_t change(std::int32_t output) const { return result(output) + 1; }
  std::int32_t in_group(std::int32_t output) const { return result(output) + 2; }
  std::int32_t rank(std::int32_t output) const { return result(output) + 3; }
  std::int32_t interaction(std::int32_t output) const { return result(output) + 4; }
  std::int32_t count() const { return result(outputs + 1) - 1; }
};

// As many members and outputs as the sheet's columns hold, members first; of a sheet that is not known, as
// many as the smallest one's.
Columns columns_for(std::int32_t mode, std::int32_t largest_group, std::int32_t outputs,
                    std::int32_t sheet_columns) {
  Columns c{.m = mode, .members = largest_group, .outputs = outputs};
  if (sheet_columns < 1) {
    c.outputs = std::min(outputs, kMostDetailOutputs);
    return c;
  }
  const std::int32_t room = sheet_columns - c.group;
  c.members = std::clamp((room - kColumnsPerOutput) / c.per_member(), 1, std::max(largest_group, 1));
  c.outputs = std::clamp((room - c.members * c.per_member()) / kColumnsPerOutput, 1, std::max(c.outputs, 1));
  c.outputs = std::min(c.outputs, outputs);
  return c;
}

// What a row is about, at least as wide as a mark of an extreme.
layout::Column label_column(std::string caption) {
  layout::Column column = layout::name_column(std::move(caption));
  column.width = kLabelWidth;
  return column;
}

// Why there is no interaction.
session::TextId<0> text_of(model::InteractionState state) {
  switch (state) {
    case model::InteractionState::kNoOwnSwing:
      return text_id::kMultiWayInputWithoutSwing;
    case model::InteractionState::kOtherValues:
      return text_id::kMultiWayOtherValues;
    case model::InteractionState::kErrors:
    case model::InteractionState::kMeasured:
      break;
  }
  return text_id::kMultiWayFailedResults;
}

class MultiWayDetail {
 public:
  MultiWayDetail(const Context& context, const model::MultiWayRun& run,
                 const model::OneBased<model::GroupEffects>& effects);

  void make();

 private:
  // The lowest or highest result of an output over all groups.
  struct Extreme {
    std::int32_t output = 0;  // position in the selection
    bool highest = false;
    std::int32_t group = 0;  // position in the run; 0: the output has no usable result
    std::int32_t combination = 0;
  };
  // Body rows that show combinations of one group.
  struct GroupRows {
    std::int32_t group = 0;
    std::int32_t first = 0, rows = 0;
  };
  struct MarkedRow {
    std::int32_t row = 0;
    std::int32_t output = 0;
  };
  // Body rows of a piece that show combinations of one group.
  struct Part {
    std::int32_t group = 0;
    std::int32_t row = 0, rows = 0;  // of the block, from 1
    std::int32_t number = 0;         // of the first one's combination in the group
    std::shared_ptr<const model::OneBased<std::int32_t>> order;  // of the group's combinations
  };
  struct Piece : BodyPiece {
    using BodyPiece::BodyPiece;
    std::vector<Part> parts;
    std::vector<MarkedRow> marked;
  };
  using OutputsAt = std::multimap<std::pair<std::int32_t, std::int32_t>, std::int32_t>;  // group, combination
  // Fills cells of one of the tables.
  struct Filling {
    Filling(const MultiWayDetail& report, const ItemGaps& of_results) {
      for (const model::DralInputOutput& input : report.inputs_) values.emplace_back(input, kInputGaps);
      for (std::int32_t k = 1; k <= report.c_.outputs; ++k)
        results.emplace_back(report.output(k), of_results);
    }
    Filling(const Filling&) = delete;
    Filling& operator=(const Filling&) = delete;

    std::vector<ItemCells> values;   // of the inputs
    std::vector<ItemCells> results;  // of the outputs
  };

  void find_extremes();
  void add_extremes();
  std::vector<layout::Column> columns() const;
  std::vector<layout::Column> member_columns() const;
  std::vector<layout::Column> output_columns() const;
  void add_notes(std::vector<layout::Column>& figures) const;
  void add_combinations();
  void fill_extremes();
  void fill_combinations();
  std::vector<GroupRows> rows_of_groups() const;
  void begin_piece(Piece& piece, const std::vector<GroupRows>& groups, Part& last) const;
  void fill_part(Piece& piece, const Part& part, const Filling& filling, const OutputsAt& extremes) const;
  void fill_combination(const FilledRow& row, const Filling& filling, std::int32_t group,
                        std::int32_t combination) const;
  void fill_group_figures(host::CellBlock& block, std::int32_t row, std::int32_t group) const;
  void mark_ends_in_group(host::CellBlock& block, std::int32_t row, std::int32_t group,
                          std::int32_t combination) const;
  void format_member_values(layout::ReportTable& table, const std::vector<GroupRows>& groups);
  void format_groups(const std::vector<GroupRows>& groups);
  const std::string& member_format(std::int32_t group, std::int32_t position) const;
  void mark_extreme(layout::ReportTable& table, const MarkedRow& marked);
  void note_all_failed(const MarkedRow& at);
  void note_interaction(layout::ReportTable& table, const MarkedRow& at, const model::GroupEffect& effect);
  void note_groups(const std::vector<GroupRows>& groups);
  void note_left_out_rows(const std::vector<GroupRows>& groups);
  std::string outputs_left_out() const;
  void fit_columns();

  std::int32_t largest_group() const;
  std::int32_t rows_to_show() const;
  const model::DralInputOutput& output(std::int32_t k) const {
    return context_.outputs(context_.selected(k));
  }
  const model::DralInputOutput& member(std::int32_t group, std::int32_t position) const {
    return inputs_(run_.groups(group).members(position));
  }
  std::int32_t shown_members(std::int32_t group) const {
    return std::min(run_.groups(group).members.size(), c_.members);
  }
  std::string name_of(const model::DralInputOutput& item) const {
    return item.NameOrQualifiedCellAddressName(context_.range_mode);
  }
  // Position of the group in the table.
  std::int32_t number(std::int32_t group) const { return effects_(1)(group).rank; }

  const Context& context_;
  session::Session& session_;
  const model::Records& inputs_;
  const model::MultiWayRun& run_;
  const model::OneBased<model::GroupEffects>& effects_;  // one an output, each with one a group
  Columns c_;
  model::OneBased<std::int32_t> order_;            // groups by number
  model::OneBased<std::string> labels_, formats_;  // of the inputs
  std::string low_, high_;                         // marks of the ends of a group
  std::vector<Extreme> extremes_;                  // two an output: highest, lowest
  std::int64_t combinations_ = 0;                  // of all groups
  std::int32_t rows_ = 0;                          // combinations shown
  std::shared_ptr<layout::ReportSheet> sheet_;
  // The second one goes on under the headers of the first.
  std::shared_ptr<layout::ReportTable> extremes_table_, combinations_table_;
};

MultiWayDetail::MultiWayDetail(const Context& context, const model::MultiWayRun& run,
                               const model::OneBased<model::GroupEffects>& effects)
    : context_(context),
      session_(context.session),
      inputs_(context.inputs),
      run_(run),
      effects_(effects),
      c_(columns_for(context.range_mode, largest_group(), context.selected.size(), session_.sheet_columns)),
      order_(run.groups.size()),
      low_(session_.text(text_id::kRangeLow)),
      high_(session_.text(text_id::kRangeHigh)) {
  std::iota(order_.begin(), order_.end(), 1);
  std::sort(order_.begin(), order_.end(),
            [&](std::int32_t a, std::int32_t b) { return number(a) < number(b); });
  for (const model::DralInputOutput& input : inputs_) {
    labels_.push_back(ItemLabel(input));
    formats_.push_back(ValueFormat(input));
  }
  for (const model::MultiGroup& group : run.groups) combinations_ += group.combinations;
}

std::int32_t MultiWayDetail::largest_group() const {
  std::int32_t members = 0;
  for (const model::MultiGroup& group : run_.groups) members = std::max(members, group.members.size());
  return members;
}

void MultiWayDetail::make() {
  host::Application& application = session_.application();
  application.set_calculation(host::Calculation::kManual);
  sheet_ =
      StartSheet(context_, {text_id::kMultiWaySheetName, text_id::kMultiWayTitle, text_id::kMultiWayRun});
  if (run_.groups.empty() || context_.selected.empty()) {
    sheet_->NextCell()->set_value(session_.text(text_id::kMultiWayNoGroups));
    sheet_->FinishSheet();
    return;
  }
  const host::Cursor cursor = application.cursor();
  application.set_cursor(host::Cursor::kWait);
  find_extremes();
  add_extremes();
  add_combinations();
  application.set_cursor(cursor);
  fit_columns();
  sheet_->FinishSheet();
}

// The first in the order of the table, where several groups have it.
void MultiWayDetail::find_extremes() {
  for (std::int32_t k = 1; k <= c_.outputs; ++k) {
    Extreme highest{.output = k, .highest = true};
    Extreme lowest{.output = k, .highest = false};
    for (const std::int32_t g : order_) {
      const model::GroupEffect& effect = effects_(k)(g);
      if (effect.lowest_at == 0) continue;
      if (highest.group == 0 || effect.highest > effects_(k)(highest.group).highest) {
        highest.group = g;
        highest.combination = effect.highest_at;
      }
      if (lowest.group == 0 || effect.lowest < effects_(k)(lowest.group).lowest) {
        lowest.group = g;
        lowest.combination = effect.lowest_at;
      }
    }
    extremes_.push_back(highest);
    extremes_.push_back(lowest);
  }
}

void MultiWayDetail::add_extremes() {
  extremes_table_ = AddTable(
      *sheet_, static_cast<std::int32_t>(extremes_.size()), kHeaderRows,
      {session_.text(text_id::kMultiWayExtremesCaption), session_.text(text_id::kMultiWayExtremesSubcaption)},
      columns());
  extremes_table_->SetIdentityColumns(c_.result(1) - 1, c_.group);
  fill_extremes();
}

std::vector<layout::Column> MultiWayDetail::columns() const {
  layout::Column group = layout::figure_column(session_.text(text_id::kMultiWayGroup), HAlign::kCenter);
  group.note = session_.text(text_id::kMultiWayGroupNote, name_of(output(1)));
  std::vector<layout::Column> columns =
      ruled({label_column(session_.text(text_id::kMultiWayCombination)), group});
  layout::append(columns, member_columns());
  layout::append(columns, output_columns());
  return columns;
}

std::vector<layout::Column> MultiWayDetail::member_columns() const {
  const SharedColumns shared(context_);
  std::vector<layout::Column> columns;
  for (std::int32_t i = 1; i <= c_.members; ++i) {
    std::vector<layout::Column> member = {shared.name()};
    layout::append(member, shared.places());
    for (layout::Column& label : member) label.width = kLabelWidth;
    member.front().indented = true;  // clear of the rule beside it
    member.front().begins_block = true;
    if (i == c_.members && c_.members < largest_group())
      member.front().note = session_.text(text_id::kMultiWayFirstInputsOnly, std::int64_t{c_.members},
                                          std::int64_t{largest_group()});
    member.push_back(shared.value());
    layout::append(columns, ruled(layout::grouped(session_.text(text_id::kMultiWayInput, std::int64_t{i}),
                                                  kNameRow, member)));
  }
  return layout::grouped(session_.text(text_id::kMultiWayInputs), 1, columns);
}

std::vector<layout::Column> MultiWayDetail::output_columns() const {
  const SharedColumns shared(context_);
  std::vector<layout::Column> columns;
  for (std::int32_t k = 1; k <= c_.outputs; ++k) {
    std::vector<layout::Column> figures = {
        shared.value(ValueFormat(output(k))), shared.fraction(),
        layout::figure_column(session_.text(text_id::kMultiWayInGroup), HAlign::kCenter), shared.rank(),
        layout::figure_column(session_.text(text_id::kMultiWayInteraction))};
    figures.front().begins_block = true;
    figures.back().number_format = ChangeFormat(output(k));
    if (k == 1) add_notes(figures);
    if (k > 1) columns.back().rule = true;
    layout::append(columns, layout::grouped(shared.heading(output(k)), kNameRow, figures));
  }
  return shared.of_outputs(1, columns);
}

// What the columns of the first output say of those of all.
void MultiWayDetail::add_notes(std::vector<layout::Column>& figures) const {
  if (c_.outputs < context_.selected.size())
    figures[0].note = session_.text(text_id::kMultiWayFirstOutputsOnly, std::int64_t{c_.outputs},
                                    std::int64_t{context_.selected.size()}, outputs_left_out());
  figures[2].note = session_.text(text_id::kMultiWayInGroupNote);
  figures[3].note = session_.text(text_id::kMultiWayRankNote);
  figures[4].note = session_.text(text_id::kMultiWayInteractionNote);
}

std::string MultiWayDetail::outputs_left_out() const {
  std::vector<std::string> outputs;
  for (std::int32_t k = c_.outputs + 1; k <= context_.selected.size(); ++k)
    outputs.push_back(ItemLabel(output(k)));
  return session_.list_of(outputs);
}

void MultiWayDetail::fill_extremes() {
  BodyWriter body(*extremes_table_, extremes_table_->rows());
  // How many results failed says the table below.
  const Filling filling(*this, {Gap::kNoNumber, kOutputGaps.base_zero, kOutputGaps.base_invalid});
  GapNotes gaps(c_.count());
  std::vector<GroupRows> groups;
  for (const Extreme& extreme : extremes_) {
    const std::int32_t row = body.next_row();
    body.block().set_text(
        row, c_.combination,
        session_.text(extreme.highest ? text_id::kMultiWayHighest : text_id::kMultiWayLowest,
                      name_of(output(extreme.output))));
    const MarkedRow at = {.row = body.rows(), .output = extreme.output};
    if (extreme.group == 0) {
      body.block().set_text(row, c_.result(extreme.output), host::kNotShown);
      note_all_failed(at);
      continue;
    }
    fill_combination({body.block(), row, body.rows(), gaps}, filling, extreme.group, extreme.combination);
    fill_group_figures(body.block(), row, extreme.group);
    mark_ends_in_group(body.block(), row, extreme.group, extreme.combination);
    note_interaction(*extremes_table_, at, effects_(extreme.output)(extreme.group));
    groups.push_back({.group = extreme.group, .first = body.rows(), .rows = 1});
  }
  body.flush();
  gaps.write(session_, *extremes_table_, extremes_table_->rows());
  format_member_values(*extremes_table_, groups);
  for (std::int32_t row = 1; const Extreme& extreme : extremes_)
    mark_extreme(*extremes_table_, {.row = row++, .output = extreme.output});
}

std::int32_t MultiWayDetail::rows_to_show() const {
  const std::int32_t above = sheet_->NextCell()->row() - 1 + kCaptionRows;
  std::int64_t room = session_.sheet_rows > 0 ? std::max(session_.sheet_rows - above, 0) : kMostDetailRows;
  if (session_.sheet_cells > 0) room = std::min(room, session_.sheet_cells / c_.count());
  return static_cast<std::int32_t>(std::min(combinations_, room));
}

void MultiWayDetail::add_combinations() {
  rows_ = rows_to_show();
  std::vector<layout::Column> numbered = columns();
  numbered.front().text = false;
  combinations_table_ = AddTable(*sheet_, rows_, 0,
                                 {session_.text(text_id::kMultiWayCaption),
                                  session_.text(text_id::kMultiWaySubcaption, name_of(output(1)))},
                                 numbered);
  fill_combinations();
}

void MultiWayDetail::fill_combinations() {
  OutputsAt extremes;
  for (const Extreme& extreme : extremes_)
    extremes.insert({{extreme.group, extreme.combination}, extreme.output});

  const std::vector<GroupRows> groups = rows_of_groups();
  const Filling filling(*this, kOutputGaps);
  GapNotes gaps(c_.count());
  std::vector<MarkedRow> marked;
  Part last;
  // What is asked for again is asked for from this thread.
  fill_body_in_pieces<Piece>(
      *combinations_table_, rows_, fills_side_by_side(session_) && !run_.asked_for,
      [&](Piece& piece) { begin_piece(piece, groups, last); },
      [&](Piece& piece) {
        for (const Part& part : piece.parts) fill_part(piece, part, filling, extremes);
      },
      [&](const Piece& piece) {
        gaps.add(piece.gaps);
        marked.insert(marked.end(), piece.marked.begin(), piece.marked.end());
      });
  gaps.write(session_, *combinations_table_, rows_);
  combinations_table_->FilterRows();
  note_left_out_rows(groups);
  note_groups(groups);
  format_groups(groups);
  for (const MarkedRow& row : marked) {
    combinations_table_->Body(row.row, 1, 1, c_.count())->set_interior({.color = layout::look::kMarked});
    mark_extreme(*combinations_table_, row);
  }
}

// One group after another, as far as there is room.
std::vector<MultiWayDetail::GroupRows> MultiWayDetail::rows_of_groups() const {
  std::vector<GroupRows> groups;
  std::int32_t rows = 0;
  for (const std::int32_t g : order_) {
    if (rows == rows_) break;
    const std::int32_t shown = std::min(run_.groups(g).combinations, rows_ - rows);
    groups.push_back({.group = g, .first = rows + 1, .rows = shown});
    rows += shown;
  }
  return groups;
}

// `last`: the last part of the piece before, whose group may go on.
void MultiWayDetail::begin_piece(Piece& piece, const std::vector<GroupRows>& groups, Part& last) const {
  const std::int32_t message_every = std::max(order_.size() / kProgressMessages, 1);
  CheckUserCancel(session_);
  piece.parts.clear();
  piece.marked.clear();
  auto at = std::ranges::upper_bound(groups, piece.first, {}, &GroupRows::first) - 1;
  for (std::int32_t row = 1; row <= piece.block.rows(); row += last.rows, ++at) {
    const auto i = static_cast<std::int32_t>(at - groups.begin()) + 1;
    const std::int32_t before = piece.first + row - 1 - at->first;  // combinations in other pieces
    if (before == 0 && i % message_every == 0)
      session_.application().set_status_bar(
          session_.text(text_id::kMultiWayProgress, std::int64_t{i}, std::int64_t{order_.size()}));
    if (last.group != at->group)
      last.order = std::make_shared<const model::OneBased<std::int32_t>>(
          model::CombinationsInOrder(run_.groups(at->group)));
    last.group = at->group;
    last.row = row;
    last.rows = std::min(at->rows - before, piece.block.rows() - row + 1);
    last.number = before + 1;
    piece.parts.push_back(last);
  }
}

void MultiWayDetail::fill_part(Piece& piece, const Part& part, const Filling& filling,
                               const OutputsAt& extremes) const {
  for (std::int32_t i = 0; i < part.rows; ++i) {
    const FilledRow row = piece.row(part.row + i);
    const std::int32_t number = part.number + i, combination = (*part.order)(number);
    row.block.set_number(row.row, c_.combination, number);
    fill_combination(row, filling, part.group, combination);
    if (number == 1) fill_group_figures(row.block, row.row, part.group);
    mark_ends_in_group(row.block, row.row, part.group, combination);
    const auto [begin, end] = extremes.equal_range({part.group, combination});
    for (auto at = begin; at != end; ++at)
      piece.marked.push_back({.row = row.body_row, .output = at->second});
  }
}

void MultiWayDetail::fill_combination(const FilledRow& row, const Filling& filling, std::int32_t group,
                                      std::int32_t combination) const {
  const model::MultiGroup& g = run_.groups(group);
  row.block.set_number(row.row, c_.group, number(group));
  for (std::int32_t i = 1; i <= shown_members(group); ++i) {
    const model::DralInputOutput& input = member(group, i);
    row.block.set_text(row.row, c_.name(i), labels_(g.members(i)));
    PutPlace(row.block, row.row, c_.name(i) + 1, context_.range_mode, input);
    filling.values[static_cast<std::size_t>(g.members(i) - 1)].put(
        row, {.value = c_.member_value(i)}, g.inputs(i).value[static_cast<std::size_t>(combination - 1)]);
  }
  for (std::int32_t k = 1; k <= c_.outputs; ++k)
    filling.results[static_cast<std::size_t>(k - 1)].put(
        row, {.value = c_.result(k), .fraction = c_.change(k)}, run_.result(k, g, combination));
}

void MultiWayDetail::fill_group_figures(host::CellBlock& block, std::int32_t row, std::int32_t group) const {
  for (std::int32_t k = 1; k <= c_.outputs; ++k) {
    const model::GroupEffect& effect = effects_(k)(group);
    block.set_number(row, c_.rank(k), effect.rank);
    if (effect.interaction_state == model::InteractionState::kMeasured)
      block.set_number(row, c_.interaction(k), effect.interaction);
    else
      block.set_text(row, c_.interaction(k), host::kNotShown);
  }
}

// Equal results have no ends.
void MultiWayDetail::mark_ends_in_group(host::CellBlock& block, std::int32_t row, std::int32_t group,
                                        std::int32_t combination) const {
  for (std::int32_t k = 1; k <= c_.outputs; ++k) {
    const model::GroupEffect& effect = effects_(k)(group);
    if (effect.swing == 0) continue;
    if (combination == effect.highest_at) block.set_text(row, c_.in_group(k), high_);
    if (combination == effect.lowest_at) block.set_text(row, c_.in_group(k), low_);
  }
}

// The names stand in every row, so that the rows can be filtered and sorted; a group shows where its first
// row is darker.
void MultiWayDetail::format_groups(const std::vector<GroupRows>& groups) {
  layout::ReportTable& table = *combinations_table_;
  if (groups.empty()) return;
  const host::FontFormat quiet = {.color = layout::look::kMuted};
  table.Body(1, c_.combination, rows_, c_.name(1) - c_.combination)->set_font(quiet);
  for (std::int32_t i = 1; i <= c_.members; ++i)
    table.Body(1, c_.name(i), rows_, c_.member_value(i) - c_.name(i))->set_font(quiet);
  for (std::int32_t k = 1; k <= c_.outputs; ++k) table.Body(1, c_.in_group(k), rows_)->set_font(quiet);
  for (const GroupRows& group : groups) {
    table.Body(group.first, c_.group, 1, c_.result(1) - c_.group)->set_font({.color = layout::look::kText});
    table.AddRowRule(group.first + group.rows - 1);
  }
  format_member_values(table, groups);
}

// Empty where the group has no such member.
const std::string& MultiWayDetail::member_format(std::int32_t group, std::int32_t position) const {
  static const std::string kNone;
  return position <= shown_members(group) ? formats_(run_.groups(group).members(position)) : kNone;
}

// Members of different groups stand in one column: the commonest format is set for the whole column, the
// others on the runs of rows that have them.
void MultiWayDetail::format_member_values(layout::ReportTable& table, const std::vector<GroupRows>& groups) {
  for (std::int32_t i = 1; i <= c_.members; ++i) {
    std::map<std::string, std::int64_t> rows_with;
    for (const GroupRows& group : groups) rows_with[member_format(group.group, i)] += group.rows;
    rows_with.erase("");
    if (rows_with.empty()) continue;
    const std::string commonest =
        std::max_element(rows_with.begin(), rows_with.end(), [](const auto& a, const auto& b) {
          return a.second < b.second;
        })->first;
    table.FormatBody(1, table.rows(), c_.member_value(i), commonest);
    for (std::size_t at = 0; at < groups.size();) {
      const std::string& format = member_format(groups[at].group, i);
      const std::int32_t first = groups[at].first;
      std::int32_t rows = 0;
      for (; at < groups.size() && member_format(groups[at].group, i) == format; ++at)
        rows += groups[at].rows;
      if (!format.empty() && format != commonest) table.FormatBody(first, rows, c_.member_value(i), format);
    }
  }
}

// The result that the row is about.
void MultiWayDetail::mark_extreme(layout::ReportTable& table, const MarkedRow& marked) {
  const auto cell = table.Body(marked.row, c_.result(marked.output));
  cell->set_interior({.color = layout::look::kMarked});
  cell->set_font({.bold = true});
}

// Of an output without a usable result.
void MultiWayDetail::note_all_failed(const MarkedRow& at) {
  std::int32_t results = 0;
  for (const model::MultiGroup& group : run_.groups) results += group.combinations;
  extremes_table_->AddTableNote(at.row, c_.result(at.output), session_.text(text_id::kNoteTitle),
                                StepNote(session_, {.steps = results, .failed = results}));
}

void MultiWayDetail::note_interaction(layout::ReportTable& table, const MarkedRow& at,
                                      const model::GroupEffect& effect) {
  if (effect.interaction_state != model::InteractionState::kMeasured)
    table.AddTableNote(at.row, c_.interaction(at.output), session_.text(text_id::kNoteTitle),
                       session_.text(text_of(effect.interaction_state)));
}

// At the figures of each group: what cuts its swing, and why it has no interaction.
void MultiWayDetail::note_groups(const std::vector<GroupRows>& groups) {
  std::size_t notes = 0;
  for (const GroupRows& group : groups) {
    for (std::int32_t k = 1; k <= c_.outputs; ++k) {
      const model::GroupEffect& effect = effects_(k)(group.group);
      std::string words =
          StepNote(session_, {.steps = run_.groups(group.group).combinations, .failed = effect.failed});
      if (effect.leaves_out_base)
        words += (words.empty() ? "" : "\n") + session_.text(text_id::kMultiWayBaseLeftOut);
      const MarkedRow at = {.row = group.first, .output = k};
      if (!words.empty())
        combinations_table_->AddTableNote(at.row, c_.rank(k), session_.text(text_id::kNoteTitle), words);
      note_interaction(*combinations_table_, at, effect);
      if (!words.empty() || effect.interaction_state != model::InteractionState::kMeasured) ++notes;
      if (notes == kMostGroupNotes) return;
    }
  }
}

void MultiWayDetail::note_left_out_rows(const std::vector<GroupRows>& groups) {
  if (rows_ == combinations_) return;
  const GroupRows last = groups.empty() ? GroupRows{.group = order_(1)} : groups.back();
  const bool whole = last.rows == run_.groups(last.group).combinations;
  sheet_->AddCellNote(
      *combinations_table_->CaptionRange(), session_.text(text_id::kNoteTitle),
      session_.text(whole ? text_id::kMultiWayFirstGroupsOnly : text_id::kMultiWayFirstCombinationsOnly,
                    std::int64_t{rows_}, combinations_, std::int64_t{number(last.group)}));
}

// Names keep the widths that their columns have; the others are fitted side by side in one go, because the
// cells lie row by row.
void MultiWayDetail::fit_columns() {
  for (std::int32_t i = 1; i <= c_.members; ++i) combinations_table_->FitColumns(c_.member_value(i), 1);
  combinations_table_->FitColumns(c_.result(1), c_.outputs * kColumnsPerOutput);
  combinations_table_->Settle();
  extremes_table_->Settle();
}

}  // namespace

void MakeMultiWayDetailReport(const Context& context, const model::MultiWayRun& run,
                              const model::OneBased<model::GroupEffects>& effects) {
  MultiWayDetail(context, run, effects).make();
}

}  // namespace ordvane::reports
