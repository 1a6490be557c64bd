// Puts a package together: lists the parts, has them encoded and compressed side by side, packs them in
// order.
#include <algorithm>
#include <atomic>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "host/error.h"
#include "xlsx/archive.h"
#include "xlsx/parts.h"
#include "xlsx/save.h"

namespace ordvane::xlsx {
namespace {

constexpr const char* kOffice = "application/vnd.openxmlformats-officedocument.";
constexpr const char* kSpreadsheet = "application/vnd.openxmlformats-officedocument.spreadsheetml.";

// Asks the caller's question on one thread at a time, and never again once it was answered with yes.
class Cancellation {
 public:
  explicit Cancellation(const std::function<bool()>& cancelled) : cancelled_(cancelled) {}
  void check() {
    if (!cancelled_) return;
    const std::lock_guard lock(mutex_);
    if (!answered_yes_) answered_yes_ = cancelled_();
    if (answered_yes_) throw host::Error(host::errc::kUserCancelled, "cancelled");
  }

 private:
  const std::function<bool()>& cancelled_;
  std::mutex mutex_;
  bool answered_yes_ = false;
};

struct Part {
  std::string name;
  std::string content_type;  // empty: the one of its extension
  std::vector<Piece> pieces;
};

// The parts of a workbook and how they refer to each other. Holds references to what it is made from.
class PartList {
 public:
  PartList(const office::BookModel& book, const SaveOptions& options, const SharedTexts& texts)
      : book_(book), texts_(texts) {
    add_document(options);
    for (std::size_t i = 0; i < book.sheets.size(); ++i) add_sheet(i);
    add_content_types();
  }
  const std::vector<Part>& parts() const { return parts_; }

 private:
  void add(std::string name, std::string content_type, Piece whole) {
    parts_.push_back({std::move(name), std::move(content_type), {std::move(whole)}});
  }
  void add_relationships(std::string name, std::vector<Relationship> relationships) {
    add(std::move(name), "", [list = std::move(relationships)] { return relationships_part(list); });
  }

  void add_document(const SaveOptions& options) {
    add_relationships("_rels/.rels", {{"officeDocument", "xl/workbook.xml"},
                                      {"core-properties", "docProps/core.xml"},
                                      {"extended-properties", "docProps/app.xml"}});
    add("docProps/core.xml", "application/vnd.openxmlformats-package.core-properties+xml",
        [this, &options] { return core_properties_part(book_.properties, options.created); });
    add("docProps/app.xml", std::string(kOffice) + "extended-properties+xml",
        [this] { return app_properties_part(book_); });
    add("xl/workbook.xml", std::string(kSpreadsheet) + "sheet.main+xml",
        [this] { return workbook_part(book_); });
    add_workbook_relationships();
    add("xl/theme/theme1.xml", std::string(kOffice) + "theme+xml", [] { return theme_part(); });
    add("xl/styles.xml", std::string(kSpreadsheet) + "styles+xml",
        [this] { return styles_part(book_.styles); });
    if (has_texts())
      add("xl/sharedStrings.xml", std::string(kSpreadsheet) + "sharedStrings+xml",
          [this] { return shared_texts_part(book_, texts_); });
  }

  bool has_texts() const { return !texts_.used.empty(); }

  void add_workbook_relationships() {
    std::vector<Relationship> list;
    for (std::size_t i = 0; i < book_.sheets.size(); ++i)
      list.push_back({"worksheet", "worksheets/sheet" + std::to_string(i + 1) + ".xml"});
    list.push_back({"theme", "theme/theme1.xml"});
    list.push_back({"styles", "styles.xml"});
    if (has_texts()) list.push_back({"sharedStrings", "sharedStrings.xml"});
    add_relationships("xl/_rels/workbook.xml.rels", std::move(list));
  }

  void add_sheet(std::size_t position) {
    const office::SheetModel& sheet = *book_.sheets[position];
    const std::string number = std::to_string(position + 1);
    std::vector<Relationship> list;
    SheetLinks links;
    if (!sheet.charts.empty()) {
      links.drawing = relationship_id(list.size());
      list.push_back({"drawing", "../drawings/drawing" + std::to_string(drawings_ + 1) + ".xml"});
    }
    if (!sheet.comments.empty()) {
      links.legacy_drawing = relationship_id(list.size());
      list.push_back({"vmlDrawing", "../drawings/vmlDrawing" + number + ".vml"});
      list.push_back({"comments", "../comments" + number + ".xml"});
    }
    parts_.push_back({"xl/worksheets/sheet" + number + ".xml", std::string(kSpreadsheet) + "worksheet+xml",
                      sheet_pieces(book_, position, texts_, links)});
    if (!list.empty()) add_relationships("xl/worksheets/_rels/sheet" + number + ".xml.rels", std::move(list));
    if (!sheet.charts.empty()) add_drawing(sheet);
    if (!sheet.comments.empty()) add_notes(sheet, position + 1);
  }

