#include "xlsx/sheet_mentions.h"

#include <algorithm>

#include "unicode/names.h"
#include "xlsx/xml_text.h"

namespace ordvane::xlsx {
namespace {

// What stands before the "!" at `mark` as the name of a sheet, quotes resolved.
std::string name_before(std::string_view formula, std::size_t mark) {
  constexpr std::string_view kBetweenNames = "+-*/^&=<>(),; {}\"'\n";
  std::string name;
  if (mark == 0) return name;
  if (formula[mark - 1] != '\'') {
    const std::size_t before = formula.substr(0, mark).find_last_of(kBetweenNames);
    return std::string(formula.substr(before + 1, mark - before - 1));
  }
  for (std::size_t at = mark - 1; at-- > 0;) {
    if (formula[at] == '\'' && (at == 0 || formula[at - 1] != '\'')) break;
    if (formula[at] == '\'') --at;  // two stand for one
    name.insert(name.begin(), formula[at]);
  }
  return name;
}

// Its character references resolved.
std::string plain(std::string_view text) {
  return XmlText("<a>" + std::string(text) + "</a>").root().text;
}

}  // namespace

bool mentions_sheet(std::string_view formula, const std::vector<std::string>& names) {
  for (std::size_t mark = formula.find('!'); mark != formula.npos; mark = formula.find('!', mark + 1)) {
    const std::string name = name_before(formula, mark);
    if (name.empty() || name.find('[') != name.npos) continue;  // of this workbook as a whole, of another
    if (name.find(':') != name.npos) return true;
    if (std::any_of(names.begin(), names.end(),
                    [&](const std::string& other) { return unicode::same_name(name, other); }))
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
