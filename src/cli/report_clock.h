// The time that reports are dated with.
#pragma once

#include <chrono>
#include <functional>

namespace ordvane::cli {

// Always SOURCE_DATE_EPOCH, seconds since the beginning of 1970, where the environment has it, as tools do
// that make the same bytes again; else empty, for the system's time. Throws BadArguments for what is no such
// number.
std::function<std::chrono::sys_seconds()> report_clock();

}  // namespace ordvane::cli
