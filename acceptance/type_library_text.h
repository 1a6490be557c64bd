// A type library as text: order, names, ids, roles and kinds of everything in it, a line a member.
#pragma once

#include <oaidl.h>

#include <filesystem>
#include <string>

namespace ordvane::acceptance {

// What differs from the rules of this interface (directions, calling conventions, places in the function
// table) is said in the text itself. Throws std::runtime_error for a file without a type library.
std::string text_of_type_library(const std::filesystem::path& file);

}  // namespace ordvane::acceptance
