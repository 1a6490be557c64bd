// Names compared as spreadsheets compare those of books, sheets and cells: without regard to case,
// in every script.
//
// Case is folded one character to one, by Unicode's simple case folding. The full folding would also make
// "straße" and "STRASSE" one name; spreadsheets keep these apart, in one workbook even. The same letter
// composed in another way, as file names from macOS are, is the same letter: names are put into normal form
// C. I, i, dotless ı and dotted İ stay as English has them, whatever the user's language.
#pragma once

#include <string>
#include <string_view>

namespace ordvane::unicode {

// Equal for names that are the same. In a text that is no UTF-8 only A to Z are folded.
std::string folded(std::string_view name);
bool same_name(std::string_view a, std::string_view b);

}  // namespace ordvane::unicode
