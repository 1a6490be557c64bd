// The sheets of a workbook found by their names, as the series of its charts name them.
#pragma once

#include <string>
#include <unordered_map>

#include "office/book.h"
#include "unicode/names.h"

namespace ordvane::xlsx {

class SheetsByName {
 public:
  // The book must live, and its sheets keep their names, as long as this.
  SheetsByName(const office::BookModel& book) : book_(book) {  // a book serves where its sheets are wanted
    for (const auto& sheet : book.sheets) sheets_.emplace(unicode::folded(sheet->name), sheet.get());
  }

  const office::BookModel& book() const { return book_; }
  // Null when there is none.
  const office::SheetModel* find(const std::string& name) const {
    const auto found = sheets_.find(unicode::folded(name));
    return found == sheets_.end() ? nullptr : found->second;
  }

 private:
  const office::BookModel& book_;
  std::unordered_map<std::string, const office::SheetModel*> sheets_;  // by folded name
};

}  // namespace ordvane::xlsx
