#include "xlsx/package_parts.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

#include "host/error.h"
#include "host/side_by_side.h"
#include "text/edit.h"
#include "xlsx/package_reader.h"

namespace ordvane::xlsx {
namespace {

// How one part names another. Ours lie in xl/ or in a folder of it; a sheet of others may lie anywhere.
std::string reference(const std::string& from, const std::string& to) {
  const bool usual = from.starts_with("xl/") && std::count(from.begin(), from.end(), '/') == 2;
  return usual ? "../" + to.substr(3) : "/" + to;
}

// The parts of one sheet.
class SheetParts {
 public:
  SheetParts(const SheetsByName& sheets, std::size_t position, PartNames& names, std::vector<Part>& parts)
      : sheets_(sheets),
        sheet_(*sheets.book().sheets[position]),
        position_(position),
        names_(names),
        parts_(parts) {}

  void add(const SheetPlace& place) {
    SheetFrame frame = place.frame;
    std::vector<Relationship> list;
    const std::size_t sheet = parts_.size();
    parts_.push_back({place.name, spreadsheet_type("worksheet"), {}});
    if (!sheet_.charts.empty()) {
      frame.drawing = relationship_id(list.size());
      list.push_back({"drawing", reference(place.name, add_drawing())});
    }
    if (!sheet_.comments.empty()) {
      frame.legacy_drawing = relationship_id(list.size());
      add_notes(place, list);
    }
    parts_[sheet].pieces = sheet_pieces(sheets_.book(), position_, frame);
    if (!list.empty()) add_relationships(place.name, std::move(list));
  }

 private:
  void add(const std::string& name, std::string content_type, Piece whole) {
    parts_.push_back(whole_part(name, std::move(content_type), std::move(whole)));
  }
  void add_relationships(const std::string& part, std::vector<Relationship> relationships) {
    add(relationships_of(part), "", [list = std::move(relationships)] { return relationships_part(list); });
  }

  void add_notes(const SheetPlace& place, std::vector<Relationship>& list) {
    const std::string drawing = names_.next("xl/drawings/vmlDrawing", ".vml");
    const std::string comments = names_.next("xl/comments", ".xml");
    add(drawing, office_type("vmlDrawing"), [this_sheet = &sheet_, numbers = place.note_numbers] {
      return notes_drawing_part(*this_sheet, numbers);
    });
    add(comments, spreadsheet_type("comments"),
        [this_sheet = &sheet_] { return comments_part(*this_sheet); });
    list.push_back({"vmlDrawing", reference(place.name, drawing)});
    list.push_back({"comments", reference(place.name, comments)});
  }

  // The drawing's name.
  std::string add_drawing() {
    std::string name = names_.next("xl/drawings/drawing", ".xml");
    add(name, office_type("drawing"), [this_sheet = &sheet_] { return drawing_part(*this_sheet); });
    std::vector<Relationship> list;
    for (const auto& chart : sheet_.charts) list.push_back({"chart", reference(name, add_chart(*chart))});
    add_relationships(name, std::move(list));
    return name;
  }

  std::string add_chart(const office::ChartModel& chart) {
    std::string name = names_.next("xl/charts/chart", ".xml");
    const std::string user_shapes = chart.text_boxes.empty() ? "" : relationship_id(0);
    add(name, office_type("drawingml.chart"),
        [all = &sheets_, &chart, user_shapes] { return chart_part(*all, chart, user_shapes); });
    if (chart.text_boxes.empty()) return name;
    const std::string drawing = names_.next("xl/drawings/drawing", ".xml");
    add_relationships(name, {{"chartUserShapes", reference(name, drawing)}});
    add(drawing, office_type("drawingml.chartshapes"), [&chart] { return user_shapes_part(chart); });
    return name;
  }

  const SheetsByName& sheets_;
  const office::SheetModel& sheet_;
  const std::size_t position_;
  PartNames& names_;
  std::vector<Part>& parts_;
};

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

// Makes and compresses the pieces of all parts until none is left or one has failed. The thread that brings
// the piece that is due hands it on, and what waits behind it.
class Workers {
 public:
  Workers(const std::vector<Part>& parts, Cancellation& cancellation, const TakePiece& take)
      : parts_(parts), cancellation_(cancellation), take_(take) {
    for (std::size_t part = 0; part < parts.size(); ++part)
      for (std::size_t piece = 0; piece < parts[part].pieces.size(); ++piece)
        tasks_.push_back({part, piece, {}, {}});
  }

  std::size_t task_count() const { return tasks_.size(); }

  void run(unsigned threads) {
    most_waiting_ = kBytesAhead * threads;
    host::side_by_side(threads, [this] { work(); });
    for (const Task& task : tasks_)
      if (task.failure) std::rethrow_exception(task.failure);
  }

