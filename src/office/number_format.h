// Numbers as cells show them: number format codes of the spreadsheet, in English.
//
// Knows General, digits with groups and scaling, percent, exponents, fractions, dates and times, texts,
// sections with and without conditions. A code it cannot read shows numbers as General does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/cells.h"

namespace ordvane::office {

// Marks of a language within numbers.
struct NumberSymbols {
  std::string decimal = ".";
  std::string group = ",";
};

class NumberFormat {
 public:
  explicit NumberFormat(std::string_view code);

  std::string text(const host::CellValue& value, const NumberSymbols& symbols = {}) const;
  bool is_general() const;
  bool shows_dates() const;  // dates or times of day
  // Whether the text of a negative number begins with a minus that the code does not have.
  bool adds_sign(double number) const;
  // Whether a number's text is never shorter than that of a number of the same sign nearer to zero.
  bool grows_with_size() const;

  struct Token;
  struct Section;

 private:
  std::string number_text(double number, const NumberSymbols& symbols) const;
  // Null where none is for the number.
  const Section* section_of(double number) const;

  std::vector<Section> sections_;  // of numbers
  std::vector<Section> texts_;     // the section of texts, if any
};

struct NumberFormat::Token {
  enum class Kind {
    kLiteral,   // as it stands
    kDigit,     // 0, # or ?, in `text`
    kPoint,     // the decimal point
    kExponent,  // E+ or E-, the sign in `text`
    kStroke,    // between the places of a numerator and those of its denominator
    kDivisor,   // the denominator that every fraction has, in `text`
    kDate,      // a run of y, m, d, h or s, or AM/PM
    kElapsed,   // [h], [m] or [s]
    kMinute,    // m or mm that means minutes
    kFraction,  // .000 of seconds
    kGeneral,
    kText,  // @
  };
  Kind kind = Kind::kLiteral;
  std::string text;
};

struct NumberFormat::Section {
  std::vector<Token> tokens;
  std::string comparison;  // of the condition, if any: "<", ">=" …
  double bound = 0;
  bool groups = false;     // thousands are set apart
  std::int32_t scale = 0;  // powers of ten that the number is multiplied by
  bool is_date = false;
  bool is_exponential = false;
  bool is_fraction = false;
  bool is_general = false;
  bool unreadable = false;
};

// What a cell shows that holds this value in this format, however wide it is.
std::string displayed_text(const host::CellValue& value, const std::string& number_format,
                           const NumberSymbols& symbols = {});

}  // namespace ordvane::office
