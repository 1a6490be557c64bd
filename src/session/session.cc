#include "session/session.h"

#include <algorithm>
#include <limits>

#include "text/numbers.h"

namespace ordvane::session {
namespace {

constexpr const char* kLogFileName = "OrdvaneReports8.Log";

constexpr std::size_t kMostListed = 12;

host::StringTable& texts_of(const Session& session) {
  if (!session.string_table) throw host::Error(host::errc::kObjectNotSet, "The session has no string table");
  return *session.string_table;
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
  host::ignoring_errors([&] { environment_->close_file(path_); });
  path_.clear();
}

std::string log_text(double value) {
  return text::general_number(value, std::numeric_limits<double>::digits10);
}

std::string Session::text(TextId<0> id) const {
  return texts_of(*this).GetString(id.number);
}

std::string Session::text(TextId<1> id, const host::TextArgument& arg1) const {
  return texts_of(*this).GetString(id.number, arg1);
}

std::string Session::text(TextId<2> id, const host::TextArgument& arg1,
                          const host::TextArgument& arg2) const {
  return texts_of(*this).GetString(id.number, arg1, arg2);
}

std::string Session::text(TextId<3> id, const host::TextArgument& arg1, const host::TextArgument& arg2,
                          const host::TextArgument& arg3) const {
  return texts_of(*this).GetString(id.number, arg1, arg2, arg3);
}

std::string Session::list_of(const std::vector<std::string>& items) const {
  const std::string separator = environment->numbers().list_separator();
  const std::size_t shown = std::min(items.size(), kMostListed);
  std::string list;
  for (std::size_t i = 0; i < shown; ++i) list += (i == 0 ? "" : separator) + items[i];
  if (shown == items.size()) return list;
  return text(text_id::kListFurther, list, static_cast<std::int64_t>(items.size() - shown));
}

void Session::check_cancel() const {
  if (environment->escape_pressed()) environment->raise_error(host::errc::kUserCancelled, "");
}

host::Application& Session::application() const {
  if (!g_XLApp) throw host::Error(host::errc::kObjectNotSet, "The session has no spreadsheet application");
  return *g_XLApp;
}

}  // namespace ordvane::session