  void add_notes(const office::SheetModel& sheet, std::size_t number) {
    add("xl/comments" + std::to_string(number) + ".xml", std::string(kSpreadsheet) + "comments+xml",
        [&sheet] { return comments_part(sheet); });
    add("xl/drawings/vmlDrawing" + std::to_string(number) + ".vml", "",
        [&sheet, number] { return notes_drawing_part(sheet, number); });
  }

  void add_drawing(const office::SheetModel& sheet) {
    const std::string name = "drawing" + std::to_string(++drawings_) + ".xml";
    add("xl/drawings/" + name, std::string(kOffice) + "drawing+xml",
        [&sheet] { return drawing_part(sheet); });
    std::vector<Relationship> list;
    for (std::size_t i = 0; i < sheet.charts.size(); ++i)
      list.push_back({"chart", "../charts/chart" + std::to_string(charts_ + i + 1) + ".xml"});
    add_relationships("xl/drawings/_rels/" + name + ".rels", std::move(list));
    for (const auto& chart : sheet.charts) add_chart(*chart);
  }

  void add_chart(const office::ChartModel& chart) {
    const std::string name = "chart" + std::to_string(++charts_) + ".xml";
    const std::string user_shapes = chart.text_boxes.empty() ? "" : relationship_id(0);
    add("xl/charts/" + name, std::string(kOffice) + "drawingml.chart+xml",
        [this, &chart, user_shapes] { return chart_part(book_, chart, user_shapes); });
    if (chart.text_boxes.empty()) return;
    const std::string drawing = "drawing" + std::to_string(++drawings_) + ".xml";
    add_relationships("xl/charts/_rels/" + name + ".rels", {{"chartUserShapes", "../drawings/" + drawing}});
    add("xl/drawings/" + drawing, std::string(kOffice) + "drawingml.chartshapes+xml",
        [&chart] { return user_shapes_part(chart); });
  }

  // First in the package, as readers expect.
  void add_content_types() {
    std::vector<PartType> types;
    for (const Part& part : parts_)
      if (!part.content_type.empty()) types.push_back({"/" + part.name, part.content_type});
    parts_.insert(parts_.begin(),
                  {"[Content_Types].xml", "", {[types] { return content_types_part(types); }}});
  }

  const office::BookModel& book_;
  const SharedTexts& texts_;
  std::vector<Part> parts_;
  std::size_t drawings_ = 0, charts_ = 0;  // given out so far
};

// Makes and compresses the pieces of all parts until none is left or one has failed.
class Workers {
 public:
  Workers(const std::vector<Part>& parts, int level, Cancellation& cancellation)
      : parts_(parts), level_(level), cancellation_(cancellation) {
    for (std::size_t part = 0; part < parts.size(); ++part) {
      results_.emplace_back(parts[part].pieces.size());
      for (std::size_t piece = 0; piece < parts[part].pieces.size(); ++piece)
        tasks_.push_back({part, piece, {}});
    }
  }

  std::size_t task_count() const { return tasks_.size(); }

  std::vector<ArchiveEntry> run(unsigned threads) {
    {
      std::vector<std::jthread> helpers;
      for (unsigned i = 1; i < threads; ++i) helpers.emplace_back([this] { work(); });
      work();
    }
    for (const Task& task : tasks_)
      if (task.failure) std::rethrow_exception(task.failure);
    std::vector<ArchiveEntry> entries;
    for (std::size_t part = 0; part < parts_.size(); ++part)
      entries.push_back(join(parts_[part].name, results_[part]));
    return entries;
  }

 private:
  struct Task {
    std::size_t part, piece;
    std::exception_ptr failure;
  };

  void work() {
    for (std::size_t i = next_++; i < tasks_.size() && !failed_; i = next_++) {
      try {
        cancellation_.check();
        make(tasks_[i]);
      } catch (...) {
        tasks_[i].failure = std::current_exception();
        failed_ = true;
      }
    }
  }

  void make(const Task& task) {
    const std::vector<Piece>& pieces = parts_[task.part].pieces;
    const bool last = task.piece + 1 == pieces.size();
    results_[task.part][task.piece] = compress(pieces[task.piece](), level_, last);
  }

  const std::vector<Part>& parts_;
  int level_;
  Cancellation& cancellation_;
  std::vector<Task> tasks_;
  std::vector<std::vector<CompressedPiece>> results_;  // by part and piece
  std::atomic<std::size_t> next_ = 0;
  std::atomic<bool> failed_ = false;
};

unsigned thread_count(unsigned wanted, std::size_t tasks) {
  const unsigned count = wanted != 0 ? wanted : std::max(1U, std::thread::hardware_concurrency());
  return static_cast<unsigned>(std::min<std::size_t>(count, tasks));
}

}  // namespace

std::string package(const office::BookModel& book, const SaveOptions& options) {
  Cancellation cancellation(options.cancelled);
  cancellation.check();
  const SharedTexts texts = collect_texts(book);
  const PartList list(book, options, texts);
  Workers workers(list.parts(), options.compression_level, cancellation);
  const std::vector<ArchiveEntry> entries = workers.run(thread_count(options.threads, workers.task_count()));
  cancellation.check();
  return archive(entries);
}

}  // namespace ordvane::xlsx
