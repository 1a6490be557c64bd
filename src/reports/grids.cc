#include "reports/grids.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "layout/look.h"
#include "layout/text_estimate.h"
#include "model/grids.h"
#include "reports/body_writer.h"
#include "reports/item_texts.h"
#include "reports/number_texts.h"
#include "reports/progress.h"
#include "reports/report_columns.h"
#include "reports/sheet_opening.h"
#include "reports/table_values.h"

namespace ordvane::reports {
namespace {

constexpr std::size_t kMostValues = 10000;  // of a grid
constexpr std::size_t kMostColumns = 250;   // of a grid: what every spreadsheet has
constexpr std::size_t kMostGrids = 100;     // groups with one; a spreadsheet takes its time over each
constexpr std::size_t kMostMembers = 3;
constexpr const char* kShareFormat = "0.0%";

constexpr host::Color kBelow = 0x7FCBF2, kAtBase = 0xFFFFFF, kAbove = 0xE6A882;
constexpr host::Color kLine = 0x005ED5;

constexpr SheetTexts<1> kTexts = {
    .sheet_name = text_id::kGridsSheetName, .title = text_id::kGridsTitle, .run_line = text_id::kGridsRun};

class Grids {
 public:
  Grids(const Context& context, std::int32_t selected, const model::MultiWayRun& run,
        const model::GroupEffects& effects)
      : context_(context),
        session_(context.session),
        output_(context.outputs(context.selected(selected))),
        selected_(selected),
        run_(run) {
    choose_groups(effects);
  }

  void make() {
    if (groups_.empty()) return;
    sheet_ = StartOutputSheet(context_, output_.bookName, output_, kTexts);
    write_shares();
    sheet_->AddLine(session_.text(text_id::kGridsLegend, number(output_.BaseValue()), number(target())));
    for (const Group& group : groups_) write_grids(group);
    if (!left_out_.empty())
      sheet_->AddLine(session_.text(text_id::kGridsLeftOut, session_.list_of(left_out_)));
    if (further_ > 0)
      sheet_->AddLine(session_.text(text_id::kGridsFirstGroupsOnly, static_cast<std::int64_t>(groups_.size()),
                                    static_cast<std::int64_t>(groups_.size() + further_)));
    sheet_->FinishSheet();
  }

 private:
  struct Group {
    std::vector<const model::DralInputOutput*> members;
    std::int32_t rank = 0;
    model::Grid grid;
    std::optional<std::vector<std::size_t>> base;  // places of the members' base values
  };
  // One of a group's grids: that of a value of the third member, or the only one.
  struct Panel {
    const Group& group;
    std::size_t third;

    std::size_t rows() const { return group.grid.values[0].size(); }
    std::size_t columns() const { return group.grid.values[1].size(); }
    double result(std::size_t row, std::size_t column) const {
      std::vector<std::size_t> places = {row, column};
      if (group.members.size() == kMostMembers) places.push_back(third);
      return group.grid.result(places);
    }
  };

  // What the line goes between; the results themselves are told apart.
  double target() const { return context_.settings.target_of(output_.ioIndex).value; }

  void choose_groups(const model::GroupEffects& effects) {
    model::OneBased<std::int32_t> by_rank(effects.size());
    for (std::int32_t g = 1; g <= effects.size(); ++g) by_rank(effects(g).rank) = g;
    for (std::int32_t rank = 1; rank <= by_rank.size(); ++rank) add_group(run_.groups(by_rank(rank)), rank);
  }

  void add_group(const model::MultiGroup& group, std::int32_t rank) {
    Group added;
    added.rank = rank;
    std::vector<double> bases;
    for (const std::int32_t member : group.members) {
      added.members.push_back(&context_.inputs(member));
      bases.push_back(added.members.back()->BaseValue());
    }
    const model::NumberRules& rules = output_.rules();
    const std::size_t members = added.members.size();
    const auto grid = members >= 2 && members <= kMostMembers
                          ? model::GridOf(run_, group, selected_, rules, kMostValues)
                          : std::nullopt;
    if (!grid || grid->values[1].size() > kMostColumns) {
      left_out_.push_back(name_of(added.members));
    } else if (groups_.size() == kMostGrids) {
      ++further_;
    } else {
      added.base = model::PlacesOf(*grid, bases, rules);
      added.grid = *grid;
      groups_.push_back(std::move(added));
    }
  }

