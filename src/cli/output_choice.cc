#include "cli/output_choice.h"

#include "cli/problems.h"
#include "cli/terminal.h"
#include "unicode/names.h"

namespace ordvane::cli {
namespace {

constexpr std::size_t kMostCandidates = 20;

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

using Positions = std::vector<std::int32_t>;

template <class Matches>
Positions outputs_where(const runfile::Run& run, const Matches& matches) {
  Positions positions;
  for (std::size_t i = 0; i < run.outputs.size(); ++i)
    if (matches(run.outputs[i])) positions.push_back(static_cast<std::int32_t>(i));
  return positions;
}

std::string listed(const runfile::Run& run, const Positions& positions) {
  std::string text;
  for (std::size_t i = 0; i < positions.size() && i < kMostCandidates; ++i)
    text += "\n  " + printable(described(run.outputs[static_cast<std::size_t>(positions[i])]));
  if (positions.size() > kMostCandidates)
    text += "\n  and " + std::to_string(positions.size() - kMostCandidates) + " more";
  return text;
}

// A name as it is spelled goes before the same letters in another case, and a name before a cell.
Positions matches_of(const runfile::Run& run, const std::string& wanted) {
  Positions found = outputs_where(run, [&](const runfile::Item& item) { return item.name == wanted; });
  if (found.empty())
    found =
        outputs_where(run, [&](const runfile::Item& item) { return unicode::same_name(item.name, wanted); });
  if (found.empty()) {
    const Address address(wanted);
    found = outputs_where(run, [&](const runfile::Item& item) { return address.names(item); });
  }
  return found;
}

}  // namespace

std::string place_of(const runfile::Item& item) {
  return item.sheet.empty() ? item.cell : item.sheet + "!" + item.cell;
}

std::string described(const runfile::Item& item) {
  return described(item.name, item);
}

std::string described(const std::string& name, const runfile::Item& item) {
  return name.empty() ? place_of(item) : name + " (" + place_of(item) + ")";
}

std::vector<std::int32_t> find_outputs(const runfile::Run& run, const std::vector<std::string>& wanted) {
  std::vector<std::int32_t> positions;
  std::vector<std::string> problems;
  std::vector<std::string> unknown;
  for (const std::string& each : wanted) {
    const Positions found = each.empty() ? Positions() : matches_of(run, each);
    if (found.size() == 1) positions.push_back(found.front());
    const std::string quoted = '"' + printable(each) + '"';
    if (found.empty()) unknown.push_back(quoted);
    if (found.size() > 1)
      problems.push_back(
          "--output: " + quoted + " names more than one output:" + listed(run, found) +
          "\n  Name the cell with its sheet, as in \"Sheet!C14\", and its workbook if need be, as in "
          "\"[book.xlsx]Sheet!C14\".");
  }
  if (!unknown.empty()) {
    std::string names;
    for (const std::string& name : unknown) names += (names.empty() ? "" : ", ") + name;
    const Positions all = outputs_where(run, [](const runfile::Item&) { return true; });
    problems.push_back("--output: " + names + (unknown.size() == 1 ? " is no output" : " are no outputs") +
                       " of the run. Its outputs are:" + listed(run, all));
  }
  if (!problems.empty()) throw BadArguments(problems);
  return positions;
}

}  // namespace ordvane::cli
