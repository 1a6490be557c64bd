#include "office/number_format.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "model/shown_number.h"
#include "office/address.h"
#include "office/date_text.h"
#include "office/digits_text.h"
#include "office/formula.h"
#include "office/fraction_text.h"
#include "text/utf8.h"
#include "unicode/names.h"

namespace ordvane::office {
namespace {

using host::CellKind;
using host::CellValue;
using Token = NumberFormat::Token;
using Section = NumberFormat::Section;
using Kind = Token::Kind;

// ---- Reading codes ----

bool is_digit_place(char c) {
  return c == '0' || c == '#' || c == '?';
}

bool same_letter(char a, char b) {
  return (a | 0x20) == b;
}

bool starts_with_word(std::string_view text, std::string_view word) {
  return unicode::same_name(text.substr(0, word.size()), word);
}

// One section's code, from its start to the ";" or the end.
class SectionReader {
 public:
  SectionReader(std::string_view code, std::size_t& at) : code_(code), at_(at) {}

  Section read() {
    section_.tokens.reserve(std::min(code_.find(';', at_), code_.size()) - at_);  // most are of one character
    while (at_ < code_.size() && code_[at_] != ';') read_token();
    tell_minutes();
    note_commas();
    for (const Token& token : section_.tokens) {
      section_.is_date = section_.is_date || token.kind == Kind::kDate || token.kind == Kind::kElapsed;
      section_.is_exponential = section_.is_exponential || token.kind == Kind::kExponent;
      section_.is_general = section_.is_general || token.kind == Kind::kGeneral;
    }
    return std::move(section_);
  }

 private:
  void add(Kind kind, std::string_view text) { section_.tokens.push_back({kind, std::string(text)}); }
  void add_and_skip(Kind kind, std::size_t length) {
    add(kind, code_.substr(at_, length));
    at_ += length;
  }

  void read_token();
  void read_point();
  void read_quoted();
  void read_brackets();
  void read_comma();
  void read_letter();
  void read_stroke();
  bool read_day_half();
  void tell_minutes();
  void note_commas();

