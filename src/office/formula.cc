#include "office/formula.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "office/number_format.h"
#include "text/edit.h"
#include "unicode/names.h"

namespace ordvane::office {

using host::CellError;
using host::CellKind;
using host::CellValue;

namespace {

// What a formula is computed from.
struct Place {
  CellSource& cells;
  Shift shift;
};

}  // namespace

// What a formula is made of. Operators are functions of two values.
struct Formula::Node {
  enum class Kind { kValue, kCells, kOperator, kCall };
  using Function = CellValue (*)(const std::vector<std::unique_ptr<const Node>>& arguments,
                                 const Place& place);
  using Operator = CellValue (*)(const CellValue& left, const CellValue& right);

  Kind kind = Kind::kValue;
  CellValue value;
  Reference cells;
  Operator operation = nullptr;
  Function function = nullptr;
  std::vector<std::unique_ptr<const Node>> arguments;
  int depth = 1;  // of the tree from here
};

namespace {

using Node = Formula::Node;
using NodePtr = std::unique_ptr<const Node>;
using Arguments = std::vector<NodePtr>;

constexpr int kDeepest = 1000;  // deeper formulas are refused rather than computed on a stack of any depth
constexpr int kDeepestParentheses = 64;

// ---- Computing ----

CellValue number_or_error(double number) {
  return std::isfinite(number) ? CellValue(number) : CellValue(CellError::kNum);
}

bool read_number(std::string_view text, double& number) {
  text = text::trimmed(text);
  if (!text.empty() && text[0] == '+') text.remove_prefix(1);
  const bool starts_as_number = !text.empty() && text.find_first_of("0123456789.-") == 0;
  const char* const end = text.data() + text.size();
  if (!starts_as_number) return false;
  const auto [stop, fault] = std::from_chars(text.data(), end, number);
  return fault == std::errc() && stop == end && std::isfinite(number);
}

// A value as a number: blanks are 0, texts are read. Errors stay.
CellValue as_number(const CellValue& value) {
  double number = 0;
  switch (value.kind) {
    case CellKind::kText:
      return read_number(value.text, number) ? CellValue(number) : CellValue(CellError::kValue);
    case CellKind::kError:
      return value;
    default:
      return value.number;
  }
}

template <class Operation>
CellValue on_numbers(const CellValue& left, const CellValue& right, Operation operation) {
  CellValue a = as_number(left), b = as_number(right);
  if (a.is_error()) return a;
  if (b.is_error()) return b;
  return operation(a.number, b.number);
}

CellValue add(const CellValue& left, const CellValue& right) {
  return on_numbers(left, right, [](double a, double b) { return number_or_error(a + b); });
}
CellValue subtract(const CellValue& left, const CellValue& right) {
  return on_numbers(left, right, [](double a, double b) { return number_or_error(a - b); });
}
CellValue multiply(const CellValue& left, const CellValue& right) {
  return on_numbers(left, right, [](double a, double b) { return number_or_error(a * b); });
}
CellValue divide(const CellValue& left, const CellValue& right) {
  return on_numbers(left, right, [](double a, double b) {
    return b == 0 ? CellValue(CellError::kDiv0) : number_or_error(a / b);
  });
}
CellValue raise(const CellValue& left, const CellValue& right) {
  return on_numbers(left, right, [](double a, double b) {
    return a == 0 && b == 0 ? CellValue(CellError::kNum) : number_or_error(std::pow(a, b));
  });
}
CellValue join(const CellValue& left, const CellValue& right) {
  if (left.is_error()) return left;
  if (right.is_error()) return right;
  return edited_text(left) + edited_text(right);
}

// Numbers come before texts, texts before booleans; a blank is like an empty value of the other kind.
int rank(const CellValue& value) {
  return value.kind == CellKind::kBoolean ? 2 : value.kind == CellKind::kText ? 1 : 0;
}
int order(const CellValue& left, const CellValue& right) {
  const bool a_blank = left.kind == CellKind::kBlank, b_blank = right.kind == CellKind::kBlank;
  const int ranks = (a_blank ? rank(right) : rank(left)) - (b_blank ? rank(left) : rank(right));
  if (ranks != 0) return ranks;
  const int texts = unicode::folded(left.text).compare(unicode::folded(right.text));
  if (texts != 0) return texts;
  return left.number < right.number ? -1 : left.number > right.number ? 1 : 0;
}

template <class Test>
CellValue compare(const CellValue& left, const CellValue& right, Test test) {
  if (left.is_error()) return left;
  if (right.is_error()) return right;
  return CellValue::boolean(test(order(left, right)));
}

CellValue is_equal(const CellValue& left, const CellValue& right) {
  return compare(left, right, [](int order) { return order == 0; });
}
CellValue is_different(const CellValue& left, const CellValue& right) {
  return compare(left, right, [](int order) { return order != 0; });
}
CellValue is_less(const CellValue& left, const CellValue& right) {
  return compare(left, right, [](int order) { return order < 0; });
}
CellValue is_at_most(const CellValue& left, const CellValue& right) {
  return compare(left, right, [](int order) { return order <= 0; });
}
CellValue is_greater(const CellValue& left, const CellValue& right) {
  return compare(left, right, [](int order) { return order > 0; });
}
CellValue is_at_least(const CellValue& left, const CellValue& right) {
  return compare(left, right, [](int order) { return order >= 0; });
}

CellValue compute_node(const Node& node, const Place& place) {
  switch (node.kind) {
    case Node::Kind::kValue:
      return node.value;
    case Node::Kind::kCells: {
      const Area cells = node.cells.moved(place.shift);
      if (cells.rows > 1 || cells.columns > 1) return CellError::kValue;
      return place.cells.value(cells.row, cells.column);
    }
    case Node::Kind::kOperator:
      return node.operation(compute_node(*node.arguments[0], place), compute_node(*node.arguments[1], place));
    case Node::Kind::kCall:
      return node.function(node.arguments, place);
  }
  return CellError::kName;
}

// ---- Functions ----

// Folds the numbers of the arguments. Of cells only numbers count, other values are read as numbers.
template <class Fold>
CellValue fold_numbers(const Arguments& arguments, const Place& place, Fold fold) {
  std::optional<double> result;
  CellValue fault;
  const auto take = [&](const CellValue& value) {
    if (value.is_error() && !fault.is_error()) fault = value;
    if (value.is_number()) result = result ? fold(*result, value.number) : value.number;
  };
  for (const NodePtr& argument : arguments) {
    if (argument->kind == Node::Kind::kCells)
      place.cells.each_value(argument->cells.moved(place.shift), take);
    else
      take(as_number(compute_node(*argument, place)));
  }
  return fault.is_error() ? fault : number_or_error(result.value_or(0));
}

CellValue sum(const Arguments& arguments, const Place& place) {
  return fold_numbers(arguments, place, [](double a, double b) { return a + b; });
}
CellValue smallest(const Arguments& arguments, const Place& place) {
  return fold_numbers(arguments, place, [](double a, double b) { return std::min(a, b); });
}
CellValue greatest(const Arguments& arguments, const Place& place) {
  return fold_numbers(arguments, place, [](double a, double b) { return std::max(a, b); });
}
CellValue absolute(const Arguments& arguments, const Place& place) {
  const CellValue value = as_number(compute_node(*arguments[0], place));
  return value.is_error() ? value : CellValue(std::fabs(value.number));
}
CellValue is_number(const Arguments& arguments, const Place& place) {
  return CellValue::boolean(compute_node(*arguments[0], place).is_number());
}
CellValue number_of(const Arguments& arguments, const Place& place) {
  const CellValue value = compute_node(*arguments[0], place);
  return value.is_error() ? value : CellValue(value.number);
}
CellValue choose(const Arguments& arguments, const Place& place) {
  CellValue condition = as_number(compute_node(*arguments[0], place));
  if (condition.is_error()) return condition;
  if (condition.number != 0) return compute_node(*arguments[1], place);
  return arguments.size() > 2 ? compute_node(*arguments[2], place) : CellValue::boolean(false);
}
// What the cell of a link shows; where it leads is up to the program that opens the workbook.
CellValue shown_link(const Arguments& arguments, const Place& place) {
  return compute_node(*arguments.back(), place);
}
CellValue text_of(const Arguments& arguments, const Place& place) {
  CellValue value = compute_node(*arguments[0], place);
  const CellValue format = compute_node(*arguments[1], place);
  if (value.is_error()) return value;
  return format.is_error() ? format
                           : CellValue(displayed_text(value, edited_text(format), place.cells.symbols()));
}
CellValue not_available(const Arguments&, const Place&) {
  return CellError::kNA;
}

struct FunctionEntry {
  std::string_view name;
  std::size_t fewest, most;
  Node::Function function;
};
constexpr std::size_t kAnyNumber = 255;
constexpr std::array<FunctionEntry, 10> kFunctions = {{
    {"abs", 1, 1, absolute},
    {"hyperlink", 1, 2, shown_link},
    {"if", 2, 3, choose},
    {"isnumber", 1, 1, is_number},
    {"max", 1, kAnyNumber, greatest},
    {"min", 1, kAnyNumber, smallest},
    {"n", 1, 1, number_of},
    {"na", 0, 0, not_available},
    {"sum", 1, kAnyNumber, sum},
    {"text", 2, 2, text_of},
}};

struct OperatorEntry {
  std::string_view sign;
  int binding;  // the higher, the closer
  Node::Operator operation;
};
// Of signs that begin alike the longest first. All group from the left.
constexpr std::array<OperatorEntry, 12> kOperators = {{
    {"<=", 0, is_at_most},
    {">=", 0, is_at_least},
    {"<>", 0, is_different},
    {"<", 0, is_less},
    {">", 0, is_greater},
    {"=", 0, is_equal},
    {"&", 1, join},
    {"+", 2, add},
    {"-", 2, subtract},
    {"*", 3, multiply},
    {"/", 3, divide},
    {"^", 4, raise},
}};

// ---- Reading ----

bool is_name_character(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '.' ||
         c == '$' || c == '!';
}

// Every reader returns null for what it does not understand.
class Parser {
 public:
  Parser(std::string_view text, std::vector<Reference>& precedents) : text_(text), precedents_(precedents) {}

