// A call of a worksheet function as its implementation sees it: arguments of one lane in, a result out.
//
// Conversions never throw. The first that fails is kept, and becomes the result of the call whatever the
// implementation returns; what the conversion itself returned (0, "") only has to be harmless. So an
// implementation reads its arguments in their order, calculates and returns; it asks failed() before loops
// that would be long or endless with harmless values.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "calc/value.h"

namespace ordvane::calc {

class Evaluation;  // of one lane: reads cells, keeps texts

// What a value visited by Call::each comes from. In cells and arrays texts are passed over by most functions
// that add up; written into the formula they are converted, or refused.
enum class From : std::uint8_t { kFormula, kCell, kArray };

// The rectangle of an argument. Cells that were never used need not be visited: behind used_rows() and
// used_columns() all is blank.
class Matrix {
 public:
  Matrix(Evaluation& evaluation, const Operand& operand);

  std::int32_t rows() const { return rows_; }
  std::int32_t columns() const { return columns_; }
  std::int32_t used_rows() const { return used_rows_; }
  std::int32_t used_columns() const { return used_columns_; }
  bool is_reference() const { return operand_.is_reference(); }
  // Inside rows() and columns().
  Value at(std::int32_t row, std::int32_t column) const;
  // Counted row by row, 0 to rows()*columns()-1.
  Value at(std::int64_t position) const {
    return at(static_cast<std::int32_t>(position / columns_), static_cast<std::int32_t>(position % columns_));
  }
  std::int64_t size() const { return std::int64_t{rows_} * columns_; }

 private:
  Evaluation& evaluation_;
  Operand operand_;
  std::int32_t rows_ = 1, columns_ = 1, used_rows_ = 1, used_columns_ = 1;
};

class Call {
 public:
  Call(Evaluation& evaluation, std::span<const Operand> arguments)
      : evaluation_(evaluation), arguments_(arguments) {}

  int count() const { return static_cast<int>(arguments_.size()); }
  // Not given at all, or left empty as the second in F(1,,2).
  bool missing(int argument) const {
    return argument >= count() || arguments_[static_cast<std::size_t>(argument)].is_missing();
  }
  // One that is not given is missing.
  const Operand& operand(int argument) const {
    static const Operand kMissing;
    return argument < count() ? arguments_[static_cast<std::size_t>(argument)] : kMissing;
  }

  // One value, converted; texts that read as numbers are taken. The second form serves where the argument is
  // not given at all; one that is left empty is 0, "" or FALSE.
  double number(int argument);
  double number(int argument, double absent) { return argument < count() ? number(argument) : absent; }
  // Towards minus infinity, as arguments that count things are read. Fails with kArgument outside ±2^31.
  std::int64_t whole(int argument);
  std::int64_t whole(int argument, std::int64_t absent) {
    return argument < count() ? whole(argument) : absent;
  }
  std::string text(int argument);
  bool logical(int argument);
  bool logical(int argument, bool absent) { return argument < count() ? logical(argument) : absent; }
  // As it is, errors and blanks too; nothing fails. Of a reference or an array its first value.
  Value value(int argument);

  Matrix matrix(int argument) { return {evaluation_, operand(argument)}; }
  // For arguments that are to be cells: what comes to an error in their place fails with it.
  Matrix cells(int argument) {
    const Operand& operand = this->operand(argument);
    if (operand.is_value() && operand.value.is_error()) fail(operand.value.error());
    return {evaluation_, operand};
  }
  // Every value of an argument, or of all from `first` on: `visit(const Value&, From)`, row by row, area by
  // area, the blanks left out, but not what an IF has not chosen. Visits errors like the others.
  void each(int argument, const std::function<void(const Value&, From)>& visit);
  void each_from(int first, const std::function<void(const Value&, From)>& visit);
  // The numbers among them, as SUM takes them: of cells and arrays those that are numbers, of the formula
  // itself what converts to one. Fails with the first error met.
  template <class Visit>
  void each_number(int first, Visit&& visit) {
    numbers_from(first, count(), [&](double number) { visit(number); });
  }
  // The same from the last argument to the first, as SUM and its kin add up; which error is met first is by
  // their order.
  template <class Visit>
  void each_number_backwards(Visit&& visit) {
    ErrorCode met = ErrorCode::kNone;
    for (int argument = count() - 1; argument >= 0; --argument) {
      numbers_from(argument, argument + 1, [&](double number) { visit(number); });
      if (failed()) met = error_;
      error_ = ErrorCode::kNone;
    }
    error_ = met;
  }
  template <class Visit>
  void each_number_of(int argument, Visit&& visit) {
    numbers_from(argument, argument + 1, [&](double number) { visit(number); });
  }

  Value make_text(std::string text);
  Array& make_array(std::int32_t rows, std::int32_t columns);
  // Conversions of a value that is no argument, or a part of one.
  double number_of(const Value& value);
  std::string text_of(const Value& value);

  bool failed() const { return error_ != ErrorCode::kNone; }
  ErrorCode error() const { return error_; }
  // Keeps the first.
  void fail(ErrorCode error) {
    if (!failed()) error_ = error;
  }

  // Of the run: days since the workbook's day 0, the time of day behind the point; the same in all lanes.
  double now() const;
  // In [0, 1). The same in all lanes and whenever it is calculated again, another for each cell and call in
  // it.
  double random();
  // Where the formula stands.
  Reference cell() const;
  bool counts_from_1904() const;
  Evaluation& evaluation() { return evaluation_; }

 private:
  void numbers_from(int first, int end, const std::function<void(double)>& visit);

  Evaluation& evaluation_;
  std::span<const Operand> arguments_;
  ErrorCode error_ = ErrorCode::kNone;
};

// The same call in all lanes at once, for what is worth a loop of its own.
struct LaneArgument {
  std::span<const Lanes* const>
      cells;  // one for a single value; of a reference row by row, blanks beyond the used left out
  bool is_reference = false;
};
struct LaneCall {
  std::span<const LaneArgument> arguments;
  Lanes* result;
};

}  // namespace ordvane::calc
