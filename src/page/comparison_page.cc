#include "page/comparison_page.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "environment/standard_environment.h"
#include "exchange/comparison_report.h"
#include "page/charts.h"
#include "page/frame.h"
#include "page/html.h"
#include "xlsx/whole_file.h"

namespace ordvane::page {
namespace {

using exchange::ComparedInput;
using exchange::ComparedOutput;
using exchange::FigurePair;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kMostNamed = 3;  // in the text for who cannot see a chart

std::vector<double> values_of(const FigurePair& pair) {
  return {pair.before.value_or(kNone), pair.now.value_or(kNone)};
}

class ComparisonPage {
 public:
  ComparisonPage(const exchange::Comparison& comparison, const embedded::ReportOptions& options)
      : comparison_(comparison), options_(options), language_(environment::language(options.language)) {
    environment::Settings settings;
    settings.language = options.language;
    texts_.environment = std::make_shared<environment::StandardEnvironment>(settings);
    texts_.string_table = environment::make_string_table(language_);
  }

  std::string write() {
    const std::string title = text(text_id::kComparisonTitle);
    open_page(html_, {.language = options_.language,
                      .title = title + ": " + comparison_.now->file.filename().string(),
                      .palette = palette_of(options_),
                      .script_hash = ""});
    html_.open("body", {{"class", "values"}});
    html_.open("header").leaf("h1", title).open("dl");
    for (const auto& [name, run] : {std::pair(text_id::kComparisonBefore, comparison_.before),
                                    std::pair(text_id::kComparisonNow, comparison_.now)})
      html_.open("div").leaf("dt", text(name)).leaf("dd", run->file.filename().string()).end();
    html_.end().end().open("main");
    bases(text(text_id::kComparisonOutputs), comparison_.outputs);
    std::vector<std::string> as_before;
    for (const ComparedOutput& output : comparison_.outputs) {
      if (exchange::is_as_before(output))
        as_before.push_back(output.item.name);
      else if (!output.inputs.empty())
        swings(output);
    }
    if (!as_before.empty())
      html_.leaf("p", texts_.text(text_id::kComparisonAsBefore, texts_.list_of(as_before)),
                 {{"class", "note"}});
    bases(text(text_id::kComparisonInputs), comparison_.inputs);
    html_.end().end().end().raw("\n");
    return html_.take();
  }

 private:
  std::string text(session::TextId<0> id) const { return texts_.text(id); }
  std::string share_text(const FigurePair& pair) const {
    return pair.share() ? change_text(*pair.share(), language_) : kNoNumber;
  }

  // A column of names begins with a "t".
  void open_table(const std::string& caption,
                  const std::vector<std::pair<const char*, std::string>>& columns) {
    html_.open("div", {{"class", "table"}});
    html_.open("div", {{"class", "scroll"}, {"tabindex", "0"}, {"role", "region"}, {"aria-label", caption}});
    html_.open("table").leaf("caption", caption).open("thead").open("tr");
    for (const auto& [kind, heading] : columns)
      html_.leaf("th", heading, {{"scope", "col"}, {"class", kind}});
    html_.end().end().open("tbody");
  }
  void close_table() { html_.end().end().end().end(); }

  void name_cell(const std::string& name, const runfile::Item& item) {
    html_.open("th", {{"scope", "row"}}).text(name);
    html_.leaf("small", item.sheet + "!" + item.cell).end();
  }

  // Items of one kind with their base values.
  void bases(const std::string& caption, const auto& items) {
    open_table(caption, {{"t", text(text_id::kHeadingName)},
                         {"t", text(text_id::kComparisonStatus)},
                         {"n", text(text_id::kComparisonBefore)},
                         {"n", text(text_id::kComparisonNow)},
                         {"n", text(text_id::kHeadingChange)},
                         {"n", text(text_id::kHeadingChangePercent)}});
    for (const auto& of : items) {
      const Figures figures(of.item.item(), values_of(of.base), language_);
      html_.open("tr");
      name_cell(of.item.name, of.item.item());
      html_.leaf("td", exchange::status_text(texts_, of.item), {{"class", "t"}});
      for (const double value : values_of(of.base)) html_.leaf("td", figures.text(value));
      html_.leaf("td", figures.difference(of.base.change().value_or(kNone)));
      html_.leaf("td", share_text(of.base)).end();
    }
    close_table();
  }

