// Conditions as SUMIF and its like write them: 5, ">=5", "<>", "app*".
#pragma once

#include <string>
#include <string_view>

#include "calc/call.h"

namespace ordvane::calc {

// A text with wildcards: * for any characters, ? for one, ~ before either, or before another ~, for itself.
// Without regard to case.
bool has_wildcards(std::string_view pattern);
bool matches_wildcards(std::string_view text, std::string_view pattern);
bool same_text(std::string_view a, std::string_view b);

class Criterion {
 public:
  // A blank condition asks for 0. Errors are refused by the caller.
  Criterion(Call& call, const Value& condition);

  bool matches(const Value& value) const;
  // Whether cells that were never used do.
  bool matches_blank() const { return matches(Value()); }

 private:
  enum class Comparison : std::uint8_t { kEqual, kUnequal, kLess, kLessOrEqual, kGreater, kGreaterOrEqual };

  void read(Call& call, std::string_view text);
  bool is_equal(const Value& value) const;

  Comparison comparison_ = Comparison::kEqual;
  bool is_numeric_ = false;
  bool has_text_ = false;      // texts that look like text_ are equal, too
  bool has_operator_ = false;  // one was written
  bool has_wildcards_ = false;
  double number_ = 0;
  std::string text_;
};

}  // namespace ordvane::calc
