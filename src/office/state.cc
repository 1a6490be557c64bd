#include "office/state.h"

#include <algorithm>
#include <utility>

#include "unicode/names.h"

namespace ordvane::office {

void Book::close() {
  application = nullptr;
  for (const auto& sheet : sheets) sheet->book = nullptr;
}

std::shared_ptr<Sheet> Book::find_sheet(const std::string& name) const {
  const auto found = by_name_.find(unicode::folded(name));
  return found == by_name_.end() ? nullptr : found->second;
}

void Book::rename_sheet(Sheet& sheet, const std::string& name) {
  // What takes memory comes first: names and sheets belong together whatever happens.
  std::string former = name, folded = unicode::folded(name);
  auto entry = by_name_.extract(unicode::folded(sheet.model->name));
  entry.key().swap(folded);
  by_name_.insert(std::move(entry));
  former.swap(sheet.model->name);
  if (!sheet.is_charted) return;
  for (const auto& other : model->sheets) {
    for (const auto& chart : other->charts) {
      for (const auto& series : chart->series) {
        if (series->values.sheet == former) series->values.sheet = name;
        if (series->x_values.sheet == former) series->x_values.sheet = name;
      }
    }
  }
}

std::shared_ptr<Sheet> Book::add_sheet(const std::string& name) {
  if (const auto fault = sheet_name_fault(name)) refuse(*fault);
  if (find_sheet(name)) refuse("The workbook already has a sheet named " + name);
  auto sheet = std::make_shared<Sheet>(*this, std::make_shared<SheetModel>());
  sheet->model->name = name;
  sheets.reserve(sheets.size() + 1);
  model->sheets.reserve(model->sheets.size() + 1);
  by_name_.emplace(unicode::folded(name), sheet);
  sheets.push_back(sheet);
  model->sheets.push_back(sheet->model);
  activate(*sheet);
  return sheet;
}

void Book::move_sheet(const Sheet& sheet, const Sheet& before) {
  if (&sheet == &before) return;
  const auto active = sheets[model->active_sheet];
  const auto move = [](auto& list, std::size_t from, std::size_t to) {
    const auto at = [&list](std::size_t place) { return list.begin() + static_cast<std::ptrdiff_t>(place); };
    if (from > to)
      std::rotate(at(to), at(from), at(from + 1));
    else
      std::rotate(at(from), at(from + 1), at(to));
  };
  const std::size_t from = position(sheet);
  const std::size_t to = position(before);
  move(sheets, from, to);
  move(model->sheets, from, to);
  model->active_sheet = position(*active);
}

void Book::remove_sheet(const Sheet& sheet) {
  if (sheets.size() == 1) refuse("A workbook keeps at least one sheet");
  if (sheet.model->is_kept) refuse("The sheet " + sheet.model->name + " is no report and is kept");
  const std::size_t place = position(sheet);
  by_name_.erase(unicode::folded(sheet.model->name));
  sheets[place]->book = nullptr;
  sheets.erase(sheets.begin() + static_cast<std::ptrdiff_t>(place));
  model->sheets.erase(model->sheets.begin() + static_cast<std::ptrdiff_t>(place));
  if (model->active_sheet > place || model->active_sheet == sheets.size()) --model->active_sheet;
}

std::size_t Book::position(const Sheet& sheet) const {
  const auto place =
      std::find_if(sheets.begin(), sheets.end(), [&](const auto& other) { return other.get() == &sheet; });
  return static_cast<std::size_t>(place - sheets.begin());
}

void Book::activate(const Sheet& sheet) {
  model->active_sheet = position(sheet);
}

ApplicationState::~ApplicationState() {
  for (const auto& book : books) book->close();
}

std::shared_ptr<Book> ApplicationState::find_book(const std::string& name) const {
  for (const auto& book : books)
    if (unicode::same_name(book->model->name, name)) return book;
  return nullptr;
}

std::shared_ptr<Book> ApplicationState::add_book(const std::string& name) {
  if (name.empty()) refuse("A workbook needs a name");
  if (find_book(name)) refuse("A workbook named " + name + " is already open");
  auto book = std::make_shared<Book>();
  book->application = this;
  book->model->name = name;
  books.push_back(book);
  active = book;
  return book;
}

void ApplicationState::close(const Book& book) {
  const auto place =
      std::find_if(books.begin(), books.end(), [&](const auto& other) { return other.get() == &book; });
  const std::shared_ptr<Book> closed = *place;
  books.erase(place);
  closed->close();
  if (active == closed) active = books.empty() ? nullptr : books.back();
}

std::shared_ptr<Sheet> ApplicationState::active_sheet() const {
  return active && !active->sheets.empty() ? active->sheets[active->model->active_sheet] : nullptr;
}

Book& book_of(const Sheet& sheet) {
  if (!sheet.book) refuse("The sheet is not there any more");
  return *sheet.book;
}

ApplicationState& application_of(const Book& book) {
  if (!book.application) refuse("The workbook is not open any more");
  return *book.application;
}

}  // namespace ordvane::office
