#include "xlsx/sheet_mentions.h"

#include <algorithm>
#include <optional>

#include "unicode/names.h"
#include "xlsx/xml_text.h"

namespace ordvane::xlsx {
namespace {

// Longer than the names of sheets, or of two with the book before them, can be.
constexpr std::size_t kLongestName = 2048;

// What stands before the "!" at `mark` as the name of a sheet, quotes resolved. Nothing for what is too long.
std::optional<std::string> name_before(std::string_view formula, std::size_t mark) {
  constexpr std::string_view kBetweenNames = "+-*/^&=<>(),; {}\"'\n";
  if (mark == 0) return "";
  const std::size_t from = mark > kLongestName ? mark - kLongestName : 0;
  const std::string_view before = formula.substr(from, mark - from);
  std::string name;
  if (before.back() != '\'') {
    const std::size_t between = before.find_last_of(kBetweenNames);
    if (between == before.npos && from > 0) return std::nullopt;
    return std::string(before.substr(between + 1));
  }
  for (std::size_t at = before.size() - 1; at-- > 0;) {
    if (before[at] == '\'' && (at == 0 || before[at - 1] != '\'')) {
      std::reverse(name.begin(), name.end());
      return name;
    }
    if (before[at] == '\'') --at;  // two stand for one
    name += before[at];
  }
  std::reverse(name.begin(), name.end());
  return from > 0 ? std::nullopt : std::optional(name);
}

// Its character references resolved.
std::string plain(std::string_view text) {
  return XmlText("<a>" + std::string(text) + "</a>").root().text;
}

}  // namespace

bool mentions_sheet(std::string_view formula, const std::vector<std::string>& names) {
  for (std::size_t mark = formula.find('!'); mark != formula.npos; mark = formula.find('!', mark + 1)) {
    const std::optional<std::string> name = name_before(formula, mark);
    if (!name) return true;                                        // what cannot be read may name one
    if (name->empty() || name->find('[') != name->npos) continue;  // of this workbook as a whole, of another
    if (name->find(':') != name->npos) return true;
    if (std::any_of(names.begin(), names.end(),
                    [&](const std::string& other) { return unicode::same_name(*name, other); }))
      return true;
  }
  return false;
}

bool part_mentions_sheet(std::string_view xml, const std::vector<std::string>& names) {
  for (std::size_t mark = xml.find('!'); mark != xml.npos; mark = xml.find('!', mark)) {
    const std::size_t begin = xml.substr(0, mark).rfind('>') + 1;
    const std::size_t end = std::min(xml.find('<', mark), xml.size());
    mark = end;
    try {
      if (mentions_sheet(plain(xml.substr(begin, end - begin)), names)) return true;
    } catch (const BadPackage&) {
      return true;  // what cannot be read may say so
    }
  }
  return false;
}

}  // namespace ordvane::xlsx
