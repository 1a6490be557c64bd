// Text in the system's ANSI code page, as the engine and the log's file have it. Characters that the code
// page lacks become "?".
#pragma once

#include <string>
#include <string_view>

namespace ordvane::automation {

std::string to_ansi(std::string_view utf8);
std::string from_ansi(std::string_view text);

}  // namespace ordvane::automation
