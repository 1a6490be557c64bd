// What a number format shows, from its code: English codes, sections between semicolons. Quoted and escaped
// characters, and what stands in brackets (colours, conditions, currencies), are no codes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ordvane::layout {

// Whether numbers are shown as parts of a date or time.
bool shows_date(const std::string& format);

// The smallest part of a date or time that a format shows.
enum class DatePart : std::uint8_t { kYear, kMonth, kDay, kHour, kMinute, kSecond };
DatePart finest_part(const std::string& format);

// A text as wide as the widest date in a format.
std::string date_sample(const std::string& format);

// The format with the decimals that tell numbers apart whose difference has its first digit at 10 to the
// power of `exponent`: at least so many, of percentages and General exactly so many. Scientific notation and
// fractions stay as they are. "" counts as General.
std::string with_decimals_of(int exponent, const std::string& format);

// The power of ten of the last digit that the format shows of a positive number: -2 for 0.00 and for 0%. None
// where that depends on the number, and for dates.
std::optional<int> last_digit(const std::string& format);

// The format without what only lines cells up under each other: blanks as wide as a character, and characters
// that fill the cell.
std::string without_padding(const std::string& format);

// What a language's spreadsheet writes for the English codes.
struct LocalCodes {
  std::string decimal = ".", group = ",", date = "/", time = ":";
  std::string year = "y", month = "m", day = "d", hour = "h", minute = "m", second = "s";
  std::string general = "General";
  bool operator==(const LocalCodes&) const = default;
};

// A format of English codes in those of a language. Colours stay away where the codes differ: their names are
// the language's too.
std::string localized(const std::string& format, const LocalCodes& codes);

}  // namespace ordvane::layout
