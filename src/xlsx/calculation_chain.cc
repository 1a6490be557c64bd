#include "xlsx/calculation_chain.h"

#include <string_view>
#include <utility>

#include "xlsx/xml.h"
#include "xlsx/xml_parser.h"
#include "xlsx/xml_text.h"

namespace ordvane::xlsx {
namespace {

std::string_view without_prefix(std::string_view name) {
  return name.substr(name.find(':') + 1);
}

// Passes on what it reads, but for the cells of sheets that are gone, as soon as no element of it is open
// that may go. Holds what has come since.
class Chain : public XmlParser {
 public:
  Chain(const std::set<std::size_t>& gone, const std::vector<ChainCell>& added, StreamCompressor& out)
      : XmlParser('\0', Encodings::kUtf8), gone_(gone), added_(added), out_(out) {}

  void read(std::string_view piece, bool last) {
    window_ += piece;
    feed(piece, last);
    if (last) pass_on(begin_ + window_.size());
    window_.erase(0, used_);
    begin_ += std::exchange(used_, 0);
  }

  std::size_t cells() const { return left_ + added_.size(); }
  bool is_changed() const { return is_changed_; }

 private:
  enum Depth { kRoot = 1, kCell };

  void on_start(const char* name, const char** attributes) override {
    const std::size_t inside = place() + length();
    const bool is_empty = window_[inside - 2 - begin_] == '/';
    if (++open_ == kRoot) {
      name_ = name;
      if (is_empty) {
        pass_on(inside - 2);
        out_.add(">");
        add_cells();
        out_.add("</" + name_ + ">");
        leave_out(inside);
      }
    } else if (open_ == kCell) {
      for (; *attributes != nullptr; attributes += 2)
        if (std::string_view(attributes[0]) == "i") sheet_ = number_of(attributes[1]);
      goes_ = gone_.contains(sheet_) && without_prefix(name) == "c";
      left_ += goes_ ? 0 : 1;
      pass_on(place());
      if (goes_ && is_empty) leave_out(inside);
    }
    is_empty_ = is_empty;
  }

  void on_end(const char*) override {
    const bool was_empty = std::exchange(is_empty_, false);
    if (open_ == kCell && !was_empty && goes_) leave_out(place() + length());
    if (open_ == kRoot && !was_empty) {
      pass_on(place());
      add_cells();
    }
    --open_;
  }

  void on_text(std::string_view) override {
    if (open_ == kRoot) pass_on(place());
  }

  void add_cells() {
    const std::string tag = name_.substr(0, name_.size() - without_prefix(name_).size()) + "c";
    for (const ChainCell& cell : added_) {
      std::string element;
      Xml(element).start(tag.c_str()).attr("r", cell.name).attr("i", cell.sheet).end();
      out_.add(element);
      is_changed_ = true;
    }
  }

  // Up to a place in the whole text.
  void pass_on(std::size_t end) {
    out_.add(std::string_view(window_).substr(used_, end - begin_ - used_));
    used_ = end - begin_;
  }
  void leave_out(std::size_t end) {
    used_ = end - begin_;
    is_changed_ = true;
  }

  const std::set<std::size_t>& gone_;
  const std::vector<ChainCell>& added_;
  StreamCompressor& out_;
  std::string window_;     // from begin_ on
  std::size_t begin_ = 0;  // in the whole text
  std::size_t used_ = 0;   // of the window, passed on or left out
  std::string name_;       // of the root, as written
  int open_ = 0;           // elements
  bool is_empty_ = false;  // the element that began last
  bool goes_ = false;      // the cell
  std::size_t sheet_ = 0;  // of the cell; one that names none is on the sheet of the one before
  std::size_t left_ = 0;   // elements that stay
  bool is_changed_ = false;
};

}  // namespace

ChangedChain change_calculation_chain(const PackageReader& package, const std::string& part,
                                      const std::set<std::size_t>& gone,
                                      const std::vector<ChainCell>& added) {
  StreamCompressor out;
  Chain chain(gone, added, out);
  package.read_through(part, [&](std::string_view piece, bool last) { chain.read(piece, last); });
  ChangedChain changed;
  changed.cells = chain.cells();
  if (chain.is_changed()) changed.entry = out.finish(part);
  return changed;
}

}  // namespace ordvane::xlsx
