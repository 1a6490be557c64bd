#include "environment/standard_environment.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <system_error>

#include "environment/string_resources.h"
#include "environment/string_table.h"
#include "model/decimal.h"
#include "text/edit.h"
#include "text/system_reasons.h"
#include "text/utf16.h"

namespace ordvane::environment {
namespace {

constexpr const char* kComponent = "OrdvaneResults8";
// More intervals than this make an axis hard to read.
constexpr double kMostIntervals = 9;
// A range this small beside its values has no scale of its own.
constexpr double kNarrowest = 1e-12;
constexpr double kSmallestRange = 1e-290;
constexpr double kGreatest = std::numeric_limits<double>::max();

std::filesystem::path utf8_path(const std::string& path) {
  return std::filesystem::path(std::u8string(path.begin(), path.end()));
}

// A range that is a point is widened to both sides, by a tenth of the value; around zero by one half.
void widen(double& low, double& high) {
  const double middle = low / 2 + high / 2;
  const double reach = std::fabs(middle) < kSmallestRange ? 0.5 : std::fabs(middle) / 10;
  low = std::max(middle - reach, -kGreatest);
  high = std::min(middle + reach, kGreatest);
}

}  // namespace

std::vector<std::string> languages() {
  std::vector<std::string> codes;
  for (const StringResource& resource : string_resources()) codes.emplace_back(resource.language);
  return codes;
}

std::int32_t language_id_of(std::string_view code) {
  for (const StringResource& resource : string_resources())
    if (resource.language == code) return resource.id;
  return 0;
}

std::optional<std::string> language_named(std::string_view name) {
  std::string tag = text::lower_ascii(name.substr(0, name.find_first_of(".@")));
  std::replace(tag.begin(), tag.end(), '_', '-');
  // Who writes Chinese in traditional characters is not served by simplified ones.
  for (const char* traditional : {"zh-tw", "zh-hk", "zh-mo", "zh-hant"})
    if (tag.starts_with(traditional)) return std::nullopt;
  std::string code = tag.substr(0, tag.find('-'));
  if (language_id_of(code) == 0) return std::nullopt;
  return code;
}

std::string language_of_locale(std::string_view locale) {
  return language_named(locale).value_or(Settings().language);
}

StandardNumberService::StandardNumberService(const std::string& code) : language_(language(code)) {}

double StandardNumberService::missing_number() {
  return host::kMissingNumber;
}

bool StandardNumberService::is_usable(double value) {
  return std::isfinite(value) && value != host::kMissingNumber;
}

host::AxisScale StandardNumberService::axis_scale(double low, double high) {
  if (!std::isfinite(low) || !std::isfinite(high)) return {0, 1, 0.2};
  if (low > high) std::swap(low, high);
  const double greatest = std::max(std::fabs(low), std::fabs(high));
  if (high - low <= greatest * kNarrowest || high - low < kSmallestRange) widen(low, high);

  const auto step = model::RoundStep::at_least(high / kMostIntervals - low / kMostIntervals);
  return {std::max(step.not_above(low), -kGreatest), std::min(step.not_below(high), kGreatest),
          step.times(1)};
}

std::string StandardNumberService::number_text(double value, bool grouped) {
  return general_number(value, language_.decimal_separator, grouped ? language_.group_separator : "");
}

std::string StandardNumberService::date_text(double serial) {
  return environment::date_text(serial, language_.date_format);
}

std::string StandardNumberService::list_separator() {
  return language_.list_separator;
}

StandardEnvironment::StandardEnvironment(Settings settings)
    : settings_(std::move(settings)), numbers_(settings_.language) {}

std::string StandardEnvironment::engine_folder() {
  return settings_.engine_folder;
}

std::string StandardEnvironment::log_folder() {
  return settings_.log_folder;
}

char StandardEnvironment::path_separator() {
  return settings_.path_separator;
}

std::int32_t StandardEnvironment::language_id(std::int32_t) {
  return language(settings_.language).id;
}

std::string StandardEnvironment::language_string(std::int32_t language_id) {
  return std::string(language_code(language_id));
}

std::shared_ptr<host::StringTable> StandardEnvironment::string_table(const std::string& component,
                                                                     const std::string& code) {
  if (component != kComponent)
    throw host::Error(host::errc::kInvalidProcedureCall,
                      "There are no texts of a component '" + component + "'");
  return make_string_table(language(code));
}

host::NumberService& StandardEnvironment::numbers() {
  return numbers_;
}

std::string StandardEnvironment::shorten(const std::string& text, std::int32_t limit) {
  return text::shortened(text, limit);
}

void StandardEnvironment::raise_error(std::int32_t code, const std::string& message) {
  throw host::Error(code, message);
}

void StandardEnvironment::show_message(const std::string&, const std::string&) {}

void StandardEnvironment::show_progress(const std::string&, const std::string&, const std::string&) {}

void StandardEnvironment::pump_messages() {}

bool StandardEnvironment::escape_pressed() {
  return false;
}

void StandardEnvironment::remove_file(const std::string& path) {
  close_file(path);
  std::error_code failure;
  if (std::filesystem::remove(utf8_path(path), failure)) return;
  // Windows keeps a file that somebody has open.
  std::error_code not_emptied;
  if (failure) std::filesystem::resize_file(utf8_path(path), 0, not_emptied);
  if (failure && !not_emptied) return;
  throw host::Error(
      host::errc::kFileNotFound,
      "Cannot remove '" + path + "': " + (failure ? text::system_reason(failure) : "there is no such file"));
}

void StandardEnvironment::append_line(const std::string& path, const std::string& line) {
  if (path != open_path_ || !open_file_.is_open()) {
    close_file(open_path_);
    open_file_.clear();
    open_file_.open(utf8_path(path), std::ios::app | std::ios::binary);
    open_path_ = path;
  }
  open_file_ << line << "\r\n" << std::flush;
  if (open_file_) return;
  close_file(path);
  throw host::Error(host::errc::kFileNotFound, "Cannot write to '" + path + "'");
}

void StandardEnvironment::close_file(const std::string& path) {
  if (path == open_path_ && open_file_.is_open()) open_file_.close();
}

std::string StandardEnvironment::date_and_time() {
  if (settings_.clock) return settings_.clock();
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  char buffer[128];
  const std::size_t length = local ? std::strftime(buffer, sizeof buffer, "%x %X", local) : 0;
  return std::string(buffer, length);
}

std::int32_t StandardEnvironment::excel_major_version() {
  return settings_.excel_major_version;
}

bool StandardEnvironment::add_in_present() {
  return settings_.add_in_present;
}

}  // namespace ordvane::environment