  NodePtr read_all() {
    NodePtr node = read_operators(0);
    skip_blanks();
    return at_ == text_.size() ? std::move(node) : nullptr;
  }

 private:
  void skip_blanks() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\n')) ++at_;
  }
  bool take(char sign) {
    skip_blanks();
    if (at_ == text_.size() || text_[at_] != sign) return false;
    ++at_;
    return true;
  }

  const OperatorEntry* next_operator();
  NodePtr read_operators(int binding);
  NodePtr read_signed();
  NodePtr read_operand();
  NodePtr read_number_node();
  NodePtr read_text();
  NodePtr read_error();
  NodePtr read_name();
  NodePtr read_cells();
  NodePtr read_call(const FunctionEntry& entry);
  NodePtr read_parentheses();

  static NodePtr value_node(CellValue value) {
    auto node = std::make_unique<Node>();
    node->value = std::move(value);
    return node;
  }
  static NodePtr operator_node(Node::Operator operation, NodePtr left, NodePtr right);

  std::string_view text_;
  std::vector<Reference>& precedents_;
  std::size_t at_ = 0;
  int parentheses_ = 0;
};

NodePtr Parser::operator_node(Node::Operator operation, NodePtr left, NodePtr right) {
  if (!left || !right) return nullptr;
  auto node = std::make_unique<Node>();
  node->kind = Node::Kind::kOperator;
  node->operation = operation;
  node->depth = std::max(left->depth, right->depth) + 1;
  if (node->depth > kDeepest) return nullptr;
  node->arguments.reserve(2);
  node->arguments.push_back(std::move(left));
  node->arguments.push_back(std::move(right));
  return node;
}

// Null when none follows.
const OperatorEntry* Parser::next_operator() {
  skip_blanks();
  const std::string_view rest = text_.substr(at_);
  for (const OperatorEntry& known : kOperators)
    if (!rest.empty() && rest[0] == known.sign[0] && rest.starts_with(known.sign)) return &known;
  return nullptr;
}

// Operands and operators that bind at least so closely.
NodePtr Parser::read_operators(int binding) {
  NodePtr left = read_signed();
  while (left) {
    const OperatorEntry* next = next_operator();
    if (next == nullptr || next->binding < binding) return left;
    at_ += next->sign.size();
    left = operator_node(next->operation, std::move(left), read_operators(next->binding + 1));
  }
  return nullptr;
}

NodePtr Parser::read_signed() {
  bool negative = false;
  while (take('-') || take('+')) negative ^= text_[at_ - 1] == '-';
  NodePtr node = read_operand();
  while (node && take('%')) node = operator_node(divide, std::move(node), value_node(100.0));
  return negative ? operator_node(subtract, value_node(0.0), std::move(node)) : std::move(node);
}

NodePtr Parser::read_operand() {
  skip_blanks();
  if (at_ == text_.size()) return nullptr;
  const char c = text_[at_];
  if (c == '(') return read_parentheses();
  if (c == '"') return read_text();
  if (c == '#') return read_error();
  if ((c >= '0' && c <= '9') || c == '.') return read_number_node();
  return is_name_character(c) ? read_name() : nullptr;
}

NodePtr Parser::read_parentheses() {
  if (++parentheses_ > kDeepestParentheses) return nullptr;
  ++at_;
  NodePtr node = read_operators(0);
  --parentheses_;
  return take(')') ? std::move(node) : nullptr;
}

NodePtr Parser::read_number_node() {
  double number = 0;
  const auto [stop, fault] = std::from_chars(text_.data() + at_, text_.data() + text_.size(), number);
  if (fault != std::errc()) return nullptr;
  at_ = static_cast<std::size_t>(stop - text_.data());
  return value_node(number);
}

NodePtr Parser::read_text() {
  std::string text;
  for (++at_; at_ < text_.size(); ++at_) {
    if (text_[at_] == '"' && text_.substr(at_ + 1, 1) != "\"") {
      ++at_;
      return value_node(std::move(text));
    }
    if (text_[at_] == '"') ++at_;
    text += text_[at_];
  }
  return nullptr;
}

NodePtr Parser::read_error() {
  constexpr std::size_t kLongestError = 7;
  CellError error{};
  for (std::size_t length = kLongestError; length > 1; --length) {
    if (!host::cell_error_from_text(text_.substr(at_, length), error)) continue;
    at_ += std::min(length, text_.size() - at_);
    return value_node(error);
  }
  return nullptr;
}

NodePtr Parser::read_name() {
  const std::size_t start = at_;
  while (at_ < text_.size() && is_name_character(text_[at_])) ++at_;
  const std::string_view name = text_.substr(start, at_ - start);
  const auto is = [name](std::string_view known) {
    return name.size() == known.size() && unicode::same_name(name, known);
  };
  if (take('(')) {
    const auto entry = std::find_if(kFunctions.begin(), kFunctions.end(),
                                    [&](const FunctionEntry& known) { return is(known.name); });
    return entry == kFunctions.end() ? nullptr : read_call(*entry);
  }
  if (is("true") || is("false")) return value_node(CellValue::boolean(is("true")));
  at_ = start;
  return read_cells();
}

NodePtr Parser::read_cells() {
  const std::size_t start = at_;
  while (at_ < text_.size() && (is_name_character(text_[at_]) || text_[at_] == ':')) ++at_;
  const auto reference = parse_reference(text_.substr(start, at_ - start));
  if (!reference) return nullptr;
  precedents_.push_back(*reference);
  auto node = std::make_unique<Node>();
  node->kind = Node::Kind::kCells;
  node->cells = *reference;
  return node;
}

NodePtr Parser::read_call(const FunctionEntry& entry) {
  if (++parentheses_ > kDeepestParentheses) return nullptr;
  auto node = std::make_unique<Node>();
  node->kind = Node::Kind::kCall;
  node->function = entry.function;
  if (!take(')')) {
    do {
      NodePtr argument = read_operators(0);
      if (!argument) return nullptr;
      node->depth = std::max(node->depth, argument->depth + 1);
      node->arguments.push_back(std::move(argument));
    } while (take(','));
    if (!take(')')) return nullptr;
  }
  --parentheses_;
  const std::size_t count = node->arguments.size();
  return count >= entry.fewest && count <= entry.most ? std::move(node) : nullptr;
}

}  // namespace

