#include "embedded/find_outputs.h"

#include "unicode/names.h"

namespace ordvane::embedded {
namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// An address as typed. Book and sheet are empty where it has none.
struct Address {
  std::string book, sheet, cell;

  explicit Address(const std::string& typed) {
    const std::size_t mark = typed.rfind('!');
    cell = replaced(mark == std::string::npos ? typed : typed.substr(mark + 1), "$", "");
    if (mark == std::string::npos) return;
    sheet = typed.substr(0, mark);
    if (sheet.size() >= 2 && sheet.front() == '\'' && sheet.back() == '\'')
      sheet = replaced(sheet.substr(1, sheet.size() - 2), "''", "'");
    const std::size_t end_of_book = sheet.find(']');
    if (!sheet.starts_with('[') || end_of_book == std::string::npos) return;
    book = sheet.substr(1, end_of_book - 1);
    sheet = sheet.substr(end_of_book + 1);
  }

  bool names(const runfile::Item& item) const {
    return unicode::same_name(replaced(item.cell, "$", ""), cell) &&
           (sheet.empty() || unicode::same_name(item.sheet, sheet)) &&
           (book.empty() || unicode::same_name(item.book, book));
  }
};

template <class Matches>
std::vector<std::int32_t> outputs_where(const runfile::Run& run, const Matches& matches) {
  std::vector<std::int32_t> positions;
  for (std::size_t i = 0; i < run.outputs.size(); ++i)
    if (matches(run.outputs[i])) positions.push_back(static_cast<std::int32_t>(i));
  return positions;
}

// "Overview!C14"
std::string place_of(const runfile::Item& item) {
  return item.sheet.empty() ? item.cell : item.sheet + "!" + item.cell;
}

}  // namespace

std::string described(const runfile::Item& item) {
  return described(item.name, item);
}

std::string described(const std::string& name, const runfile::Item& item) {
  return name.empty() ? place_of(item) : name + " (" + place_of(item) + ")";
}

// A name as it is spelled goes before the same letters in another case, and a name before a cell.
std::vector<std::int32_t> outputs_named(const runfile::Run& run, const std::string& wanted) {
  if (wanted.empty()) return {};
  auto found = outputs_where(run, [&](const runfile::Item& item) { return item.name == wanted; });
  if (found.empty())
    found =
        outputs_where(run, [&](const runfile::Item& item) { return unicode::same_name(item.name, wanted); });
  if (found.empty()) {
    const Address address(wanted);
    found = outputs_where(run, [&](const runfile::Item& item) { return address.names(item); });
  }
  return found;
}

}  // namespace ordvane::embedded
