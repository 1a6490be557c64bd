#include "page/section.h"

#include <cmath>
#include <limits>

#include "page/charts.h"
#include "page/html.h"

namespace ordvane::page {
namespace {

using Attributes = Html::Attributes;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// A column of a table. Scripts know it by `key`; columns of figures are sorted by size.
struct Column {
  const char* key;
  std::string heading;
  bool figures = true;
};

class Section {
 public:
  Section(const Views& views, const View& view, std::size_t number, Rows rows)
      : views_(views),
        view_(view),
        texts_(views.texts()),
        number_(std::to_string(number)),
        rows_(rows),
        is_first_(number == 0) {}

  std::string write() {
    html_.open("section", {{"class", "view"}, {"id", id("view")}, {"aria-labelledby", id("heading")}});
    html_.open("h2", {{"id", id("heading")}}).text(view_.name);
    html_.leaf("span", view_.place, {{"class", "place"}}).end();
    html_.open("p", {{"class", "base-value"}}).text(texts_.text(text_id::kLabelBaseValue) + " ");
    html_.leaf("strong", view_.figures.text(view_.base)).end();
    html_.leaf("p", view_.ranking.sentence, {{"class", "sentence"}});
    graph("tornado", texts_.text(text_id::kTornadoChartTitle, view_.name),
          tornado(views_, view_, look("tornado")));
    inputs_table();
    groups_table();
    graph("spider", texts_.text(text_id::kSpiderChartTitle, view_.name),
          spider(views_, view_, look("spider")));
    panels();
    steps_table();
    html_.end();
    return html_.take();
  }

 private:
  std::string id(const std::string& name) const { return name + "-" + number_; }
  GraphLook look(const std::string& name) const { return {.in_page = true, .id = id(name)}; }

  void graph(const char* kind, const std::string& title, const std::string& svg) {
    if (svg.empty()) return;
    html_.open("figure", {{"class", kind}}).leaf("h3", title).raw(svg).end();
  }

  void panels() {
    std::string svgs;
    for (const embedded::Effect* effect : view_.on_graphs)
      svgs += sensitivity_panel(views_, view_, *effect, look("panel-" + std::to_string(effect->input_index)));
    if (svgs.empty()) return;
    html_.open("figure", {{"class", "sensitivity"}});
    html_.leaf("h3", texts_.text(text_id::kSensitivityTitle) + ": " + view_.name);
    html_.leaf("p", texts_.text(text_id::kSensitivityDrawn), {{"class", "note"}});
    html_.open("div", {{"class", "panels"}}).raw(svgs).end().end();
  }

  // The frame of a table with its title, which can be scrolled by keyboard.
  void open_table(const char* kind, const std::string& caption, const std::vector<Column>& columns) {
    html_.open("div", {{"class", "table"}, {"data-table", kind}});
    html_.open("div", {{"class", "scroll"}, {"tabindex", "0"}, {"role", "region"}, {"aria-label", caption}});
    html_.open("table").leaf("caption", caption).open("thead").open("tr");
    for (const Column& column : columns)
      html_.leaf("th", column.heading,
                 {{"scope", "col"}, {"data-key", column.key}, {"class", column.figures ? "n" : "t"}});
    html_.end().end().open("tbody");
  }
  void close_table() { html_.end().end().end().end(); }

  std::string caption(session::TextId<1> text, std::size_t count) const {
    return view_.name + " – " + texts_.text(text, std::to_string(count));
  }

  void figure_cell(const std::string& text) { html_.cell(text); }

