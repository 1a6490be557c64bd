// What formulas calculate with: single values, references, arrays, and single values of several lanes at
// once.
//
// A value is small and trivially copied. Texts and arrays are not owned by it: they live in the workbook or
// in the arena of the evaluation, both of which outlive every value that is passed around in between.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "text/cell_names.h"

namespace ordvane::calc {

// Kinds up to kBlank count as numbers in arithmetic: TRUE as 1, a blank cell as 0. kEmpty is the value of a
// cell whose formula refers to a blank one: a 0 that also equals "". kUnchosen is what an IF of two arguments
// has in an array where its condition fails: passed over as a blank is, and FALSE in a cell.
enum class Kind : std::uint8_t { kNumber, kBoolean, kEmpty, kUnchosen, kBlank, kText, kError };

// The numbers are those by which LibreOffice's manual calls the errors. It tells more of them apart than
// Excel, which shows the name that error_text() gives.
enum class ErrorCode : std::uint16_t {
  kNone = 0,
  kArgument = 502,    // not within what the function takes
  kNumber = 503,      // overflow, or no number where one is calculated
  kParameters = 504,  // the wrong kind or number of them
  kPairs = 508,
  kMissing = 511,
  kTextOverflow = 513,
  kValue = 519,  // a text where a number is expected
  kNull = 521,   // no cells in common
  kCircular = 522,
  kNoConvergence = 523,
  kReference = 524,
  kName = 525,
  kDivision = 532,
  kNestedArray = 533,
  kNotAvailable = 32767,
};
// "#VALUE!" and so on, as Excel shows the error.
std::string_view error_text(ErrorCode error);
// The error of a text such as "#N/A"; kNone for other texts.
ErrorCode error_of_text(std::string_view text);

class Value {
 public:
  Value() : number_(0), kind_(Kind::kBlank) {}
  // What is no finite number is an error.
  Value(double number)  // NOLINT(google-explicit-constructor)
      : number_(number), kind_(Kind::kNumber) {
    if (!std::isfinite(number)) *this = Value(ErrorCode::kNumber);
  }
  Value(ErrorCode error)  // NOLINT(google-explicit-constructor)
      : number_(static_cast<double>(error)), kind_(Kind::kError) {}
  // The text must outlive the value; Arena::text() keeps one.
  explicit Value(const std::string* text) : text_(text), kind_(Kind::kText) {}
  static Value empty() {
    Value result(0.0);
    result.kind_ = Kind::kEmpty;
    return result;
  }
  static Value unchosen() {
    Value result(0.0);
    result.kind_ = Kind::kUnchosen;
    return result;
  }
  static Value boolean(bool value) {
    Value result(value ? 1.0 : 0.0);
    result.kind_ = Kind::kBoolean;
    return result;
  }

  Kind kind() const { return kind_; }
  bool is_number() const { return kind_ <= Kind::kEmpty; }  // in cells: all but blanks, texts and errors
  bool is_numeric() const { return kind_ <= Kind::kBlank; }
  bool is_blank() const { return kind_ == Kind::kBlank || kind_ == Kind::kUnchosen; }
  bool is_text() const { return kind_ == Kind::kText; }
  bool is_error() const { return kind_ == Kind::kError; }
  // As a cell holds it whose formula it is the result of.
  Value in_cell() const {
    return kind_ == Kind::kBlank ? empty() : kind_ == Kind::kUnchosen ? boolean(false) : *this;
  }
  // Each for values of its kind only; number() for is_numeric().
  double number() const { return number_; }
  const std::string& text() const { return *text_; }
  ErrorCode error() const { return static_cast<ErrorCode>(number_); }

 private:
  union {
    double number_;
    const std::string* text_;
  };
  Kind kind_;
};

// Bit for bit; texts by their characters.
bool identical(const Value& a, const Value& b);

inline constexpr std::int32_t kRows = text::kSheetRows;
inline constexpr std::int32_t kColumns = text::kSheetColumns;

// A block of cells, counted from 0, its last row and column included. On several sheets in a row when
// `last_sheet` differs.
struct Reference {
  std::int32_t sheet = 0, last_sheet = 0;
  std::int32_t row = 0, column = 0, last_row = 0, last_column = 0;

