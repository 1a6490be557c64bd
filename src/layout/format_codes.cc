#include "layout/format_codes.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

namespace ordvane::layout {
namespace {

constexpr std::string_view kGeneral = "General";
constexpr std::string_view kDateParts = "ymdhs";
constexpr int kMostDecimals = 15;
constexpr int kMostDecimalsOfGeneral = 9;  // it writes smaller numbers in scientific notation

char lower(char c) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Where the piece of a format that begins at `at` ends: a text in quotes, what stands in brackets, a
// character with its escape or padding, General, or one character.
std::size_t end_of_piece(std::string_view format, std::size_t at) {
  const auto behind = [&](std::size_t found) {
    return found == std::string_view::npos ? format.size() : found + 1;
  };
  switch (format[at]) {
    case '"':
      return behind(format.find('"', at + 1));
    case '[':
      return behind(format.find(']', at));
    case '\\':
    case '_':
    case '*':
      return std::min(at + 2, format.size());
    default:
      return at + (format.substr(at).starts_with(kGeneral) ? kGeneral.size() : 1);
  }
}

template <class Use>
void for_each_piece(std::string_view format, Use&& use) {
  for (std::size_t at = 0, end; at < format.size(); at = end) {
    end = end_of_piece(format, at);
    use(format.substr(at, end - at), at);
  }
}

std::vector<std::string> sections_of(std::string_view format) {
  std::vector<std::string> sections(1);
  for_each_piece(format, [&](std::string_view piece, std::size_t) {
    if (piece == ";")
      sections.emplace_back();
    else
      sections.back() += piece;
  });
  return sections;
}

// The part of a date or time that a piece shows, as a small letter; 0 for none. Elapsed time is in brackets.
char date_part(std::string_view piece) {
  const bool elapsed =
      piece.size() > 2 && piece.front() == '[' &&
      std::all_of(piece.begin() + 1, piece.end() - 1, [&](char c) { return lower(c) == lower(piece[1]); });
  if (piece.size() != 1 && !elapsed) return 0;
  const char part = lower(elapsed ? piece[1] : piece.front());
  return kDateParts.find(part) == std::string_view::npos ? '\0' : part;
}

// How a section shows numbers.
struct Digits {
  std::size_t first = std::string::npos, end = 0;  // places of digits, up to the last one
  std::size_t point = std::string::npos;
  int decimals = 0;
  int scaling = 0;  // powers of ten that numbers are multiplied by
  bool percent = false;
  bool fixed = true;  // not scientific, no fraction
};

Digits digits_of(std::string_view section) {
  Digits digits;
  for_each_piece(section, [&](std::string_view piece, std::size_t at) {
    if (piece.size() != 1) return;
    switch (piece.front()) {
      case '0':
      case '#':
      case '?':
        digits.first = std::min(digits.first, at);
        digits.end = at + 1;
        if (digits.point != std::string::npos) ++digits.decimals;
        break;
      case '.':
        digits.point = std::min(digits.point, at);
        break;
      case '%':
        digits.percent = true;
        digits.scaling += 2;
        break;
      case 'E':
      case 'e':
      case '/':
        digits.fixed = false;
        break;
      default:
        break;
    }
  });
  // Commas behind the last digit stand for a thousand each.
  for (std::size_t at = digits.end; at > 0 && at < section.size() && section[at] == ','; ++at)
    digits.scaling -= 3;
  return digits;
}

std::string zeros_after_point(int decimals) {
  return decimals > 0 ? "." + std::string(static_cast<std::size_t>(decimals), '0') : "";
}

std::string section_with_decimals(std::string section, int needed) {
  if (const std::size_t general = section.find(kGeneral); general != std::string::npos) {
    if (needed > 0 && needed <= kMostDecimalsOfGeneral)
      section.replace(general, kGeneral.size(), "0" + zeros_after_point(needed));
    return section;
  }
  const Digits digits = digits_of(section);
  if (digits.first == std::string::npos || !digits.fixed) return section;
  const int decimals = std::clamp(needed - digits.scaling, 0, kMostDecimals);
  if (digits.percent ? decimals == digits.decimals : decimals <= digits.decimals) return section;
  const std::size_t from = std::min(digits.point, digits.end);
  section.replace(from, digits.end - from, zeros_after_point(decimals));
  return section;
}

// ---- Codes of other languages ----

// "AM/PM" or "A/P" at the beginning of a text; these are the same in every language.
std::string_view half_days(std::string_view text) {
  for (const std::string_view known : {std::string_view("am/pm"), std::string_view("a/p")})
    if (text.size() >= known.size() && std::equal(known.begin(), known.end(), text.begin(),
                                                  [](char code, char c) { return code == lower(c); }))
      return text.substr(0, known.size());
  return {};
}

bool is_color(std::string_view piece) {
  return piece.size() > 2 && piece.front() == '[' &&
         std::all_of(piece.begin() + 1, piece.end() - 1,
                     [](unsigned char c) { return std::isalnum(c) != 0 || c == ' '; });
}

// One section of a format in the codes of a language.
class LocalSection {
 public:
  LocalSection(std::string_view section, const LocalCodes& codes) : section_(section), codes_(codes) {
    for_each_piece(section, [&](std::string_view piece, std::size_t) {
      has_date_ = has_date_ || date_part(piece) != 0;
    });
  }

