#include "cli/option_values.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

#include "cli/problems.h"
#include "cli/terminal.h"
#include "environment/standard_environment.h"
#include "runfile/values.h"
#include "text/calendar.h"
#include "text/numbers.h"

namespace ordvane::cli {
namespace {

[[noreturn]] void refuse(const std::string& option, const std::string& text, const std::string& problem) {
  throw BadArguments(option + ": \"" + printable(text) + "\" " + problem);
}

constexpr int kDigits = 12;  // of numbers in messages

// Nothing unless the whole text is one. `base`: for std::from_chars, of whole numbers.
template <class Number, class... Base>
std::optional<Number> number_of(std::string_view text, Base... base) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, value, base...);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return value;
}

}  // namespace

host::Color color_of(const std::string& option, const std::string& text) {
  constexpr int kHexadecimal = 16;
  const std::string_view digits = std::string_view(text).substr(text.starts_with('#') ? 1 : 0);
  const auto rgb = number_of<std::uint32_t>(digits, kHexadecimal);
  if (digits.size() != 6 || !rgb)
    refuse(option, text, "is no colour; give six hexadecimal digits, as in 1F4E79");
  return static_cast<host::Color>((*rgb & 0xFF) << 16 | (*rgb & 0xFF00) | *rgb >> 16);
}

double share_of(const std::string& option, const std::string& text) {
  const bool percent = text.ends_with('%');
  const std::string_view digits = std::string_view(text).substr(0, text.size() - (percent ? 1 : 0));
  const auto value = number_of<double>(digits);
  if (!value || !std::isfinite(*value) || *value < 0)
    refuse(option, text, "is no share; give one such as 5% or 0.05");
  if (percent) return *value / 100;
  if (*value > 1)
    throw BadArguments(option + ": is " + text + "% meant, or " +
                       text::general_number(*value * 100, kDigits) + "%? Write it with the percent sign");
  return *value;
}

double number_of(const std::string& option, const std::string& text) {
  const auto value = number_of<double>(text);
  if (!value || !(std::fabs(*value) < runfile::kNumberLimit))
    refuse(option, text, "is no number; give one such as 0, -2.5 or 1e6");
  return *value;
}

model::SortBy order_of(const std::string& option, const std::string& text) {
  constexpr std::pair<std::string_view, model::SortBy> kOrders[] = {
      {"swing", model::SortBy::kSwing},
      {"downside", model::SortBy::kDownside},
      {"upside", model::SortBy::kUpside},
      {"elasticity", model::SortBy::kElasticity}};
  for (const auto& [name, order] : kOrders)
    if (text == name) return order;
  refuse(option, text, "is none of swing, downside, upside and elasticity");
}

std::int32_t whole_number_of(const std::string& option, const std::string& text, std::int32_t lowest,
                             std::int32_t highest) {
  const auto value = number_of<std::int32_t>(text);
  if (!value || *value < lowest || *value > highest)
    refuse(option, text,
           "is no whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
  return *value;
}

std::string language_of(const std::string& option, const std::string& text) {
  if (const auto code = environment::language_named(text)) return *code;
  const bool is_chinese = environment::language_named(text.substr(0, 2)) == "zh";
  refuse(option, text,
         "is no language of the reports; there are " + language_list() +
             (is_chinese ? " (zh is written in simplified characters)" : ""));
}

std::string language_list() {
  std::string list;
  for (const std::string& code : environment::languages()) list += (list.empty() ? "" : ", ") + code;
  return list;
}

std::chrono::sys_seconds moment_of(const std::string& option, const std::string& text) {
  const auto moment = text::moment_of_iso(text);
  if (!moment) refuse(option, text, "is no moment; give one such as 2026-11-22 or 2026-11-22T14:30:00");
  return *moment;
}

void refuse_choice(const std::string& option, const std::string& text, const std::string& list) {
  throw BadArguments(option + ": \"" + printable(text) + "\"; " + list + " is expected");
}

std::string with_line_breaks(std::string text) {
  for (std::size_t at = text.find("\\n"); at != std::string::npos; at = text.find("\\n", at))
    text.replace(at, 2, "\n");
  return text;
}

}  // namespace ordvane::cli
