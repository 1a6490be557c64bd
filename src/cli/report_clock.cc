#include "cli/report_clock.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "cli/commands.h"

namespace ordvane::cli {

std::function<std::chrono::sys_seconds()> report_clock() {
  constexpr const char* kVariable = "SOURCE_DATE_EPOCH";
  constexpr std::int64_t kLast = 253402300799;  // the last second of the year 9999
  const char* const value = std::getenv(kVariable);
  if (value == nullptr || *value == '\0') return {};
  const std::string text = value;
  std::int64_t seconds = -1;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size() || seconds < 0 || seconds > kLast)
    throw BadArguments(std::string(kVariable) + ": \"" + text +
                       "\" is no time; expected are whole seconds since 1970-01-01, such as 1767225600");
  return [seconds] { return std::chrono::sys_seconds(std::chrono::seconds(seconds)); };
}

}  // namespace ordvane::cli
