#include "windows/stand_in_behaviours.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "windows/stand_in_object.h"

namespace ordvane::test {

const StandInLanguage kEnglishExcel = {"English", ".", ",", "/", ":", "y",
                                       "m",       "d", "h", "m", "s", "General"};
const StandInLanguage kGermanExcel = {"German", ",", ".", ".", ":", "J", "M", "T", "h", "m", "s", "Standard"};
const StandInLanguage kFrenchExcel = {"French", ",", "\xC2\xA0", "/", ":", "a",
                                      "m",      "j", "h",        "m", "s", "Standard"};
const StandInLanguage kJapaneseExcel = {"Japanese", ".", ",", "/", ":", "y",
                                        "m",        "d", "h", "m", "s", "G/\xE6\xA8\x99\xE6\xBA\x96"};

namespace {

// The beginning of a format that stands for itself: a text in quotes, a character behind its sign, brackets.
std::size_t literal_length(std::string_view rest) {
  const auto until = [&](char end) { return std::min(rest.find(end, 1), rest.size() - 1) + 1; };
  switch (rest.front()) {
    case '"':
      return until('"');
    case '[':
      return until(']');
    case '\\':
    case '_':
    case '*':
      return std::min<std::size_t>(2, rest.size());
    default:
      return 0;
  }
}

using Codes = std::array<std::string, 6>;
Codes date_codes(const StandInLanguage& l) {
  return {l.year, l.month, l.day, l.hour, l.minute, l.second};
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

class Translation {
 public:
  Translation(const StandInLanguage& from, const StandInLanguage& to) : from_(from), to_(to) {}

  std::string of(std::string_view format) {
    for (std::size_t at = 0; at < format.size();) {
      const std::string_view rest = format.substr(at);
      if (const std::size_t literal = literal_length(rest); literal > 0) {
        take_literal(std::string(rest.substr(0, literal)));
        at += literal;
      } else {
        at += take(rest);
      }
    }
    return result_;
  }

 private:
  void take_literal(const std::string& piece) {
    static const std::set<std::string> kElapsed = {"[h]", "[hh]", "[m]", "[mm]", "[s]", "[ss]"};
    const bool is_color = piece.front() == '[' && std::isalpha(static_cast<unsigned char>(piece[1])) != 0;
    if (is_color && !kElapsed.contains(lower(piece))) {
      if (!from_.is_english()) refuse("A colour is named in the user's language");
      result_ += "[~" + piece.substr(1);
    } else {
      result_ += piece.starts_with("[~") ? "[" + piece.substr(2) : piece;
    }
  }

  // Returns how much of the format it has taken.
  std::size_t take(std::string_view rest) {
    if (rest.starts_with(from_.general)) return put(to_.general, from_.general);
    for (const std::string_view known : {std::string_view("AM/PM"), std::string_view("A/P")})
      if (rest.starts_with(known)) return put(std::string(known), known);
    if (const std::size_t date = take_date_part(rest)) return date;
    if (dates_ && rest.starts_with(from_.date)) return put(to_.date, from_.date);
    if (rest.starts_with(from_.time)) return put(to_.time, from_.time);
    if (rest.starts_with(from_.decimal)) return put(to_.decimal, from_.decimal);
    if (!dates_ && rest.starts_with(from_.group)) return put(to_.group, from_.group);
    if (rest.front() == ';') dates_ = false;
    if (std::isalpha(static_cast<unsigned char>(rest.front())) != 0 && rest.front() != 'E')
      refuse("The format has no such code: " + std::string(rest));
    result_ += rest.front();
    return 1;
  }

  // Months and minutes are told apart by their signs, or by hours before them and seconds behind.
  std::size_t take_date_part(std::string_view rest) {
    const Codes from = date_codes(from_), to = date_codes(to_);
    for (std::size_t part = 0; part < from.size(); ++part) {
      const std::string sign(rest.substr(0, from[part].size()));
      const bool exact = from_.month != from_.minute && (part == 1 || part == 4);
      if (exact ? sign != from[part] : lower(sign) != lower(from[part])) continue;
      dates_ = true;
      std::size_t meant = part;
      if (!exact && part == 1 && (after_hours_ || lower(std::string(rest)).find(lower(from_.second)) < 4))
        meant = 4;
      if (part == 3) after_hours_ = true;
      if (part == 0 || part == 2 || part == 5) after_hours_ = false;
      return put(to[meant], from[part]);
    }
    return 0;
  }

  std::size_t put(const std::string& text, std::string_view taken) {
    result_ += text;
    return taken.size();
  }

  const StandInLanguage& from_;
  const StandInLanguage& to_;
  std::string result_;
  bool dates_ = false, after_hours_ = false;
};

}  // namespace

std::string format_in(const StandInLanguage& language, const std::string& english) {
  return language.is_english() ? english : Translation(kEnglishExcel, language).of(english);
}

std::string format_from(const StandInLanguage& language, const std::string& local) {
  return language.is_english() ? local : Translation(language, kEnglishExcel).of(local);
}

std::string formula_from(const StandInLanguage& language, const std::string& formula) {
  const std::size_t begin = formula.find(",\"");
  if (language.is_english() || !formula.starts_with("TEXT(") || begin == std::string::npos) return formula;
  std::string format;
  for (std::size_t at = begin + 2; at + 2 < formula.size(); ++at) {
    format += formula[at];
    if (formula[at] == '"') ++at;
  }
  std::string quoted;
  for (const char c : format_from(language, format)) quoted.append(c == '"' ? 2 : 1, c);
  return formula.substr(0, begin + 2) + quoted + "\")";
}

}  // namespace ordvane::test
