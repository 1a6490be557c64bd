// Why the system would not do what it was asked for, in the words of this system's messages.
#pragma once

#include <string>
#include <system_error>

namespace ordvane::text {

// The end of a sentence about the file or folder that it happened to, such as "there is no such file or
// folder". `error`: what errno said.
std::string system_reason(int error);
std::string system_reason(const std::error_code& error);

}  // namespace ordvane::text