  static std::string name_of(const std::vector<const model::DralInputOutput*>& members) {
    std::string name;
    for (const model::DralInputOutput* member : members) {
      if (!name.empty()) name += layout::kBetweenMembers;
      name += ItemLabel(*member);
    }
    return name;
  }

  std::string number(double value) const {
    if (!output_.rules().is_usable(value)) return host::kNotShown;
    return NumberText(session_, value, ValueFormat(output_), kDigitsOfCell);
  }

  // ---- Shares ----

  std::vector<layout::Column> share_columns(std::size_t members) const {
    const SharedColumns shared(context_);
    std::vector<layout::Column> columns = {layout::name_column(session_.text(text_id::kMultiWayInputs)),
                                           shared.rank()};
    const auto add = [&](const std::string& caption) {
      columns.push_back(layout::figure_column(caption));
      columns.back().number_format = kShareFormat;
    };
    for (std::size_t member = 1; member <= members; ++member)
      add(session_.text(text_id::kGridsAlone, static_cast<std::int64_t>(member)));
    add(session_.text(text_id::kGridsTogether));
    return columns;
  }

  void write_shares() {
    std::size_t members = 0;
    for (const Group& group : groups_) members = std::max(members, group.members.size());
    const auto rows = static_cast<std::int32_t>(groups_.size());
    const auto table = AddTable(
        *sheet_, rows, 1, {session_.text(text_id::kGridsCaption), session_.text(text_id::kGridsSubcaption)},
        share_columns(members));
    table->WrapNames();
    BodyWriter body(*table, rows);
    std::vector<std::int32_t> without;
    for (const Group& group : groups_) {
      const std::int32_t row = body.next_row();
      const auto shares = model::VarianceSharesOf(group.grid, output_.rules());
      const std::int32_t together = static_cast<std::int32_t>(members) + 3;
      body.block().set_text(row, 1, name_of(group.members));
      body.block().set_number(row, 2, group.rank);
      for (std::int32_t member = 1; member <= static_cast<std::int32_t>(group.members.size()); ++member)
        put(body.block(), row, member + 2,
            shares ? std::optional(shares->alone[index(member)]) : std::nullopt);
      put(body.block(), row, together, shares ? std::optional(shares->together) : std::nullopt);
      if (!shares) without.push_back(body.rows());
    }
    body.flush();
    for (const std::int32_t row : without)
      table->AddTableNote(row, 3, session_.text(text_id::kNoteTitle), session_.text(text_id::kGridsNoShares));
    table->FilterRows();
  }

  static std::size_t index(std::int32_t position) { return static_cast<std::size_t>(position - 1); }

  static void put(host::CellBlock& block, std::int32_t row, std::int32_t column,
                  std::optional<double> value) {
    if (value)
      block.set_number(row, column, *value);
    else
      block.set_text(row, column, host::kNotShown);
  }

  // ---- Grids ----

  void write_grids(const Group& group) {
    CheckUserCancel(session_);
    const std::size_t panels = group.members.size() == kMostMembers ? group.grid.values[2].size() : 1;
    for (std::size_t third = 0; third < panels; ++third) write_panel({group, third});
  }

  std::string caption_of(const Panel& panel) const {
    const auto& members = panel.group.members;
    if (members.size() < kMostMembers) return name_of(members);
    const double value = panel.group.grid.values[2][panel.third];
    return session_.text(text_id::kGridsPanel, name_of({members[0], members[1]}), ItemLabel(*members[2]),
                         NumberText(session_, value, ValueFormat(*members[2]), kDigitsOfCell));
  }

  void write_panel(const Panel& panel) {
    const model::DralInputOutput &down = *panel.group.members[0], &across = *panel.group.members[1];
    const auto rows = static_cast<std::int32_t>(panel.rows());
    const SharedColumns shared(context_);
    std::vector<layout::Column> results(panel.columns(), shared.value(ValueFormat(output_)));
    std::vector<layout::Column> columns = {layout::figure_column(ItemLabel(down))};
    columns.front().number_format = ValueFormat(down);
    columns = ruled(std::move(columns));
    layout::append(columns, layout::grouped(ItemLabel(across), 1, std::move(results)));
    const auto table = AddTable(
        *sheet_, rows, 2,
        {caption_of(panel), panel.group.base ? "" : session_.text(text_id::kGridsBaseLeftOut)}, columns);
    write_values(panel, *table);
    color(panel, *table);
    mark_base(panel, *table);
    part_results(panel, *table);  // over the frame where they meet
  }

