#include "cli/found_inputs.h"

#include <algorithm>
#include <cctype>

#include "cli/terminal.h"

namespace ordvane::cli {
namespace {

constexpr std::size_t kMostNamed = 4;
constexpr int kWidestName = 40;

// "Site!B12 (Commissioning date), Finance!C7 and 3 more"
std::string list_text(const std::vector<sweep::Suggestion::Item>& items) {
  std::string text;
  const std::size_t named = items.size() <= kMostNamed + 1 ? items.size() : kMostNamed;
  for (std::size_t i = 0; i < named; ++i) {
    text += (i == 0 ? "" : ", ") + printable(items[i].place);
    if (!items[i].name.empty()) text += " (" + printable(items[i].name) + ")";
  }
  return named == items.size() ? text : text + " and " + std::to_string(items.size() - named) + " more";
}

// Columns of names and values, each as wide as its widest.
struct Widths {
  explicit Widths(const std::vector<sweep::Suggestion::Item>& items) {
    for (const auto& item : items) {
      name = std::max(name, std::min(kWidestName, unicode::display_width(printable(item.name))));
      value = std::max(value, std::min(kWidestName, unicode::display_width(printable(item.value))));
    }
  }
  int name = 0, value = 0;
};

std::string line_text(const sweep::Suggestion::Item& item, const Widths& widths) {
  return "  " + fitted(printable(item.name), widths.name) + "  " +
         fitted(printable(item.value), widths.value, unicode::Side::kRight) + "  ";
}

}  // namespace

std::string shell_word(const std::string& text) {
  const bool plain = std::all_of(text.begin(), text.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '_' || c == '-' || c == '/';
  });
  if (plain) return text;
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
  return word + "'";
}

std::string found_text(const sweep::Suggestion& suggestion) {
  const auto varied = static_cast<std::int64_t>(suggestion.inputs.size());
  const sweep::Suggestion::Item& output = suggestion.outputs.front();
  std::string text =
      std::to_string(suggestion.moving) +
      (suggestion.moving == 1 ? " number of the workbook moves " : " numbers of the workbook move ") +
      printable(output.name.empty() ? output.place : output.name) +
      (suggestion.outputs.size() > 1 ? " or another output" : "") + " when varied by 10%";
  if (varied < suggestion.moving) text += "; these " + std::to_string(varied) + " move it most";
  text += ":\n";
  const Widths widths(suggestion.inputs);
  for (const sweep::Suggestion::Item& item : suggestion.inputs)
    text += line_text(item, widths) + printable(item.place) + "\n";
  for (const auto& [why, items] : suggestion.left_out)
    text += "Not varied, " + why + ": " + list_text(items) + "\n";
  return text;
}

std::string proposed_outputs_text(const std::vector<sweep::Suggestion::Item>& outputs,
                                  const SweepCommand& command) {
  const Widths widths(outputs);
  std::string text =
      "--output: is missing; which results are to be looked at? Cells that no other formula reads:\n";
  for (const sweep::Suggestion::Item& item : outputs)
    text += line_text(item, widths) + "--output " +
            printable(shell_word(item.defined_name.empty() ? item.place : item.defined_name)) + "\n";
  return text + "`ordvane sweep " + printable(shell_word(command.workbook.string())) +
         " --suggest` writes them into a definition, with the inputs that move them";
}

}  // namespace ordvane::cli
