// The texts of one language: read from a string file, filled with arguments, handed out by id.
//
// A string file has one `id = text` a line; blank lines and lines that begin with "#" are skipped, and two
// settings (@id, @decimal) say which language it is. Texts have places {1} {2} {3} and the escapes \n \s \\.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "host/environment.h"

namespace ordvane::environment {

struct Language {
  std::string code;     // "en"
  std::int32_t id = 0;  // the system's language id
  char decimal_separator = '.';
  std::map<std::int32_t, std::string> texts;
};

// Throws errc::kInvalidProcedureCall, naming language and line, for a line that is none of the above, an id
// given twice or out of range, an unknown escape or place, and missing settings.
Language read_language(std::string_view code, std::string_view file);

// Every language compiled in, read once. By code.
const std::map<std::string, Language>& all_languages();
// Throws errc::kInvalidProcedureCall for an unknown code.
const Language& language(const std::string& code);

// A number in the shortest general form of at most 15 significant digits.
std::string general_number(double value, char decimal_separator);

std::shared_ptr<host::StringTable> make_string_table(const Language& language);

}  // namespace ordvane::environment