  void write_values(const Panel& panel, layout::ReportTable& table) {
    const auto rows = static_cast<std::int32_t>(panel.rows());
    const auto columns = static_cast<std::int32_t>(panel.columns());
    host::CellBlock header(1, columns), body(rows, columns + 1);
    for (std::int32_t column = 1; column <= columns; ++column)
      header.set_number(1, column, panel.group.grid.values[1][index(column)]);
    for (std::int32_t row = 1; row <= rows; ++row) {
      body.set_number(row, 1, panel.group.grid.values[0][index(row)]);
      for (std::int32_t column = 1; column <= columns; ++column) {
        std::int32_t flags = 0;
        FormatTableValue(output_.rules(), body, row, column + 1, panel.result(index(row), index(column)),
                         flags, 1.0, model::OrdvaneDivisorOutput);
      }
    }
    const auto captions = table.Header(2, 2, 1, columns);
    captions->set_number_format(ValueFormat(*panel.group.members[1]));
    captions->put(header);
    table.PutBody(1, body);
    table.Body(1, 1, rows)->set_font({.bold = true, .color = layout::look::kAccent});
  }

  bool usable(double value) const { return output_.rules().is_usable(value); }

  // All panels of a group have one scale. Without a base value among the results there are two colours.
  void color(const Panel& panel, layout::ReportTable& table) {
    std::optional<double> least, greatest;
    for (const double result : panel.group.grid.results) {
      if (!usable(result)) continue;
      least = std::min(least.value_or(result), result);
      greatest = std::max(greatest.value_or(result), result);
    }
    if (!least || *least == *greatest) return;
    const double base = output_.BaseValue();
    std::vector<host::ColorStop> stops = {{*least, kBelow}, {base, kAtBase}, {*greatest, kAbove}};
    if (!usable(base) || base >= *greatest)
      stops = {{*least, kBelow}, {*greatest, kAtBase}};
    else if (base <= *least)
      stops = {{*least, kAtBase}, {*greatest, kAbove}};
    table.Body(1, 2, static_cast<std::int32_t>(panel.rows()), static_cast<std::int32_t>(panel.columns()))
        ->add_color_scale(stops);
  }

  // A line between neighbours of which one is below the target and the other is not.
  void part_results(const Panel& panel, layout::ReportTable& table) {
    const auto parted = [&](std::size_t row, std::size_t column, std::size_t other_row, std::size_t other) {
      const double a = panel.result(row, column), b = panel.result(other_row, other);
      return usable(a) && usable(b) && (a < target()) != (b < target());
    };
    const auto draw = [&](std::size_t row, std::size_t column, host::Edge edge) {
      table.Body(static_cast<std::int32_t>(row) + 1, static_cast<std::int32_t>(column) + 2)
          ->set_border(edge, layout::look::rule(host::LineWeight::kThick, kLine));
    };
    for (std::size_t row = 0; row < panel.rows(); ++row)
      for (std::size_t column = 0; column < panel.columns(); ++column) {
        if (column + 1 < panel.columns() && parted(row, column, row, column + 1))
          draw(row, column, host::Edge::kRight);
        if (row + 1 < panel.rows() && parted(row, column, row + 1, column))
          draw(row, column, host::Edge::kBottom);
      }
  }

  void mark_base(const Panel& panel, layout::ReportTable& table) {
    const auto& base = panel.group.base;
    if (!base || (base->size() == kMostMembers && (*base)[2] != panel.third)) return;
    const auto cell =
        table.Body(static_cast<std::int32_t>((*base)[0]) + 1, static_cast<std::int32_t>((*base)[1]) + 2);
    cell->set_font({.bold = true});
    for (const host::Edge edge :
         {host::Edge::kLeft, host::Edge::kTop, host::Edge::kRight, host::Edge::kBottom})
      cell->set_border(edge, layout::look::rule(host::LineWeight::kMedium, layout::look::kText));
  }

  const Context& context_;
  session::Session& session_;
  const model::DralInputOutput& output_;
  std::int32_t selected_;
  const model::MultiWayRun& run_;
  std::vector<Group> groups_;  // by rank
  std::vector<std::string> left_out_;
  std::size_t further_ = 0;  // groups that would have a grid
  std::shared_ptr<layout::ReportSheet> sheet_;
};

}  // namespace

void MakeGridsReport(const Context& context, std::int32_t selected, const model::MultiWayRun& run,
                     const model::GroupEffects& effects) {
  Grids(context, selected, run, effects).make();
}

}  // namespace ordvane::reports
