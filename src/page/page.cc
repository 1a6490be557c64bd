#include "page/page.h"

#include <vector>

#include "layout/look.h"
#include "page/charts.h"
#include "page/frame.h"
#include "page/html.h"
#include "page/page_data.h"
#include "page/resources.h"
#include "page/section.h"
#include "page/views.h"
#include "xlsx/whole_file.h"

namespace ordvane::page {
namespace {

// Graphs and tables of so many inputs and outputs stand in the page itself, readable without a script; of
// more, those of the first output.
constexpr std::size_t kMostInElements = 400;

class Page {
 public:
  explicit Page(const Views& views) : views_(views), texts_(views.texts()), all_(views.all()) {
    all_in_elements_ = views.inputs().size() * all_.size() <= kMostInElements;
  }

  std::string write() {
    open_page(html_, {.language = views_.options().language,
                      .title = title(),
                      .palette = palette_of(views_.options()),
                      .script_hash = kPageScriptHash});
    html_.open("body", {{"class", views_.options().percent ? "changes" : "values"}});
    html_.leaf("a", texts_.text(text_id::kPageSkip), {{"class", "skip"}, {"href", "#results"}});
    header();
    controls();
    results();
    html_.leaf("p", "", {{"id", "said"}, {"class", "unseen"}, {"role", "status"}, {"aria-live", "polite"}});
    html_.open("script", {{"type", "application/json"}, {"id", "data"}});
    html_.raw(page_data(views_, sections_)).end();
    html_.open("script").raw(kPageScript).end();
    html_.end().end().raw("\n");
    return html_.take();
  }

 private:
  std::string title() const {
    return texts_.text(text_id::kDocumentTitle, views_.run().file.filename().string());
  }

  void header() {
    html_.open("header").leaf("h1", title()).open("dl");
    for (const auto& [name, count] :
         {std::pair(text_id::kSummaryInputs, views_.inputs().size()),
          std::pair(text_id::kSummaryOutputsSelected,
                    all_.size() / static_cast<std::size_t>(views_.run().simulations)),
          std::pair(text_id::kSummaryRecalculations,
                    static_cast<std::size_t>(views_.run().recalculations))}) {
      html_.open("div").leaf("dt", texts_.text(name));
      html_.leaf("dd", formatted(static_cast<double>(count), "#,##0", views_.language())).end();
    }
    html_.end().end();
  }

  // Shown by the script that they need.
  void controls() {
    html_.open("form",
               {{"class", "controls"}, {"hidden", ""}, {"aria-label", texts_.text(text_id::kPageControls)}});
    html_.open("label").leaf("span", texts_.text(text_id::kLabelOutput)).open("select", {{"id", "output"}});
    for (std::size_t i = 0; i < all_.size(); ++i)
      html_.leaf("option", all_[i].name, {{"value", std::to_string(i)}});
    html_.end().end();
    html_.open("fieldset").leaf("legend", texts_.text(text_id::kPageShow));
    const bool percent = views_.options().percent;
    choice("values", texts_.text(text_id::kHeadingValue), !percent);
    choice("changes", texts_.text(text_id::kHeadingChangePercent), percent);
    html_.end();
    html_.open("label").leaf("span", texts_.text(text_id::kPageFilter));
    html_.single("input", {{"type", "search"}, {"id", "filter"}, {"autocomplete", "off"}}).end();
    html_.open("div", {{"class", "target"}}).open("label", {{"for", "target"}});
    html_.leaf("span", texts_.text(text_id::kPageTarget)).end();
    html_.single("input",
                 {{"type", "text"}, {"inputmode", "decimal"}, {"id", "target"}, {"autocomplete", "off"}});
    html_.single("input",
                 {{"type", "range"}, {"id", "slider"}, {"aria-label", texts_.text(text_id::kPageTarget)}});
    html_.end().end();
  }

  void choice(std::string_view value, const std::string& text, bool chosen) {
    html_.open("label");
    if (chosen)
      html_.single("input", {{"type", "radio"}, {"name", "show"}, {"value", value}, {"checked", ""}});
    else
      html_.single("input", {{"type", "radio"}, {"name", "show"}, {"value", value}});
    html_.text(" " + text).end();
  }

  void results() {
    html_.open("main", {{"id", "results"}});
    sections_.assign(all_.size(), "");
    for (std::size_t i = 0; i < all_.size(); ++i) {
      const bool in_page = i == 0 || all_in_elements_;
      std::string written = section(views_, all_[i], i, in_page ? Rows::kAll : Rows::kNone);
      if (i == 0)
        html_.raw(written);
      else if (in_page)
        html_.open("details", {{"class", "other"}}).leaf("summary", all_[i].name).raw(written).end();
      else
        sections_[i] = std::move(written);
    }
    if (!all_in_elements_ && all_.size() > 1)
      html_.open("noscript").leaf("p", texts_.text(text_id::kPageNeedsScripts)).end();
    html_.end();
  }

  const Views& views_;
  const session::Session& texts_;
  const std::vector<View>& all_;
  bool all_in_elements_;
  std::vector<std::string> sections_;  // those that the script puts in
  Html html_;
};

}  // namespace

std::size_t write_page(const std::shared_ptr<const runfile::Run>& run, const std::filesystem::path& file,
                       const embedded::ReportOptions& options) {
  embedded::check_apart(*run, file);
  const auto views = views_of(run, options);
  if (options.cancelled && options.cancelled()) throw host::Error(host::errc::kUserCancelled, "Cancelled");
  xlsx::WholeFileOptions writing;
  writing.replace = options.overwrite;
  xlsx::write_whole(file, Page(*views).write(), writing);
  return views->all().size() / static_cast<std::size_t>(run->simulations);
}

}  // namespace ordvane::page