 private:
  // How much a thread may make ahead of the piece that is due: what is made too early only fills the memory.
  static constexpr std::size_t kBytesAhead = std::size_t{1} << 20U;

  struct Task {
    std::size_t part, piece;
    std::optional<CompressedPiece> result;
    std::exception_ptr failure;
  };

  void work() {
    for (std::size_t i = next_++; i < tasks_.size() && wait_for_room(i); i = next_++)
      attempt(i, [&] {
        cancellation_.check();
        deliver(i, make(tasks_[i]));
      });
  }

  template <class Step>
  void attempt(std::size_t task, const Step& step) {
    try {
      step();
    } catch (...) {
      const std::lock_guard lock(mutex_);
      tasks_[task].failure = std::current_exception();
      failed_ = true;
      room_.notify_all();
    }
  }

  // Whether there is any use in going on.
  bool wait_for_room(std::size_t task) {
    std::unique_lock lock(mutex_);
    room_.wait(lock, [&] { return failed_ || task == due_ || waiting_ < most_waiting_; });
    return !failed_;
  }

  CompressedPiece make(const Task& task) const {
    const std::vector<Piece>& pieces = parts_[task.part].pieces;
    return compress(pieces[task.piece](), task.piece + 1 == pieces.size());
  }

  void deliver(std::size_t task, CompressedPiece piece) {
    std::unique_lock lock(mutex_);
    waiting_ += piece.data.size();
    tasks_[task].result = std::move(piece);
    if (delivering_) return;
    delivering_ = true;
    while (!failed_ && due_ < tasks_.size() && tasks_[due_].result) {
      Task& next = tasks_[due_];
      const std::size_t bytes = next.result->data.size();
      lock.unlock();
      attempt(due_, [&] {
        take_(next.part, *std::move(next.result), next.piece + 1 == parts_[next.part].pieces.size());
      });
      lock.lock();
      next.result.reset();
      waiting_ -= bytes;
      ++due_;
      room_.notify_all();
    }
    delivering_ = false;
  }

  const std::vector<Part>& parts_;
  Cancellation& cancellation_;
  const TakePiece& take_;
  std::vector<Task> tasks_;
  std::size_t most_waiting_ = 0;
  std::atomic<std::size_t> next_ = 0;
  std::mutex mutex_;  // of all that follows, and of the tasks' results and failures
  std::condition_variable room_;
  std::size_t due_ = 0;      // the task whose piece is the next one to hand on
  std::size_t waiting_ = 0;  // bytes of pieces that were not handed on
  bool delivering_ = false;  // some thread is handing on
  bool failed_ = false;
};

unsigned thread_count(unsigned wanted, std::size_t tasks) {
  return static_cast<unsigned>(std::min(wanted != 0 ? wanted : host::processors(), tasks));
}

}  // namespace

Part whole_part(std::string name, std::string content_type, Piece whole) {
  Part part{std::move(name), std::move(content_type), {}};
  part.pieces.push_back(std::move(whole));
  return part;
}

std::string spreadsheet_type(const std::string& kind) {
  return office_type("spreadsheetml." + kind);
}

std::string office_type(const std::string& kind) {
  const std::string type = "application/vnd.openxmlformats-officedocument." + kind;
  return kind == "vmlDrawing" ? type : type + "+xml";
}

void PartNames::take(const std::string& name) {
  taken_.insert(text::lower_ascii(name));
}

bool PartNames::is_taken(const std::string& name) const {
  return taken_.contains(text::lower_ascii(name));
}

std::string PartNames::next(const std::string& stem, const std::string& ending) {
  std::size_t& number = last_[stem];
  std::string name;
  do {
    name = stem + std::to_string(++number) + ending;
  } while (is_taken(name));
  take(name);
  return name;
}

void add_sheet_parts(const SheetsByName& sheets, std::size_t position, const SheetPlace& place,
                     PartNames& names, std::vector<Part>& parts) {
  SheetParts(sheets, position, names, parts).add(place);
}

void compress_parts(const std::vector<Part>& parts, const SaveOptions& options, const TakePiece& take) {
  Cancellation cancellation(options.cancelled);
  cancellation.check();
  Workers workers(parts, cancellation, take);
  workers.run(thread_count(options.threads, workers.task_count()));
  cancellation.check();
}

std::vector<ArchiveEntry> compressed(const std::vector<Part>& parts, const SaveOptions& options) {
  std::vector<ArchiveEntry> entries;
  std::vector<CompressedPiece> pieces;
  compress_parts(parts, options, [&](std::size_t part, CompressedPiece piece, bool last) {
    pieces.push_back(std::move(piece));
    if (!last) return;
    entries.push_back(join(parts[part].name, pieces));
    entries.back().modified = options.created;
    pieces.clear();
  });
  return entries;
}

}  // namespace ordvane::xlsx
