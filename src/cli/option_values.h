// Values of options as they are typed. Each reader throws BadArguments, which names the option and says what
// is expected.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "host/excel.h"
#include "model/answers.h"
#include "reports/settings.h"
#include "sweep/job.h"

namespace ordvane::cli {

// "`option`: "`text`"; `list` is expected"
[[noreturn]] void refuse_choice(const std::string& option, const std::string& text, const std::string& list);

// RRGGBB, with or without "#", into the spreadsheet's blue-green-red.
host::Color color_of(const std::string& option, const std::string& text);
// A percentage (5%) or a fraction up to 1 (0.05). What is meant by a number above 1 is for the user to say.
double share_of(const std::string& option, const std::string& text);
std::int32_t whole_number_of(const std::string& option, const std::string& text, std::int32_t lowest,
                             std::int32_t highest);
// Any number: -2.5, 1e6.
double number_of(const std::string& option, const std::string& text);
// swing, downside, upside or elasticity.
model::SortBy order_of(const std::string& option, const std::string& text);
// The code of the language; "DE", "pt-BR" and "de_DE.UTF-8" name one too.
std::string language_of(const std::string& option, const std::string& text);
// Codes of every language of the reports: "de, en, es".
std::string language_list();
// "2026-11-22", or with a time "2026-11-22T14:30:00".
std::chrono::sys_seconds moment_of(const std::string& option, const std::string& text);
// What one of some names stands for.
template <class Value>
Value choice_of(const std::string& option, const std::string& text,
                const std::vector<std::pair<const char*, Value>>& names) {
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (text == names[i].first) return names[i].second;
    list += (i == 0 ? "" : i + 1 < names.size() ? ", " : " or ") + std::string(names[i].first);
  }
  refuse_choice(option, text, list);
}
// "\n" as typed in a shell is a line break.
std::string with_line_breaks(std::string text);

}  // namespace ordvane::cli