  std::string_view code_;
  std::size_t& at_;
  Section section_;
  // Commas read since the last digit place: a group mark if another follows, else a scale.
  std::int32_t open_commas_ = 0;
  bool digits_before_ = false;
};

void SectionReader::read_token() {
  const char c = code_[at_];
  if (c == '"') return read_quoted();
  if (c == '[') return read_brackets();
  if (c == ',') return read_comma();
  if (c == '\\') {
    ++at_;
    if (at_ < code_.size()) add_and_skip(Kind::kLiteral, text::code_point_at(code_, at_).bytes);
    return;
  }
  if (c == '_' || c == '*') {  // room for a character; a character that fills the cell
    if (c == '_') add(Kind::kLiteral, " ");
    if (++at_ < code_.size()) at_ += text::code_point_at(code_, at_).bytes;
    return;
  }
  if (is_digit_place(c)) {
    if (open_commas_ > 0) section_.groups = true;
    open_commas_ = 0;
    digits_before_ = true;
    return add_and_skip(Kind::kDigit, 1);
  }
  if (c == '.') return read_point();
  if (c == '%') {
    section_.scale += 2;
    return add_and_skip(Kind::kLiteral, 1);
  }
  if (c == '@') return add_and_skip(Kind::kText, 1);
  read_letter();
}

// Behind seconds, and in front of zeros, it begins their fraction.
void SectionReader::read_point() {
  note_commas();
  const bool after_seconds = !section_.tokens.empty() &&
                             section_.tokens.back().text.find_first_of("sS") != std::string::npos &&
                             section_.tokens.back().kind != Kind::kLiteral;
  if (!after_seconds) return add_and_skip(Kind::kPoint, 1);
  const std::size_t end = std::min(code_.find_first_not_of('0', at_ + 1), code_.size());
  add_and_skip(end > at_ + 1 ? Kind::kFraction : Kind::kLiteral, end - at_);
}

void SectionReader::read_quoted() {
  const std::size_t end = std::min(code_.find('"', at_ + 1), code_.size());
  add(Kind::kLiteral, code_.substr(at_ + 1, end - at_ - 1));
  at_ = std::min(end + 1, code_.size());
}

// Colours and languages say nothing here; currencies, conditions and elapsed times do.
void SectionReader::read_brackets() {
  const std::size_t end = std::min(code_.find(']', at_), code_.size());
  const std::string_view inside = code_.substr(at_ + 1, end - at_ - 1);
  at_ = std::min(end + 1, code_.size());
  if (inside.empty()) return;
  if (inside[0] == '$') {
    add(Kind::kLiteral, inside.substr(1, inside.find('-') - 1));
  } else if (inside[0] == '<' || inside[0] == '>' || inside[0] == '=') {
    const std::size_t length = inside.find_first_not_of("<>=");
    section_.comparison = inside.substr(0, length);
    if (length != std::string_view::npos)
      std::from_chars(inside.data() + length, inside.data() + inside.size(), section_.bound);
  } else if (inside.find_first_not_of("hH") == std::string_view::npos ||
             inside.find_first_not_of("mM") == std::string_view::npos ||
             inside.find_first_not_of("sS") == std::string_view::npos) {
    add(Kind::kElapsed, inside);
  }
}

void SectionReader::read_comma() {
  if (digits_before_)
    ++open_commas_;
  else
    add(Kind::kLiteral, ",");
  ++at_;
}

// Commas that no digit followed scale by a thousand each.
void SectionReader::note_commas() {
  section_.scale -= 3 * open_commas_;
  open_commas_ = 0;
  digits_before_ = false;
}

bool SectionReader::read_day_half() {
  for (const std::string_view form : {"AM/PM", "A/P"}) {
    if (!starts_with_word(code_.substr(at_), form)) continue;
    add_and_skip(Kind::kDate, form.size());
    return true;
  }
  return false;
}

void SectionReader::read_letter() {
  constexpr std::string_view kGeneralWord = "General";
  const char c = code_[at_];
  if (starts_with_word(code_.substr(at_), kGeneralWord))
    return add_and_skip(Kind::kGeneral, kGeneralWord.size());
  if (read_day_half()) return;
  const char next = at_ + 1 < code_.size() ? code_[at_ + 1] : ' ';
  if (same_letter(c, 'e') && (next == '+' || next == '-')) {
    note_commas();
    at_ += 2;
    return add(Kind::kExponent, std::string_view(&next, 1));
  }
  if (std::string_view("ymdhs").find(static_cast<char>(c | 0x20)) != std::string_view::npos) {
    std::size_t length = 1;
    while (at_ + length < code_.size() && (code_[at_ + length] | 0x20) == (c | 0x20)) ++length;
    return add_and_skip(Kind::kDate, length);
  }
  if (c == '/' && digits_before_) return read_stroke();
  add_and_skip(Kind::kLiteral, 1);
}

// Between digit places, or in front of a number, it makes a fraction.
void SectionReader::read_stroke() {
  constexpr std::size_t kMostDigits = 9;
  section_.unreadable = section_.is_fraction || section_.tokens.back().kind != Kind::kDigit;
  section_.is_fraction = true;
  add_and_skip(Kind::kStroke, 1);
  const std::size_t length = std::min(code_.find_first_not_of("0123456789", at_), code_.size()) - at_;
  const char first = at_ < code_.size() ? code_[at_] : ' ';
  if (first >= '1' && first <= '9' && length <= kMostDigits)
    add_and_skip(Kind::kDivisor, length);
  else
    section_.unreadable = section_.unreadable || !is_digit_place(first);
}

// "m" after hours or before seconds means minutes.
void SectionReader::tell_minutes() {
  const auto letter = [](const Token& token) { return static_cast<char>(token.text[0] | 0x20); };
  const auto is_time = [](const Token& token) {
    return token.kind == Kind::kDate || token.kind == Kind::kElapsed;
  };
  std::vector<Token*> times;
  for (Token& token : section_.tokens)
    if (is_time(token)) times.push_back(&token);
  for (std::size_t i = 0; i < times.size(); ++i) {
    Token& token = *times[i];
    if (letter(token) != 'm' || token.kind != Kind::kDate || token.text.size() > 2) continue;
    const bool after_hours = i > 0 && letter(*times[i - 1]) == 'h';
    const bool before_seconds = i + 1 < times.size() && letter(*times[i + 1]) == 's';
    if (after_hours || before_seconds) token.kind = Kind::kMinute;
  }
}

// ---- Showing numbers ----

bool holds(const std::string& comparison, double number, double bound) {
  if (comparison == "<") return number < bound;
  if (comparison == "<=") return number <= bound;
  if (comparison == ">") return number > bound;
  if (comparison == ">=") return number >= bound;
  if (comparison == "<>") return number != bound;
  return number == bound;
}

std::string general_text(double number, const NumberSymbols& symbols) {
  std::string text = model::general_text(number);
  if (const auto point = text.find('.'); point != std::string::npos) text.replace(point, 1, symbols.decimal);
  return text;
}

std::string general_section_text(const Section& section, double number, const NumberSymbols& symbols) {
  std::string text;
  for (const Token& token : section.tokens)
    text += token.kind == Kind::kGeneral || token.kind == Kind::kText ? general_text(number, symbols)
                                                                      : token.text;
  return text;
}

bool has_kind(const Section& section, Kind kind) {
  return std::any_of(section.tokens.begin(), section.tokens.end(),
                     [kind](const Token& token) { return token.kind == kind; });
}

}  // namespace

NumberFormat::NumberFormat(std::string_view code) {
  constexpr std::size_t kTextSection = 3;
  if (code.empty()) code = "General";
  std::size_t at = 0;
  for (std::size_t number = 0; number <= kTextSection; ++number) {
    Section section = SectionReader(code, at).read();
    const bool is_last = at >= code.size();
    const bool for_texts = number == kTextSection || (is_last && has_kind(section, Kind::kText));
    if (for_texts) texts_.push_back(section);
    if (!for_texts || sections_.empty()) sections_.push_back(std::move(section));
    if (is_last) break;
    ++at;  // ";"
  }
}

bool NumberFormat::shows_dates() const {
  return std::any_of(sections_.begin(), sections_.end(),
                     [](const Section& section) { return section.is_date; });
}

bool NumberFormat::is_general() const {
  return sections_.size() == 1 && sections_[0].is_general && sections_[0].tokens.size() <= 1;
}

bool NumberFormat::grows_with_size() const {
  return std::all_of(sections_.begin(), sections_.end(), [](const Section& section) {
    return section.comparison.empty() && !section.is_date && !section.is_exponential && !section.is_general &&
           !section.is_fraction && !section.unreadable && !has_kind(section, Kind::kText);
  });
}

// Sections without a condition of their own: of several the first is for what is not negative, or positive
// where there are three; the second of three for negative numbers; the last for the rest.
const Section* NumberFormat::section_of(double number) const {
  const std::size_t last = sections_.size() - 1;
  const auto is_for = [&](std::size_t i) {
    const Section& section = sections_[i];
    if (!section.comparison.empty()) return holds(section.comparison, number, section.bound);
    if (i == last) return true;
    return i == 1 ? number < 0 : last == 1 ? number >= 0 : number > 0;
  };
  for (std::size_t i = 0; i < sections_.size(); ++i)
    if (is_for(i)) return &sections_[i];
  return last == 2 ? &sections_[last] : nullptr;
}

// A section of its own for negative numbers brings its own sign.
bool NumberFormat::adds_sign(double number) const {
  if (!(number < 0)) return false;
  const Section* section = section_of(number);
  if (section == nullptr || section->is_date) return false;
  const bool is_second = sections_.size() > 1 && section == &sections_[1];
  return !is_second || !section->comparison.empty() ||
         (sections_.size() == 2 && !sections_[0].comparison.empty());
}

std::string NumberFormat::number_text(double number, const NumberSymbols& symbols) const {
  constexpr const char* kNothing = "########";  // no date, or no section
  const Section* const found = section_of(number);
  if (found == nullptr) return sections_.size() == 1 ? general_text(number, symbols) : kNothing;
  const Section& section = *found;
  if (section.unreadable) return general_text(number, symbols);
  if (section.is_date) return date_text(section, number).value_or(kNothing);
  const std::string sign = adds_sign(number) ? "-" : "";
  if (section.is_general || has_kind(section, Kind::kText))
    return sign + general_section_text(section, std::fabs(number), symbols);
  if (section.is_fraction)
    if (const auto fraction = fraction_text(section, std::fabs(number), symbols)) return sign + *fraction;
  if (section.is_fraction) return general_text(number, symbols);
  return sign + digits_text(section, number, symbols);
}

std::string NumberFormat::text(const CellValue& value, const NumberSymbols& symbols) const {
  if (value.is_number()) return number_text(value.number, symbols);
  if (value.kind != CellKind::kText || texts_.empty()) return edited_text(value);
  std::string text;
  for (const Token& token : texts_.front().tokens)
    text += token.kind == Kind::kText ? value.text : token.text;
  return text;
}

std::string displayed_text(const CellValue& value, const std::string& number_format,
                           const NumberSymbols& symbols) {
  return NumberFormat(number_format).text(value, symbols);
}

}  // namespace ordvane::office