  std::string text() {
    std::size_t done = 0;
    for_each_piece(section_, [&](std::string_view piece, std::size_t at) {
      if (at < done) return;
      const std::string_view kept = half_days(section_.substr(at));
      if (!kept.empty())
        text_ += kept;
      else
        add(piece, at);
      done = at + kept.size();
    });
    return text_;
  }

 private:
  void add(std::string_view piece, std::size_t at) {
    if (const char part = date_part(piece); part != 0)
      add_date_part(part, piece, at);
    else if (piece == kGeneral)
      text_ += codes_.general;
    else if (piece == ".")
      text_ += !has_date_ || section_.substr(at).starts_with(".0") ? codes_.decimal : ".";
    else if (piece == "," && !has_date_)
      text_ += codes_.group;
    else if (piece == "/" && has_date_)
      text_ += codes_.date;
    else if (piece == ":")
      text_ += codes_.time;
    else if (!is_color(piece))
      text_ += piece;
  }

  void add_date_part(char part, std::string_view piece, std::size_t at) {
    const std::string& code = part == 'y'                ? codes_.year
                              : part == 'd'              ? codes_.day
                              : part == 'h'              ? codes_.hour
                              : part == 's'              ? codes_.second
                              : means_minutes(piece, at) ? codes_.minute
                                                         : codes_.month;
    const bool elapsed = piece.size() > 1;
    if (elapsed) text_ += '[';
    for (std::size_t count = elapsed ? piece.size() - 2 : 1; count > 0; --count) text_ += code;
    if (elapsed) text_ += ']';
    if (part != 'm') before_ = part;
  }

  // An m after hours or before seconds.
  bool means_minutes(std::string_view piece, std::size_t at) const {
    char after = 0;
    for_each_piece(section_.substr(at), [&](std::string_view next, std::size_t) {
      const char part = date_part(next);
      if (after == 0 && part != 0 && part != 'm') after = part;
    });
    return piece.size() > 1 || before_ == 'h' || after == 's';
  }

  std::string_view section_;
  const LocalCodes& codes_;
  std::string text_;
  bool has_date_ = false;
  char before_ = 0;  // the latest part of a date but m
};

}  // namespace

bool shows_date(const std::string& format) {
  bool found = false;
  for_each_piece(sections_of(format).front(),
                 [&](std::string_view piece, std::size_t) { found = found || date_part(piece) != 0; });
  return found;
}

// An m beside hours stands for minutes.
DatePart finest_part(const std::string& format) {
  DatePart finest = DatePart::kYear;
  bool has_m = false;
  for_each_piece(format, [&](std::string_view piece, std::size_t) {
    const char part = date_part(piece);
    has_m = has_m || part == 'm';
    if (part == 'd') finest = std::max(finest, DatePart::kDay);
    if (part == 'h') finest = std::max(finest, DatePart::kHour);
    if (part == 's') finest = DatePart::kSecond;
  });
  return has_m ? std::max(finest, finest == DatePart::kHour ? DatePart::kMinute : DatePart::kMonth) : finest;
}

std::string date_sample(const std::string& format) {
  std::string sample;
  char part = 0;
  std::size_t run = 0;
  const auto finish_run = [&] {
    const bool word = run > 2 && (part == 'm' || part == 'd');
    if (part != 0) sample += word ? (run > 3 ? "Wednesday" : "Wedn") : run > 2 ? "0000" : "00";
    part = 0;
    run = 0;
  };
  for_each_piece(sections_of(format).front(), [&](std::string_view piece, std::size_t) {
    const char next = date_part(piece);
    if (next != part) finish_run();
    part = next;
    if (next != 0)
      ++run;
    else if (piece.front() == '"')
      sample += piece.substr(1, piece.size() - 2);
    else if (piece.front() != '[')
      sample += piece.back();
  });
  finish_run();
  return sample;
}

std::string with_decimals_of(int exponent, const std::string& format) {
  std::string result;
  for (const std::string& section : sections_of(format.empty() ? kGeneral : format))
    result += (result.empty() ? "" : ";") + section_with_decimals(section, -exponent);
  return result;
}

std::optional<int> last_digit(const std::string& format) {
  const std::vector<std::string> sections = sections_of(format);
  const Digits digits = digits_of(sections.front());
  if (digits.first == std::string::npos || !digits.fixed || shows_date(format)) return std::nullopt;
  return -digits.decimals - digits.scaling;
}

std::string localized(const std::string& format, const LocalCodes& codes) {
  if (codes == LocalCodes()) return format;
  std::string result;
  bool first = true;
  for (const std::string& section : sections_of(format)) {
    result += (first ? "" : ";") + LocalSection(section, codes).text();
    first = false;
  }
  return result;
}

std::string without_padding(const std::string& format) {
  std::string result;
  for_each_piece(format, [&](std::string_view piece, std::size_t) {
    if (piece.front() != '_' && piece.front() != '*') result += piece;
  });
  return result;
}

}  // namespace ordvane::layout