Formula::Formula(std::string_view text) : root_(Parser(text, precedents_).read_all()) {}
Formula::~Formula() = default;
Formula::Formula(Formula&&) noexcept = default;
Formula& Formula::operator=(Formula&&) noexcept = default;

CellValue Formula::compute(CellSource& cells, const Shift& shift) const {
  if (!root_) return CellError::kName;
  CellValue result = compute_node(*root_, {cells, shift});
  if (result.kind == CellKind::kBlank) return 0.0;
  return result;
}

// ---- Texts of formulas and values ----

namespace {

void append_moved(std::string& text, const ReferenceText& reference, std::int32_t rows,
                  std::int32_t columns) {
  const std::int64_t row = std::int64_t{reference.cell.row} + (reference.fixed_row ? 0 : rows);
  const std::int64_t column = std::int64_t{reference.cell.column} + (reference.fixed_column ? 0 : columns);
  if (row < 1 || row > kSheetRows || column < 1 || column > kSheetColumns) {
    text += "#REF!";
    return;
  }
  if (reference.fixed_column) text += '$';
  text += column_name(static_cast<std::int32_t>(column));
  if (reference.fixed_row) text += '$';
  text += std::to_string(row);
}

}  // namespace

std::string moved_formula(std::string_view formula, std::int32_t rows, std::int32_t columns) {
  if (formula.empty() || formula[0] != '=') return std::string(formula);
  std::string result;
  result.reserve(formula.size() + formula.size() / 4);  // rows may have more figures
  std::size_t taken = 0;                                // what stands before is in the result
  for (std::size_t at = 0, end = 0; at < formula.size(); at = end) {
    const char c = formula[at];
    end = at + 1;
    if (c == '"' || c == '\'') {
      end = std::min(formula.find(c, end), formula.size() - 1) + 1;
    } else if (is_name_character(c)) {
      while (end < formula.size() && is_name_character(formula[end])) ++end;
      // A name before "!" is a sheet's; the reference follows it.
      const std::size_t mark = formula.substr(at, end - at).rfind('!');
      const std::size_t start = mark == std::string_view::npos ? at : at + mark + 1;
      const ReferenceText reference = read_reference(formula.substr(start, end - start));
      const bool is_call = end < formula.size() && formula[end] == '(';
      if (reference.length == 0 || reference.length != end - start || is_call) continue;
      result += formula.substr(taken, start - taken);
      append_moved(result, reference, rows, columns);
      taken = end;
    }
  }
  result += formula.substr(taken);
  return result;
}

