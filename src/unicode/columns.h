// Texts in the columns of a terminal.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ordvane::unicode {

// Columns of one character: 0 for marks over, under or inside the character before, for joiners and the skin
// colours of emoji; 2 for East Asian wide characters and emoji; else 1. Control characters have 0.
int columns_of(char32_t code);
// Columns that a text takes. What is joined to one emoji takes the columns of one. A byte that is no UTF-8
// takes one.
int display_width(std::string_view text);
// The longest beginning that takes at most `columns`, which cuts off no marks.
std::string_view beginning(std::string_view text, int columns);

enum class Side : std::uint8_t { kLeft, kRight };
// The text with blanks around it up to `columns`; `side`: where the text stands. Around letters that are
// written from right to left marks without width keep what else is in the line, numbers say, in its place.
std::string padded(std::string_view text, int columns, Side side);

}  // namespace ordvane::unicode
