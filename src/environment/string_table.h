// The texts of one language: read from a string file, filled with arguments, handed out by number.
//
// A string file has one `name = text` a line, the names being those of resources/texts.txt; blank lines and
// lines that begin with "#" are skipped, and settings (@id, @decimal, @group, @date, @list; @font where
// needed) say which language it is and how it writes figures. Texts have places {1} {2} {3} and the escapes
// \n \s \_ \\.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "host/environment.h"

namespace ordvane::environment {

struct Language {
  std::string code;     // "en"
  std::int32_t id = 0;  // the system's language id
  char decimal_separator = '\0';
  std::string group_separator;                // between groups of three digits
  std::string date_format;                    // d, m and y in runs; everything else stands as it is
  std::string list_separator;                 // between the items of a list, with its blanks
  std::string font;                           // of a script that Latin typefaces lack; empty: none is needed
  std::map<std::int32_t, std::string> texts;  // by number
};

// A text as resources/texts.txt has it.
struct TextEntry {
  std::string_view name;
  std::int16_t number;
  std::int32_t places;  // that the program fills
};
std::span<const TextEntry> text_table();

// Throws errc::kInvalidProcedureCall, naming language and line, for a line that is none of the above, a text
// or setting given twice, an unknown text, setting, escape or place, and missing settings.
Language read_language(std::string_view code, std::string_view file);

// A language compiled in, read when it is first asked for. Throws errc::kInvalidProcedureCall for an unknown
// code.
const Language& language(std::string_view code);
// The code of a language compiled in. Throws errc::kInvalidProcedureCall for an unknown id.
std::string_view language_code(std::int32_t id);

// A number in the shortest general form of at most 15 significant digits. With a group separator the whole
// part is cut into groups of three digits, unless the number is written with an exponent.
std::string general_number(double value, char decimal_separator, std::string_view group_separator = {});

// The day of a spreadsheet's date, by a Language's format; "" for what is no date from 1900 to 9999.
std::string date_text(double serial, std::string_view format);

std::shared_ptr<host::StringTable> make_string_table(const Language& language);

}  // namespace ordvane::environment
