#include "office/address.h"

#include <algorithm>
#include <cctype>
#include <tuple>

#include "text/utf16.h"
#include "unicode/names.h"

namespace ordvane::office {
namespace {

constexpr std::int32_t kLongestSheetName = 31;

bool is_letter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Parts of an address corner: "$B$4" has both, "B" and "4" one each (0: not given).
struct Corner {
  std::int32_t row = 0, column = 0;
  bool fixed_row = false, fixed_column = false;
};

bool take(std::string_view text, std::size_t& at, char c) {
  if (at >= text.size() || text[at] != c) return false;
  ++at;
  return true;
}

// Reads as much of a corner as is there. False when nothing is, or when it lies outside a sheet.
bool read_corner(std::string_view text, std::size_t& at, Corner& corner) {
  std::size_t next = at;
  bool fixed = take(text, next, '$');
  corner.column = text::read_column(text, next);
  if (corner.column > 0) {
    corner.fixed_column = fixed;
    at = next;
    fixed = take(text, next, '$');
  }
  corner.row = text::read_row(text, next);
  if (corner.row > 0) {
    corner.fixed_row = fixed;
    at = next;
  }
  return (corner.row > 0 || corner.column > 0) && corner.row >= 0 && corner.column >= 0;
}

Reference reference_between(const Corner& a, const Corner& b) {
  const auto& [upper, lower] = a.row <= b.row ? std::tie(a, b) : std::tie(b, a);
  const auto& [left, right] = a.column <= b.column ? std::tie(a, b) : std::tie(b, a);
  Reference reference;
  reference.area = {upper.row, left.column, lower.row - upper.row + 1, right.column - left.column + 1};
  if (upper.row == 0) reference.area.row = 1, reference.area.rows = kSheetRows;
  if (left.column == 0) reference.area.column = 1, reference.area.columns = kSheetColumns;
  if (upper.row == 0 || left.column == 0) return reference;
  reference.top_moves = !upper.fixed_row;
  reference.bottom_moves = !lower.fixed_row;
  reference.left_moves = !left.fixed_column;
  reference.right_moves = !right.fixed_column;
  return reference;
}

bool is_plain_name_character(char c) {
  return is_letter(c) || is_digit(c) || c == '_' || c == '.' || (static_cast<unsigned char>(c) & 0x80U) != 0;
}

// "R", "C2", "R1C1" … mean cells in the other reference style.
bool looks_like_row_and_column(std::string_view name) {
  std::size_t at = 0;
  const auto skip = [&](char letter) {
    if (at < name.size() && std::toupper(static_cast<unsigned char>(name[at])) == letter) ++at;
    while (at < name.size() && is_digit(name[at])) ++at;
  };
  skip('R');
  skip('C');
  return at == name.size();
}

bool needs_quotes(std::string_view name) {
  if (name.empty() || is_digit(name[0]) || name[0] == '.') return true;
  if (!std::all_of(name.begin(), name.end(), is_plain_name_character)) return true;
  return parse_area(name).has_value() || looks_like_row_and_column(name) ||
         unicode::same_name(name, "TRUE") || unicode::same_name(name, "FALSE");
}

std::string quoted(std::string_view name) {
  std::string result = "'";
  for (const char c : name) {
    result += c;
    if (c == '\'') result += c;
  }
  return result + "'";
}

// The text before "!", unquoted; `at` moves behind the "!". Nothing when the quotes are not closed.
std::optional<std::string> read_sheet_part(std::string_view address, std::size_t& at) {
  std::string result;
  if (address.empty() || address[0] != '\'') {
    const std::size_t end = address.rfind('!');
    if (end == std::string_view::npos) return result;
    at = end + 1;
    return std::string(address.substr(0, end));
  }
  for (at = 1; at < address.size(); ++at) {
    if (address[at] != '\'') {
      result += address[at];
    } else if (at + 1 < address.size() && address[at + 1] == '\'') {
      result += address[at++];
    } else {
      at += 2;
      return at <= address.size() && address[at - 1] == '!' ? std::optional(result) : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace

std::string area_name(const Area& area, bool absolute) {
  std::string name = cell_name(area.row, area.column, absolute);
  if (area.rows == 1 && area.columns == 1) return name;
  return name + ":" + cell_name(area.row + area.rows - 1, area.column + area.columns - 1, absolute);
}

std::optional<Area> parse_area(std::string_view address) {
  const auto reference = parse_reference(address);
  return reference ? std::optional(reference->area) : std::nullopt;
}

std::optional<Reference> parse_reference(std::string_view address) {
  std::size_t at = 0;
  Corner first, second;
  if (!read_corner(address, at, first)) return std::nullopt;
  if (at == address.size()) {
    if (first.row == 0 || first.column == 0) return std::nullopt;
    return reference_between(first, first);
  }
  if (!take(address, at, ':') || !read_corner(address, at, second) || at != address.size())
    return std::nullopt;
  if ((first.row == 0) != (second.row == 0) || (first.column == 0) != (second.column == 0))
    return std::nullopt;
  return reference_between(first, second);
}

Area Reference::moved(const Shift& shift) const {
  const auto [top, bottom] = std::minmax(
      {area.row + (top_moves ? shift.rows : 0), area.row + area.rows - 1 + (bottom_moves ? shift.rows : 0)});
  const auto [left, right] =
      std::minmax({area.column + (left_moves ? shift.columns : 0),
                   area.column + area.columns - 1 + (right_moves ? shift.columns : 0)});
  return {top, left, bottom - top + 1, right - left + 1};
}

ReferenceText read_reference(std::string_view text) {
  ReferenceText reference;
  Corner corner;
  std::size_t at = 0;
  if (!read_corner(text, at, corner) || corner.row == 0 || corner.column == 0) return reference;
  reference.length = at;
  reference.cell = {corner.row, corner.column};
  reference.fixed_row = corner.fixed_row;
  reference.fixed_column = corner.fixed_column;
  return reference;
}

std::string quoted_sheet_name(const std::string& name) {
  return needs_quotes(name) ? quoted(name) : name;
}

std::optional<ExternalAddress> parse_external_address(std::string_view address) {
  std::size_t at = 0;
  const auto place = read_sheet_part(address, at);
  if (!place) return std::nullopt;
  ExternalAddress result;
  result.sheet = *place;
  if (!place->empty() && place->front() == '[') {
    const std::size_t end = place->rfind(']');
    if (end == std::string::npos) return std::nullopt;
    result.book = place->substr(1, end - 1);
    result.sheet = place->substr(end + 1);
  }
  const auto area = parse_area(address.substr(at));
  if (!area || (at > 0 && result.sheet.empty())) return std::nullopt;
  result.area = *area;
  return result;
}

std::string external_address(const std::string& book, const std::string& sheet, const Area& area,
                             bool absolute) {
  const std::string place = "[" + book + "]" + sheet;
  const bool quotes = needs_quotes(sheet) || !std::all_of(book.begin(), book.end(), is_plain_name_character);
  return (quotes ? quoted(place) : place) + "!" + area_name(area, absolute);
}

std::optional<std::string> sheet_name_fault(std::string_view name) {
  if (name.empty()) return "A sheet name must not be empty";
  if (text::utf16_length(name) > kLongestSheetName) return "A sheet name has at most 31 characters";
  if (name.find_first_of("\\/?*[]:") != std::string_view::npos)
    return "A sheet name must not contain any of \\ / ? * [ ] :";
  if (name.front() == '\'' || name.back() == '\'')
    return "A sheet name must not begin or end with an apostrophe";
  return std::nullopt;
}

Area intersection(const Area& a, const Area& b) {
  const std::int32_t top = std::max(a.row, b.row), left = std::max(a.column, b.column);
  return {top, left, std::min(a.row + a.rows, b.row + b.rows) - top,
          std::min(a.column + a.columns, b.column + b.columns) - left};
}

}  // namespace ordvane::office
