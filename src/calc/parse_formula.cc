// Formulas by recursive descent, an operator's rank a function. Positions in messages count bytes of the
// formula.
#include <algorithm>
#include <charconv>
#include <optional>

#include "calc/address.h"
#include "calc/formula.h"
#include "text/edit.h"
#include "unicode/names.h"

namespace ordvane::calc {
namespace {

constexpr int kDeepest = 256;
constexpr std::size_t kLongest = 65536;
constexpr int kMostNamesOfLet = 512;  // in a formula: each may be calculated from the one before

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

bool is_name_start(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '\\' ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool is_name_part(char c) {
  return is_name_start(c) || is_digit(c) || c == '.' || c == '?';
}

bool is_space(char c) {
  return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

std::string upper_ascii(std::string_view text) {
  std::string upper(text);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  return upper;
}

struct Sheets {
  std::int32_t first, last;
};

class Parser {
 public:
  Parser(std::string_view text, const Reference& cell, bool is_name, const FormulaNames& names, Arena& arena)
      : text_(text), cell_(cell), is_name_(is_name), names_(names), arena_(arena) {}

  Formula parse() {
    if (text_.size() > kLongest) fail("it is longer than formulas are");
    if (text_.starts_with('=')) ++at_;
    if (is_name_)
      list();
    else
      comparison();
    skip_space();
    if (at_ < text_.size()) fail("something follows what is a formula");
    return std::move(formula_);
  }

 private:
  using Position = std::int32_t;

  [[noreturn]] void fail(const std::string& what) const { throw BadFormula(what, at_); }
  char peek(std::size_t ahead = 0) const { return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0'; }
  void skip_space() {
    while (is_space(peek())) ++at_;
  }
  bool take(char c) {
    skip_space();
    if (peek() != c) return false;
    ++at_;
    return true;
  }
  void expect(char c) {
    if (!take(c)) fail(std::string("\"") + c + "\" is missing");
  }
  Node& node(Position position) { return formula_.nodes[static_cast<std::size_t>(position)]; }

  Position add(Node made) {
    formula_.nodes.push_back(std::move(made));
    return formula_.root();
  }
  Position add(NodeType type, std::vector<Position> children) {
    Node made;
    made.type = type;
    made.children = std::move(children);
    return add(std::move(made));
  }
  Position add_constant(const Value& value) {
    Node made;
    made.type = NodeType::kConstant;
    made.constant = value;
    return add(std::move(made));
  }
  Position add_unsupported(const std::string& what) {
    if (formula_.unsupported.empty()) formula_.unsupported = what;
    return add(NodeType::kUnsupported, {});
  }

  Position list();
  Position comparison();
  std::optional<NodeType> comparison_sign();
  Position concatenation();
  Position sum();
  Position product();
  Position powers();
  Position percent();
  Position sign();
  Position intersection();
  Position range();
  Position add_spill(Position anchor);
  Position primary();
  Position parentheses();
  Position number();
  Position string();
  Position error();
  Position array();
  Value array_value();
  Position words();
  Position quoted_sheet();
  Position after_sheets(const Sheets& sheets);
  Position external();
  Position let();
  Position function(std::string_view name);
  Position name(std::string_view name, std::int32_t sheet);
  Position check_arguments(Node made, std::string_view name);
  std::optional<Position> reference(const Sheets& sheets);
  std::optional<Position> whole_rows_or_columns(const AddressEnd& first, const Sheets& sheets);
  Position block(const AddressEnd& first, const AddressEnd& last, const Sheets& sheets);
  Corner corner(const AddressEnd& end) const;
  std::string_view word();
  Sheets sheets_named(std::string_view first, std::string_view last);
  bool gives_cells(Position position);
  bool starts_reference() const;

  // Of tables.
  struct TableParts {
    bool all = false, data = false, headers = false, totals = false, this_row = false;
    std::string first, last;
  };
  Position table(std::string_view name);
  void table_part(TableParts& parts, bool is_bracketed);
  void table_keyword(TableParts& parts, std::string_view word) const;
  std::string table_column(char end);
  Position table_block(const FormulaNames::Table& table, const TableParts& parts);

  class Depth {
   public:
    explicit Depth(Parser& parser) : parser_(parser) {
      if (++parser_.depth_ > kDeepest) parser_.fail("its parts lie too deep within each other");
    }
    ~Depth() { --parser_.depth_; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

   private:
    Parser& parser_;
  };

  std::string_view text_;
  const Reference& cell_;
  bool is_name_;  // what a name stands for, not what stands in a cell
  const FormulaNames& names_;
  Arena& arena_;
  std::size_t at_ = 0;
  int depth_ = 0;
  Formula formula_;
  int names_of_let_ = 0;
  std::vector<std::pair<std::string_view, Position>>
      locals_;  // names of LET that are known here, and their values
};

std::optional<NodeType> Parser::comparison_sign() {
  skip_space();
  struct Sign {
    std::string_view text;
    NodeType type;
  };
  constexpr Sign kSigns[] = {{"<=", NodeType::kLessEqual}, {">=", NodeType::kGreaterEqual},
                             {"<>", NodeType::kUnequal},   {"<", NodeType::kLess},
                             {">", NodeType::kGreater},    {"=", NodeType::kEqual}};
  for (const Sign& sign : kSigns) {
    if (!text_.substr(at_).starts_with(sign.text)) continue;
    at_ += sign.text.size();
    return sign.type;
  }
  return std::nullopt;
}

Parser::Position Parser::comparison() {
  const Depth depth(*this);
  Position left = concatenation();
  while (const auto type = comparison_sign()) {
    const Position right = concatenation();
    left = add(*type, {left, right});
  }
  return left;
}

Parser::Position Parser::concatenation() {
  Position left = sum();
  while (take('&')) {
    const Position right = sum();
    left = add(NodeType::kConcatenate, {left, right});
  }
  return left;
}

Parser::Position Parser::sum() {
  Position left = product();
  for (;;) {
    const bool plus = take('+');
    if (!plus && !take('-')) return left;
    const Position right = product();
    left = add(plus ? NodeType::kAdd : NodeType::kSubtract, {left, right});
  }
}

Parser::Position Parser::product() {
  Position left = powers();
  for (;;) {
    const bool times = take('*');
    if (!times && !take('/')) return left;
    const Position right = powers();
    left = add(times ? NodeType::kMultiply : NodeType::kDivide, {left, right});
  }
}

Parser::Position Parser::powers() {
  Position left = percent();
  while (take('^')) {
    const Position right = percent();
    left = add(NodeType::kPower, {left, right});
  }
  return left;
}

Parser::Position Parser::percent() {
  Position value = sign();
  while (take('%')) value = add(NodeType::kPercent, {value});
  return value;
}

Parser::Position Parser::sign() {
  const Depth depth(*this);
  if (take('-')) return add(NodeType::kNegate, {sign()});
  if (take('+')) return add(NodeType::kPlus, {sign()});
  if (take('@')) return add(NodeType::kSingle, {sign()});
  return intersection();
}

bool Parser::gives_cells(Position position) {
  const Node& made = node(position);
  switch (made.type) {
    case NodeType::kReference:
    case NodeType::kName:
    case NodeType::kRange:
    case NodeType::kUnion:
    case NodeType::kIntersection:
    case NodeType::kSpill:
      return true;
    case NodeType::kLocal:
    case NodeType::kLet:
      return gives_cells(made.children.back());
    case NodeType::kFunction:
      return (made.function->flags & kGivesCells) != 0;
    default:
      return false;
  }
}

bool Parser::starts_reference() const {
  const char c = peek();
  return c == '$' || c == '\'' || c == '(' || c == '[' || is_name_start(c);
}

Parser::Position Parser::intersection() {
  Position left = range();
  for (;;) {
    const std::size_t before = at_;
    skip_space();
    if (at_ == before || !gives_cells(left) || !starts_reference()) return left;
    const Position right = range();
    left = add(NodeType::kIntersection, {left, right});
  }
}

Parser::Position Parser::range() {
  Position left = primary();
  for (;;) {
    if (peek() == '#' && gives_cells(left)) {
      ++at_;
      left = add_spill(left);
    } else if (peek() == ':') {
      ++at_;
      const Position right = primary();
      formula_.finds_cells = true;
      left = add(NodeType::kRange, {left, right});
    } else {
      return left;
    }
  }
}

Parser::Position Parser::primary() {
  const Depth depth(*this);
  skip_space();
  const char c = peek();
  const Sheets here{cell_.sheet, cell_.sheet};
  if (c == '(') return parentheses();
  if (c == '"') return string();
  if (c == '#') return error();
  if (c == '{') return array();
  if (c == '\'') return quoted_sheet();
  if (c == '[') return external();
  if (is_digit(c) || c == '$') {
    if (const auto found = reference(here)) return *found;
  }
  if (is_digit(c) || c == '.') return number();
  if (is_name_start(c)) return words();
  fail(c == '\0' ? "it ends too early" : "a value is missing");
}

Parser::Position Parser::parentheses() {
  ++at_;
  const Position inside = list();
  expect(')');
  return inside;
}

Parser::Position Parser::list() {
  const Position first = comparison();
  if (!take(',')) return first;
  std::vector<Position> blocks{first};
  do blocks.push_back(comparison());
  while (take(','));
  return add(NodeType::kUnion, std::move(blocks));
}

Parser::Position Parser::number() {
  double number = 0;
  const char* begin = text_.data() + at_;
  const auto [end, error] = std::from_chars(begin, text_.data() + text_.size(), number);
  if (error != std::errc()) fail("a number cannot be read");
  at_ += static_cast<std::size_t>(end - begin);
  return add_constant(Value(number));
}

Parser::Position Parser::string() {
  std::string content;
  for (++at_;; ++at_) {
    if (at_ >= text_.size()) fail("a text does not end");
    if (peek() == '"' && peek(1) != '"') break;
    if (peek() == '"') ++at_;
    content += peek();
  }
  ++at_;
  return add_constant(arena_.text(std::move(content)));
}

Parser::Position Parser::error() {
  for (const std::string_view text : {"#NULL!", "#DIV/0!", "#VALUE!", "#REF!", "#NAME?", "#NUM!", "#N/A"}) {
    if (!text_.substr(at_).starts_with(text)) continue;
    at_ += text.size();
    return add_constant(Value(error_of_text(text)));
  }
  fail("an error value cannot be read");
}

Value Parser::array_value() {
  skip_space();
  const bool negative = take('-');
  if (!negative) take('+');
  skip_space();
  Position made = 0;
  if (peek() == '"') {
    made = string();
  } else if (peek() == '#') {
    made = error();
  } else if (is_name_start(peek())) {
    const std::string word_read = upper_ascii(word());
    if (word_read != "TRUE" && word_read != "FALSE") fail("an array holds something other than constants");
    return Value::boolean(word_read == "TRUE");
  } else {
    made = number();
  }
  const Value value = node(made).constant;
  formula_.nodes.pop_back();
  return negative && value.is_number() ? Value(-value.number()) : value;
}

Parser::Position Parser::array() {
  ++at_;
  Array values;
  std::int32_t columns = 0;
  for (;;) {
    values.values.push_back(array_value());
    ++columns;
    if (take(',')) continue;
    if (values.rows > 0 && columns != values.columns) fail("the rows of an array differ in length");
    values.columns = columns;
    columns = 0;
    ++values.rows;
    if (take('}')) break;
    expect(';');
  }
  Node made;
  made.type = NodeType::kArray;
  Array& kept = arena_.array(values.rows, values.columns);
  kept.values = std::move(values.values);
  made.array = &kept;
  return add(std::move(made));
}

std::string_view Parser::word() {
  const std::size_t begin = at_;
  while (is_name_part(peek())) ++at_;
  return text_.substr(begin, at_ - begin);
}

Sheets Parser::sheets_named(std::string_view first, std::string_view last) {
  return {names_.sheet(first), names_.sheet(last)};
}

// What begins with a letter: a cell, a name, a function, a table or the name of a sheet.
Parser::Position Parser::words() {
  const std::size_t begin = at_;
  const std::string_view first = word();
  if (peek() == '!') {
    ++at_;
    return after_sheets(sheets_named(first, first));
  }
  if (peek() == ':' && is_name_start(peek(1))) {
    const std::size_t colon = at_++;
    const std::string_view last = word();
    if (peek() == '!') {
      ++at_;
      return after_sheets(sheets_named(first, last));
    }
    at_ = colon;
  }
  if (peek() == '(') return function(first);
  if (peek() == '[') return table(first);
  for (auto local = locals_.rbegin(); local != locals_.rend(); ++local)
    if (unicode::same_name(local->first, first)) return add(NodeType::kLocal, {local->second});
  at_ = begin;
  if (const auto found = reference({cell_.sheet, cell_.sheet})) return *found;
  at_ = begin + first.size();
  const std::string upper = upper_ascii(first);
  if (upper == "TRUE" || upper == "FALSE") return add_constant(Value::boolean(upper == "TRUE"));
  return name(first, cell_.sheet);
}

Parser::Position Parser::quoted_sheet() {
  std::string text;
  for (++at_;; ++at_) {
    if (at_ >= text_.size()) fail("the name of a sheet does not end");
    if (peek() == '\'' && peek(1) != '\'') break;
    if (peek() == '\'') ++at_;
    text += peek();
  }
  ++at_;
  if (peek() != '!') fail("\"!\" is missing behind the name of a sheet");
  ++at_;
  if (text.find('[') != text.npos) {
    if (!reference({0, 0})) word();
    return add_unsupported("a reference to another workbook");
  }
  const std::size_t colon = text.find(':');
  if (colon == text.npos) return after_sheets(sheets_named(text, text));
  return after_sheets(sheets_named(text.substr(0, colon), text.substr(colon + 1)));
}

// [1]Sheet!A1, [1]!Name; [0] is this workbook.
Parser::Position Parser::external() {
  const std::size_t end = text_.find(']', at_);
  if (end == text_.npos) fail("\"]\" is missing");
  const std::string_view book = text_.substr(at_ + 1, end - at_ - 1);
  if (book.empty() || !std::all_of(book.begin(), book.end(), is_digit)) return table("");
  at_ = end + 1;
  const bool is_own = book == "0";
  if (is_own && peek() == '!') {
    ++at_;
    return name(word(), -1);
  }
  if (is_own) return primary();
  word();
  if (peek() == ':') {
    ++at_;
    word();
  }
  if (peek() == '!') ++at_;
  const std::size_t begin = at_;
  if (!reference({0, 0})) {
    at_ = begin;
    if (peek() == '#')
      error();
    else
      word();
  }
  if (peek() == '(') return function("");
  return add_unsupported("a reference to another workbook");
}

Parser::Position Parser::after_sheets(const Sheets& sheets) {
  if (peek() == '#') return error();
  const std::size_t begin = at_;
  if (sheets.first < 0 || sheets.last < 0) {
    if (!reference({0, 0})) {
      at_ = begin;
      word();
    }
    return add_constant(Value(ErrorCode::kReference));
  }
  const Sheets ordered{std::min(sheets.first, sheets.last), std::max(sheets.first, sheets.last)};
  if (const auto found = reference(ordered)) return *found;
  at_ = begin;
  const std::string_view named = word();
  if (named.empty()) fail("a reference is missing behind the name of a sheet");
  if (peek() == '(') return function(named);
  return name(named, sheets.first);
}

Corner Parser::corner(const AddressEnd& end) const {
  Corner corner;
  corner.row_moves = end.row >= 0 && !end.fixed_row;
  corner.column_moves = end.column >= 0 && !end.fixed_column;
  corner.row = end.row - (corner.row_moves ? cell_.row : 0);
  corner.column = end.column - (corner.column_moves ? cell_.column : 0);
  return corner;
}

Parser::Position Parser::block(const AddressEnd& first, const AddressEnd& last, const Sheets& sheets) {
  Node made;
  made.type = NodeType::kReference;
  made.sheet = sheets.first;
  made.last_sheet = sheets.last;
  made.first = corner(first);
  made.last = corner(last);
  if (first.row < 0) {
    made.first.row = 0;
    made.last.row = kRows - 1;
  }
  if (first.column < 0) {
    made.first.column = 0;
    made.last.column = kColumns - 1;
  }
  return add(std::move(made));
}

std::optional<Parser::Position> Parser::whole_rows_or_columns(const AddressEnd& first, const Sheets& sheets) {
  if (peek() != ':') return std::nullopt;
  const AddressEnd last = read_address_end(text_.substr(at_ + 1));
  if (last.length == 0 || (last.row < 0) != (first.row < 0) || (last.column < 0) != (first.column < 0))
    return std::nullopt;
  at_ += 1 + last.length;
  if (is_name_part(peek()) || peek() == '(') return std::nullopt;
  return block(first, last, sheets);
}

// Nothing, and the position anywhere, when there is none.
std::optional<Parser::Position> Parser::reference(const Sheets& sheets) {
  const AddressEnd first = read_address_end(text_.substr(at_));
  if (first.length == 0) return std::nullopt;
  const std::size_t begin = at_;
  at_ += first.length;
  const bool is_cell = first.row >= 0 && first.column >= 0;
  if (!is_cell) {
    const auto whole = whole_rows_or_columns(first, sheets);
    if (!whole) at_ = begin;
    return whole;
  }
  if (is_name_part(peek()) || peek() == '(') {
    at_ = begin;
    return std::nullopt;
  }
  if (peek() == ':') {
    const AddressEnd last = read_address_end(text_.substr(at_ + 1));
    const std::size_t behind = at_ + 1 + last.length;
    const char next = behind < text_.size() ? text_[behind] : '\0';
    if (last.row >= 0 && last.column >= 0 && !is_name_part(next) && next != '(' && next != '!') {
      at_ = behind;
      return block(first, last, sheets);
    }
  }
  return block(first, first, sheets);
}

Parser::Position Parser::name(std::string_view text, std::int32_t sheet) {
  if (text.empty()) fail("a value is missing");
  Node made;
  made.name = names_.name(text, sheet);
  if (made.name < 0) {
    if (names_.table(text, cell_) != nullptr) return table_block(*names_.table(text, cell_), {});
    return add_unsupported("the name " + std::string(text));
  }
  made.type = NodeType::kName;
  const Formula& used = names_.named(made.name);
  if (formula_.unsupported.empty()) formula_.unsupported = used.unsupported;
  formula_.finds_cells = formula_.finds_cells || used.finds_cells;
  formula_.is_volatile = formula_.is_volatile || used.is_volatile;
  return add(std::move(made));
}

// LET(name, value, ..., result): names stand for their values in all that follows.
Parser::Position Parser::let() {
  const std::size_t outer = locals_.size();
  std::vector<Position> children;
  for (;;) {
    skip_space();
    const std::size_t begin = at_;
    const std::string_view name = is_name_start(peek()) ? word() : std::string_view();
    if (name.empty() || !take(',')) {
      at_ = begin;
      break;
    }
    if (++names_of_let_ > kMostNamesOfLet) fail("LET has more names than formulas can have");
    children.push_back(comparison());
    locals_.emplace_back(name, children.back());
    expect(',');
  }
  if (children.empty()) fail("a name and its value are missing");
  children.push_back(comparison());
  expect(')');
  locals_.resize(outer);
  return add(NodeType::kLet, std::move(children));
}

Parser::Position Parser::function(std::string_view text) {
  expect('(');
  if (unicode::same_name(text, "_xlfn.LET") || unicode::same_name(text, "LET")) return let();
  Node made;
  made.type = NodeType::kFunction;
  if (!take(')')) {
    do {
      skip_space();
      const bool is_empty = peek() == ',' || peek() == ')';
      made.children.push_back(is_empty ? add(NodeType::kMissing, {}) : comparison());
    } while (take(','));
    expect(')');
  }
  return check_arguments(std::move(made), text);
}

Parser::Position Parser::add_spill(Position anchor) {
  formula_.finds_cells = true;
  return add(NodeType::kSpill, {anchor});
}

Parser::Position Parser::check_arguments(Node made, std::string_view text) {
  std::string upper = upper_ascii(text);
  // As files have A1# and @A1:A9.
  if (upper == "_XLFN.ANCHORARRAY" && made.children.size() == 1) return add_spill(made.children[0]);
  if (upper == "_XLFN.SINGLE" && made.children.size() == 1) return add(NodeType::kSingle, made.children);
  made.function = find_function(upper);
  if (made.function == nullptr) {
    for (const std::string_view prefix : {"_XLFN.", "_XLWS.", "_XLUDF."})
      if (upper.starts_with(prefix)) upper.erase(0, prefix.size());
    return add_unsupported(upper.empty() ? "a function of another workbook" : upper);
  }
  const std::size_t count = made.children.size();
  if (count < made.function->least || (made.function->most != kAnyNumber && count > made.function->most))
    return add_unsupported(upper + " with " + std::to_string(count) + " arguments");
  formula_.finds_cells = formula_.finds_cells || (made.function->flags & kFindsCells) != 0;
  formula_.is_volatile = formula_.is_volatile || (made.function->flags & kVolatile) != 0;
  return add(std::move(made));
}

// A column's name up to `end`, in which ' stands before [ ] # and '.
std::string Parser::table_column(char end) {
  std::string column;
  for (; peek() != end; ++at_) {
    if (at_ >= text_.size()) fail("\"]\" is missing");
    if (peek() == '\'' && at_ + 1 < text_.size()) ++at_;
    column += peek();
  }
  return column;
}

void Parser::table_keyword(TableParts& parts, std::string_view text) const {
  const std::string lower = text::lower_ascii(text);
  if (lower == "#all")
    parts.all = true;
  else if (lower == "#data")
    parts.data = true;
  else if (lower == "#headers")
    parts.headers = true;
  else if (lower == "#totals")
    parts.totals = true;
  else if (lower == "#this row")
    parts.this_row = true;
  else
    fail("a part of a table cannot be read");
}

void Parser::table_part(TableParts& parts, bool is_bracketed) {
  const bool is_keyword = peek() == '#';
  const std::string text = table_column(']');
  ++at_;
  if (is_keyword) {
    table_keyword(parts, text);
  } else if (parts.first.empty()) {
    parts.first = parts.last = text;
  } else {
    parts.last = text;
  }
  if (!is_bracketed) --at_;
}

// Behind the name of a table: [Column], [[#This Row],[Column]], [@Column], [[First]:[Last]], [#All] and their
// kin.
Parser::Position Parser::table(std::string_view text) {
  expect('[');
  TableParts parts;
  skip_space();
  if (peek() == '@') {
    ++at_;
    parts.this_row = true;
  }
  skip_space();
  if (peek() == '[') {
    do {
      expect('[');
      table_part(parts, true);
      skip_space();
      if (peek() == ':') {
        ++at_;
        expect('[');
        table_part(parts, true);
      }
    } while (take(','));
  } else if (peek() != ']') {
    table_part(parts, false);
  }
  expect(']');
  const FormulaNames::Table* found = names_.table(text, cell_);
  if (found == nullptr) return add_unsupported("the table " + text::quoted_text(text));
  return table_block(*found, parts);
}

std::optional<std::int32_t> column_of(const FormulaNames::Table& table, std::string_view name) {
  for (std::size_t i = 0; i < table.columns.size(); ++i)
    if (unicode::same_name(table.columns[i], name)) return table.area.column + static_cast<std::int32_t>(i);
  return std::nullopt;
}

Parser::Position Parser::table_block(const FormulaNames::Table& table, const TableParts& parts) {
  Node made;
  made.type = NodeType::kReference;
  made.sheet = made.last_sheet = table.sheet;
  made.first.column = table.area.column;
  made.last.column = table.area.last_column;
  if (!parts.first.empty()) {
    const auto first = column_of(table, parts.first), last = column_of(table, parts.last);
    if (!first || !last) return add_constant(Value(ErrorCode::kReference));
    made.first.column = *first;
    made.last.column = *last;
  }
  const std::int32_t data = table.area.row + table.header_rows,
                     last_data = table.area.last_row - table.total_rows;
  if (parts.this_row) {
    if (!is_name_ && (cell_.row < data || cell_.row > last_data))
      return add_constant(Value(ErrorCode::kValue));
    made.first.row_moves = made.last.row_moves = true;
    return add(std::move(made));
  }
  made.first.row = parts.all || parts.headers    ? table.area.row
                   : parts.totals && !parts.data ? last_data + 1
                                                 : data;
  made.last.row = parts.all || parts.totals      ? table.area.last_row
                  : parts.headers && !parts.data ? data - 1
                                                 : last_data;
  if (made.first.row > made.last.row) return add_constant(Value(ErrorCode::kReference));
  return add(std::move(made));
}

std::int32_t moved(std::int32_t place, bool moves, std::int32_t by, std::int32_t size) {
  return moves ? ((place + by) % size + size) % size : place;
}

}  // namespace

Reference resolved(const Node& node, std::int32_t row, std::int32_t column) {
  const std::int32_t row1 = moved(node.first.row, node.first.row_moves, row, kRows);
  const std::int32_t row2 = moved(node.last.row, node.last.row_moves, row, kRows);
  const std::int32_t column1 = moved(node.first.column, node.first.column_moves, column, kColumns);
  const std::int32_t column2 = moved(node.last.column, node.last.column_moves, column, kColumns);
  return {node.sheet,           node.last_sheet,           std::min(row1, row2), std::min(column1, column2),
          std::max(row1, row2), std::max(column1, column2)};
}

Formula parse_formula(std::string_view text, const Reference& cell, const FormulaNames& names, Arena& arena) {
  return Parser(text, cell, false, names, arena).parse();
}

Formula parse_name(std::string_view text, std::int32_t sheet, const FormulaNames& names, Arena& arena) {
  Reference cell;
  cell.sheet = cell.last_sheet = sheet;
  return Parser(text, cell, true, names, arena).parse();
}

}  // namespace ordvane::calc