  std::int32_t rows() const { return last_row - row + 1; }
  std::int32_t columns() const { return last_column - column + 1; }
  bool is_cell() const { return row == last_row && column == last_column && sheet == last_sheet; }
  bool operator==(const Reference&) const = default;
};

// Row by row.
struct Array {
  std::int32_t rows = 0, columns = 0;
  std::vector<Value> values;
  // As many, where OFFSET and its kin found blocks, whose first cells the values are; on no sheet (-1) where
  // they found none.
  std::span<const Reference> blocks{};

  Value& at(std::int32_t row, std::int32_t column) {
    return values[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                  static_cast<std::size_t>(column)];
  }
  const Value& at(std::int32_t row, std::int32_t column) const {
    return const_cast<Array*>(this)->at(row, column);
  }
};

// Formulas make more texts and arrays than an arena keeps.
class ArenaFull : public std::exception {
 public:
  const char* what() const noexcept override { return "formulas make too many texts and arrays"; }
};

// Keeps what values point to, until it is cleared.
class Arena {
 public:
  Arena() = default;
  // Keeps at most so many bytes of texts and arrays: text() and array() throw ArenaFull.
  explicit Arena(std::size_t most_bytes) : most_bytes_(most_bytes) {}

  Value text(std::string text) {
    count(sizeof(std::string) + text.size());
    return Value(&texts_.emplace_back(std::move(text)));
  }
  Array& array(std::int32_t rows, std::int32_t columns);
  std::span<const Reference> references(std::vector<Reference> list) {
    count(list.size() * sizeof(Reference));
    return references_.emplace_back(std::move(list));
  }
  // A value that was made with `other`, whose text it may point to and outlives.
  Value keep(const Value& value, const Arena& other) {
    return value.is_text() && !other.texts_.empty() ? text(value.text()) : value;
  }
  void clear();

 private:
  void count(std::size_t bytes) {
    if (bytes > most_bytes_ - bytes_) throw ArenaFull();
    bytes_ += bytes;
  }

  std::size_t most_bytes_ = std::numeric_limits<std::size_t>::max();
  std::size_t bytes_ = 0;
  std::deque<std::string> texts_;
  std::deque<Array> arrays_;
  std::deque<std::vector<Reference>> references_;
};

// What a part of a formula evaluates to.
struct Operand {
  enum class Type : std::uint8_t { kMissing, kValue, kReference, kArray };

  Operand() = default;                                                 // an argument that is left empty
  Operand(const Value& single) : type(Type::kValue), value(single) {}  // NOLINT(google-explicit-constructor)
  Operand(double number) : Operand(Value(number)) {}                   // NOLINT(google-explicit-constructor)
  Operand(ErrorCode error) : Operand(Value(error)) {}                  // NOLINT(google-explicit-constructor)
  Operand(const Array* values) : type(Type::kArray), array(values) {}  // NOLINT(google-explicit-constructor)
  Operand(const Reference& block)
      : type(Type::kReference), reference(block) {}  // NOLINT(google-explicit-constructor)

  bool is_missing() const { return type == Type::kMissing; }
  bool is_value() const { return type == Type::kValue; }
  bool is_reference() const { return type == Type::kReference; }
  bool is_array() const { return type == Type::kArray; }

  Type type = Type::kMissing;
  Value value;
  Reference reference;                // the first of them
  std::span<const Reference> more{};  // the others of a union such as (A1:A3,C5)
  const Array* array = nullptr;
};

// Single values of several recalculations side by side.
inline constexpr int kLanes = 16;
struct Lanes {
  alignas(64) std::array<double, kLanes> number;  // errors: their code
  std::array<const std::string*, kLanes> text;    // of the lanes that are texts
  std::array<Kind, kLanes> kind;

  Value at(int lane) const;
  void set(int lane, const Value& value);
  void fill(const Value& value);
  // All lanes count as numbers; `number` is then all that matters.
  bool numeric() const { return greatest_kind() <= Kind::kBlank; }
  // All lanes are numbers or booleans, none blank.
  bool filled() const { return greatest_kind() <= Kind::kEmpty; }

 private:
  Kind greatest_kind() const {
    Kind most = Kind::kNumber;
    for (const Kind one : kind) most = one > most ? one : most;
    return most;
  }
};

}  // namespace ordvane::calc