CellValue typed_value(std::string_view text) {
  double number = 0;
  CellError error{};
  if (text.empty()) return {};
  if (text[0] == '\'') return std::string(text.substr(1));
  if (read_number(text, number)) return number;
  if (unicode::same_name(text, "TRUE") || unicode::same_name(text, "FALSE"))
    return CellValue::boolean(unicode::same_name(text, "TRUE"));
  if (host::cell_error_from_text(text, error)) return error;
  return std::string(text);
}

std::string edited_text(const CellValue& value) {
  constexpr double kSmallestFixed = 1e-9, kGreatestFixed = 1e21;
  switch (value.kind) {
    case CellKind::kBlank:
      return "";
    case CellKind::kText:
      return value.text;
    case CellKind::kBoolean:
      return value.number != 0 ? "TRUE" : "FALSE";
    case CellKind::kError:
      return std::string(host::cell_error_text(value.error()));
    case CellKind::kNumber:
      break;
  }
  const double size = std::fabs(value.number);
  const bool fixed = size == 0 || (size >= kSmallestFixed && size < kGreatestFixed);
  std::array<char, 64> buffer{};
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value.number,
                                     fixed ? std::chars_format::fixed : std::chars_format::scientific);
  std::string text(buffer.data(), written.ptr);
  std::replace(text.begin(), text.end(), 'e', 'E');
  return text;
}

}  // namespace ordvane::office
