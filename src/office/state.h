// What the handles of one application share.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "office/book.h"
#include "office/number_format.h"
#include "office/refusal.h"
#include "office/sheet.h"

namespace ordvane::office {

struct ApplicationState;

// An open workbook. `application` is null once it was closed.
struct Book : std::enable_shared_from_this<Book> {
  ApplicationState* application = nullptr;
  std::shared_ptr<BookModel> model = std::make_shared<BookModel>();
  std::vector<std::shared_ptr<Sheet>> sheets;  // as in the model
  std::int32_t charts_made = 0;

  ~Book() { close(); }
  void close();
  // Null when there is none.
  std::shared_ptr<Sheet> find_sheet(const std::string& name) const;
  // Charts that draw from the sheet follow. The name is free.
  void rename_sheet(Sheet& sheet, const std::string& name);
  std::shared_ptr<Sheet> add_sheet(const std::string& name);
  void remove_sheet(const Sheet& sheet);
  void move_sheet(const Sheet& sheet, const Sheet& before);
  std::size_t position(const Sheet& sheet) const;
  void activate(const Sheet& sheet);

 private:
  std::unordered_map<std::string, std::shared_ptr<Sheet>> by_name_;  // folded
};

struct ApplicationState {
  std::vector<std::shared_ptr<Book>> books;
  std::shared_ptr<Book> active;
  NumberSymbols symbols;

  ~ApplicationState();
  std::shared_ptr<Book> find_book(const std::string& name) const;
  std::shared_ptr<Book> add_book(const std::string& name);
  void close(const Book& book);
  std::shared_ptr<Sheet> active_sheet() const;
};

// Throws for a sheet that was removed and for a workbook that was closed.
Book& book_of(const Sheet& sheet);
ApplicationState& application_of(const Book& book);

}  // namespace ordvane::office
