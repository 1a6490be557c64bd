#include "exchange/table_file.h"

#include <algorithm>
#include <set>

#include "exchange/rows.h"
#include "runfile/run.h"
#include "runfile/values.h"
#include "text/edit.h"
#include "text/utf8.h"
#include "unicode/names.h"

namespace ordvane::exchange {
namespace {

using runfile::FieldFault;
using runfile::NumberKind;

constexpr std::string_view kBlanks = " \t";

// Which of the separators stands outside of quotes most often.
char separator_of(std::string_view row) {
  char best = ',';
  std::ptrdiff_t most = 0;
  for (const char separator : {'\t', ';', ','}) {
    std::ptrdiff_t count = 0;
    bool inside = false;
    for (const char letter : row) {
      if (letter == '"') inside = !inside;
      if (letter == separator && !inside) ++count;
    }
    if (count > most) {
      most = count;
      best = separator;
    }
  }
  return best;
}

// The apostrophe that keeps a text from being a formula is none of its own.
void drop_guard(std::string& text) {
  if (text.starts_with('\'') && begins_like_formula(std::string_view(text).substr(1))) text.erase(0, 1);
}

bool looks_like_number(std::string_view text) {
  return text.find_first_of("0123456789") != std::string_view::npos &&
         text.find_first_not_of("0123456789.,'+- %\u00A0\u202F") == std::string_view::npos;
}

}  // namespace

TableFile::TableFile(const std::filesystem::path& path) : source_(path) {
  std::string_view row;
  if (!source_.next(row) || text::trimmed(row, kBlanks).empty())
    source_.fail("is empty; a line of column names is expected");
  separator_ = separator_of(row);
  split(row, columns_);
  std::set<std::string> names;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    columns_[i] = text::trimmed(columns_[i], kBlanks);
    drop_guard(columns_[i]);
    const std::string where = "column " + std::to_string(i + 1) + ": ";
    if (text::first_invalid_byte(columns_[i]) != std::string_view::npos)
      source_.fail(where + "is named " + text::quoted_text(columns_[i]) + ", which is not UTF-8 text");
    if (columns_[i].empty()) source_.fail(where + "has no name");
    if (!names.insert(unicode::folded(columns_[i])).second)
      source_.fail(where + text::quoted_text(columns_[i]) + " is the name of a column before it");
  }
}

std::optional<std::size_t> TableFile::column(std::string_view name) const {
  for (std::size_t i = 0; i < columns_.size(); ++i)
    if (unicode::same_name(columns_[i], name)) return i;
  return std::nullopt;
}

void TableFile::split(std::string_view row, std::vector<std::string>& fields) const {
  fields.clear();
  const char* at = row.data();
  const char* const end = at + row.size();
  for (;;) {
    FieldFault fault = FieldFault::kNone;
    fault = runfile::take_field(at, end, separator_, fields.emplace_back());
    if (fault != FieldFault::kNone)
      source_.fail("column " + std::to_string(fields.size()) + ": " +
                   runfile::fault_text(fault, fields.back()));
    if (at == end) return;
    ++at;
  }
}

bool TableFile::next() {
  std::string_view row;
  do
    if (!source_.next(row)) return false;
  while (text::trimmed(row, kBlanks).empty());
  split(row, fields_);
  const runfile::RowPlace place = source_.place();
  if (fields_.size() != columns_.size())
    place.fail(std::to_string(fields_.size()) + (fields_.size() == 1 ? " field; " : " fields; ") +
               std::to_string(columns_.size()) + " are expected, one a column" +
               (place.last_line > place.line
                    ? "; a quoted text goes on to line " + std::to_string(place.last_line)
                    : ""));
  for (std::string& field : fields_) {
    field = text::trimmed(field, kBlanks);
    drop_guard(field);
  }
  return true;
}

std::optional<double> TableFile::number(std::size_t column) {
  std::string text = fields_[column];
  const std::size_t mark = text.find_first_of(".,");
  if (separator_ == ';' && mark != std::string::npos && mark == text.find_last_of(".,") &&
      looks_like_number(text)) {
    if (decimal_ == 0) decimal_ = text[mark];
    if (decimal_ != text[mark])
      fail(column, "is " + text::quoted_text(text) + "; rows before have a decimal " +
                       (decimal_ == '.' ? "point" : "comma"));
    text[mark] = '.';
  }
  double number = 0;
  switch (runfile::number_of_field(text, number)) {
    case NumberKind::kNumber:
      return number;
    case NumberKind::kTooLarge:
      fail(column, "is " + text::quoted_text(text) + "; a number " + runfile::kNumberRange + " is expected");
    case NumberKind::kNone:
      break;
  }
  if (looks_like_number(text))
    fail(column,
         "is " + text::quoted_text(fields_[column]) +
             "; a number without separators of thousands or percent signs is expected, such as 1234.5" +
             (separator_ == ';' ? " or 1234,5" : ""));
  if (text::first_invalid_byte(text) != std::string_view::npos)
    fail(column, "is " + text::quoted_text(text) + ", which is not UTF-8 text");
  return std::nullopt;
}

void TableFile::fail(std::size_t column, const std::string& problem) const {
  source_.fail("column " + text::quoted_text(columns_[column]) + ": " + problem);
}

std::vector<std::string> names_in_list(const std::string& list) {
  std::vector<std::string> names;
  const char* at = list.data();
  const char* const end = at + list.size();
  for (;;) {
    if (runfile::take_field(at, end, ',', names.emplace_back()) != FieldFault::kNone) return {};
    names.back() = text::trimmed(names.back(), kBlanks);
    if (names.back().empty()) return {};
    if (at == end) return names;
    ++at;
  }
}

}  // namespace ordvane::exchange
