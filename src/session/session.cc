#include "session/session.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>

namespace ordvane::session {
namespace {

constexpr const char* kLogFileName = "OrdvaneReports8.Log";

constexpr std::array<std::int16_t, 17> kCommonStrings = {120, 121, 106, 101, 113, 118, 103, 104, 203,
                                                         309, 107, 110, 116, 206, 204, 205, 200};
// "…; further: 3"
constexpr std::int16_t kMoreListed = 266;
constexpr std::size_t kMostListed = 12;
constexpr std::array<std::int16_t, 4> kCommonMessages = {1023, 1022, 1033, 1032};

std::string text_at(const Session& session, std::span<const std::int16_t> ids, std::int32_t index) {
  if (index < 0 || index >= static_cast<std::int32_t>(ids.size())) return {};
  return session.text(ids[static_cast<std::size_t>(index)]);
}

}  // namespace

void DiagnosticLog::open(std::shared_ptr<host::Environment> environment) {
  environment_ = std::move(environment);
  path_.clear();
  const std::string folder = environment_->log_folder();
  if (folder.empty()) return;
  path_ = folder + environment_->path_separator() + kLogFileName;
  host::ignoring_errors([&] { environment_->remove_file(path_); });
}

void DiagnosticLog::line(const std::string& text) {
  if (path_.empty()) return;
  host::ignoring_errors([&] { environment_->append_line(path_, text); });
}

void DiagnosticLog::close() {
  if (path_.empty()) return;
  line(std::string(56, '-'));
  host::ignoring_errors([&] { line(environment_->date_and_time()); });
  line("Ordvane Reports Terminated");
  path_.clear();
}

std::string log_text(double value) {
  char buffer[32];
  const auto written = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
  return std::string(buffer, written.ptr);
}

std::string Session::text(std::int16_t id, const host::TextArgument& arg1, const host::TextArgument& arg2,
                          const host::TextArgument& arg3) const {
  if (!string_table) throw host::Error(host::errc::kObjectNotSet, "The session has no string table");
  return string_table->GetString(id, arg1, arg2, arg3);
}

std::string Session::list_of(const std::vector<std::string>& items) const {
  const std::string separator = environment->numbers().list_separator();
  const std::size_t shown = std::min(items.size(), kMostListed);
  std::string list;
  for (std::size_t i = 0; i < shown; ++i) list += (i == 0 ? "" : separator) + items[i];
  if (shown == items.size()) return list;
  return text(kMoreListed, list, static_cast<std::int64_t>(items.size() - shown));
}

std::string Session::CommonString(std::int32_t index) const {
  return text_at(*this, kCommonStrings, index);
}

std::string Session::CommonMessage(std::int32_t index) const {
  return text_at(*this, kCommonMessages, index);
}

void Session::check_cancel() const {
  if (environment->escape_pressed()) environment->raise_error(host::errc::kUserCancelled, "");
}

host::Application& Session::application() const {
  if (!g_XLApp) throw host::Error(host::errc::kObjectNotSet, "The session has no spreadsheet application");
  return *g_XLApp;
}

}  // namespace ordvane::session