  void inputs_table() {
    const auto text = [&](auto text_id) { return texts_.text(text_id); };
    open_table("inputs", caption(text_id::kTornadoCaption, view_.ranking.effects.size()),
               {{"rank", text(text_id::kHeadingRank)},
                {"name", text(text_id::kHeadingInput), false},
                {"at_low", text(text_id::kPageAtLowest)},
                {"low", text(text_id::kRangeLowest)},
                {"at_high", text(text_id::kPageAtHighest)},
                {"high", text(text_id::kRangeHighest)},
                {"swing", text(text_id::kRangeSwing)},
                {"break_even",
                 texts_.text(text_id::kAnswersOutputAt, view_.figures.text(view_.ranking.answers.target))},
                {"share", text(text_id::kAnswersShare)},
                {"cumulative", text(text_id::kAnswersCumulative)},
                {"downside", text(text_id::kAnswersDownside)},
                {"upside", text(text_id::kAnswersUpside)},
                {"elasticity", elasticity_heading(text_id::kAnswersElasticityBase)},
                {"arc_elasticity", elasticity_heading(text_id::kAnswersElasticityArc)},
                {"remarks", text(text_id::kPageRemarks), false}});
    if (rows_ == Rows::kAll)
      for (const embedded::Effect& effect : view_.ranking.effects) input_row(effect);
    close_table();
    html_.leaf("p", texts_.text(text_id::kTornadoSubcaption), {{"class", "note"}});
    notes();
  }

  void input_row(const embedded::Effect& effect) {
    const InputFacts& input = views_.input_of(effect);
    html_.open("tr", {{"data-input", std::to_string(effect.input_index)}});
    figure_cell(std::to_string(effect.rank));
    html_.open("th", {{"scope", "row"}}).text(input.name);
    html_.leaf("small", input.place).end();
    figure_cell(input.figures.text(number_or_nan(effect.input_at_low)));
    figure_cell(view_.figures.text(number_or_nan(effect.low)));
    figure_cell(input.figures.text(number_or_nan(effect.input_at_high)));
    figure_cell(view_.figures.text(number_or_nan(effect.high)));
    figure_cell(view_.figures.difference(number_or_nan(effect.swing)));
    const model::InputAnswers& answers = view_.answers(effect);
    figure_cell(break_even_text(input, answers));
    figure_cell(figure_text(answers.share, kShareFormat));
    figure_cell(figure_text(answers.cumulative_share, kShareFormat));
    figure_cell(view_.figures.difference(answers.downside.value_or(kNone)));
    figure_cell(view_.figures.difference(answers.upside.value_or(kNone)));
    figure_cell(figure_text(answers.elasticity, kElasticityFormat));
    figure_cell(figure_text(answers.arc_elasticity, kElasticityFormat));
    const std::string remarks = remarks_of(views_, view_, effect);
    if (remarks.empty())
      figure_cell(remarks);
    else
      html_.leaf("td", remarks, {{"class", "t"}});
    html_.end();
  }

  std::string figure_text(const std::optional<double>& figure, const char* format) const {
    return figure ? formatted(*figure, format, views_.language()) : kNoNumber;
  }

  std::string elasticity_heading(session::TextId<0> of) const {
    return texts_.text(text_id::kAnswersElasticity) + " (" + texts_.text(of) + ")";
  }

  static std::string break_even_text(const InputFacts& input, const model::InputAnswers& answers) {
    std::string text;
    for (const model::Crossing& crossing : answers.break_even.reached)
      text += (text.empty() ? "" : "; ") + input.figures.text(crossing.input);
    return text.empty() ? kNoNumber : text;
  }

  // What is to be known of inputs that leave the base value out, or move nothing.
  void notes() {
    std::vector<std::string> without_effect, base_left_out;
    for (const embedded::Effect& effect : view_.ranking.effects) {
      const std::string& name = views_.input_of(effect).name;
      if (effect.facts.without_effect()) without_effect.push_back(name);
      if (effect.facts.leaves_out_base) base_left_out.push_back(name);
    }
    for (const auto& [names, text] : {std::pair(without_effect, text_id::kInputsWithoutEffect),
                                      std::pair(base_left_out, text_id::kInputsBaseLeftOut)})
      if (!names.empty()) html_.leaf("p", texts_.text(text, texts_.list_of(names)), {{"class", "note"}});
  }