  void swings(const ComparedOutput& output) {
    const std::string number = std::to_string(&output - comparison_.outputs.data());
    std::vector<double> values = values_of(output.base);
    for (const ComparedInput& input : output.inputs)
      for (const double value : values_of(input.swing)) values.push_back(value);
    const Figures figures(output.item.item(), values, language_);
    html_.open("section", {{"class", "view"}, {"aria-labelledby", "heading-" + number}});
    html_.open("h2", {{"id", "heading-" + number}}).text(output.item.name);
    html_.leaf("span", output.item.item().sheet + "!" + output.item.item().cell, {{"class", "place"}}).end();
    chart(output, figures, number);
    table(output, figures);
    html_.end();
  }

  void chart(const ComparedOutput& output, const Figures& figures, const std::string& number) {
    const std::string title = texts_.text(text_id::kComparisonSwings, output.item.name);
    PairedBars bars{.title = title,
                    .text = "",
                    .before_name = text(text_id::kComparisonBefore),
                    .now_name = text(text_id::kComparisonNow),
                    .pairs = {},
                    .figures = figures};
    std::vector<std::string> told;
    for (const ComparedInput& input : output.inputs) {
      if (bars.pairs.size() == exchange::kMostPairs) break;
      const std::string& name = comparison_.inputs[input.input].item.name;
      bars.pairs.push_back({name, input.swing.before.value_or(kNone), input.swing.now.value_or(kNone)});
      if (told.size() < kMostNamed)
        told.push_back(name + " " + figures.difference(bars.pairs.back().before) + " → " +
                       figures.difference(bars.pairs.back().now));
    }
    bars.text = texts_.list_of(told);
    html_.open("figure", {{"class", "pairs"}}).leaf("h3", title);
    html_.raw(paired_bars(bars, texts_.environment->numbers(), language_, "pairs-" + number)).end();
  }

  void table(const ComparedOutput& output, const Figures& figures) {
    const std::string reached =
        texts_.text(text_id::kAnswersOutputAt, figures.text(exchange::target_of(comparison_, output)));
    const std::string before = text(text_id::kComparisonBefore), now = text(text_id::kComparisonNow);
    open_table(texts_.text(text_id::kComparisonSwings, output.item.name),
               {{"n", text(text_id::kHeadingRank)},
                {"n", text(text_id::kComparisonRankBefore)},
                {"t", text(text_id::kHeadingInput)},
                {"n", before},
                {"n", now},
                {"n", text(text_id::kHeadingChange)},
                {"n", text(text_id::kHeadingChangePercent)},
                {"n", reached + " (" + before + ")"},
                {"n", reached + " (" + now + ")"}});
    for (const ComparedInput& input : output.inputs) {
      const exchange::ItemPair& item = comparison_.inputs[input.input].item;
      html_.open("tr");
      for (const std::optional<std::int32_t>& rank : {input.rank, input.rank_before})
        html_.leaf("td", rank ? std::to_string(*rank) : kNoNumber);
      name_cell(item.name, item.item());
      for (const double value : values_of(input.swing)) html_.leaf("td", figures.difference(value));
      html_.leaf("td", figures.difference(input.swing.change().value_or(kNone)));
      html_.leaf("td", share_text(input.swing));
      std::vector<double> all = input.break_even_before;
      all.insert(all.end(), input.break_even.begin(), input.break_even.end());
      const Figures of_input(item.item(), all, language_);
      for (const std::vector<double>& values : {input.break_even_before, input.break_even}) {
        std::string list;
        for (const double value : values) list += (list.empty() ? "" : "; ") + of_input.text(value);
        html_.leaf("td", list.empty() ? kNoNumber : list);
      }
      html_.end();
    }
    close_table();
  }

  const exchange::Comparison& comparison_;
  const embedded::ReportOptions& options_;
  const environment::Language& language_;
  session::Session texts_;
  Html html_;
};

}  // namespace

void write_comparison(const exchange::Comparison& comparison, const std::filesystem::path& file,
                      const embedded::ReportOptions& options) {
  xlsx::WholeFileOptions writing;
  writing.replace = options.overwrite;
  xlsx::write_whole(file, ComparisonPage(comparison, options).write(), writing);
}

}  // namespace ordvane::page