  void groups_table() {
    if (view_.ranking.groups.empty()) return;
    open_table("groups", caption(text_id::kMultiTornadoCaption, view_.ranking.groups.size()),
               {{"rank", texts_.text(text_id::kHeadingRank)},
                {"name", texts_.text(text_id::kMultiWayInputs), false},
                {"low", texts_.text(text_id::kRangeLowest)},
                {"high", texts_.text(text_id::kRangeHighest)},
                {"swing", texts_.text(text_id::kRangeSwing)},
                {"interaction", texts_.text(text_id::kMultiWayInteraction)}});
    const auto& groups = view_.ranking.groups;
    for (std::size_t g = 0; g < std::min(groups.size(), kMostGroups); ++g) group_row(groups[g]);
    close_table();
    html_.leaf("p", texts_.text(text_id::kMultiWayInteractionNote), {{"class", "note"}});
  }

  void group_row(const embedded::GroupRanking& group) {
    std::string names;
    for (const auto& member : group.members) names += (names.empty() ? "" : " × ") + member.input;
    html_.open("tr");
    figure_cell(std::to_string(group.rank));
    html_.leaf("th", names, {{"scope", "row"}});
    figure_cell(view_.figures.text(number_or_nan(group.low)));
    figure_cell(view_.figures.text(number_or_nan(group.high)));
    figure_cell(view_.figures.difference(number_or_nan(group.swing)));
    figure_cell(view_.figures.difference(number_or_nan(group.interaction)));
    html_.end();
  }

  // The steps of the inputs that graphs have; behind the first output a script fills the table.
  void steps_table() {
    const std::string caption = texts_.text(text_id::kSensitivityCaption, view_.name);
    html_.open("details", {{"class", "steps"}}).leaf("summary", texts_.text(text_id::kPageEveryStep));
    std::vector<Column> columns = {{"name", texts_.text(text_id::kHeadingInput), false},
                                   {"step", texts_.text(text_id::kHeadingStep)},
                                   {"value", texts_.text(text_id::kHeadingValue)},
                                   {"output", texts_.text(text_id::kHeadingOutput)}};
    if (view_.has_changes()) columns.push_back({"change", texts_.text(text_id::kHeadingChangePercent)});
    open_table("steps", caption, columns);
    if (is_first_)
      for (const embedded::Effect* effect : view_.on_graphs) step_rows(*effect);
    close_table();
    html_.end();
  }

  void step_rows(const embedded::Effect& effect) {
    const InputFacts& input = views_.input_of(effect);
    int number = 0;
    for (const Point& point : views_.points(view_, effect)) {
      html_.open("tr", {{"data-input", std::to_string(effect.input_index)}});
      html_.leaf("th", input.name, {{"scope", "row"}});
      figure_cell(std::to_string(++number));
      figure_cell(input.figures.text(point.input));
      figure_cell(view_.figures.text(point.output));
      if (view_.has_changes()) figure_cell(change_text(view_.change(point.output), views_.language()));
      html_.end();
    }
  }

  const Views& views_;
  const View& view_;
  const session::Session& texts_;
  std::string number_;
  Rows rows_;
  bool is_first_;
  Html html_;
};

}  // namespace

std::string remarks_of(const Views& views, const View& view, const embedded::Effect& effect) {
  const session::Session& texts = views.texts();
  const model::Shape& shape = view.answers(effect).shape;
  std::string remarks;
  const auto add = [&](const std::string& text) { remarks += (remarks.empty() ? "" : "; ") + text; };
  for (const auto& extreme : {shape.peak, shape.valley})
    if (extreme)
      add(texts.text(text_id::kAnswersTurnsAt) + " " + views.input_of(effect).figures.text(extreme->input));
  if (shape.bends() && !shape.turns())
    add(texts.text(text_id::kAnswersBend) + " " + formatted(*shape.bend, "0%", views.language()));
  if (effect.facts.failed > 0)
    add(texts.text(text_id::kNoteFailedResults, std::to_string(effect.facts.failed),
                   std::to_string(effect.facts.steps)));
  return remarks;
}

std::string section(const Views& views, const View& view, std::size_t number, Rows rows) {
  return Section(views, view, number, rows).write();
}

}  // namespace ordvane::page
