#include "service/spreadsheet_state.h"

#include <utility>

#include "host/tidying_up.h"

namespace ordvane::service {

SpreadsheetState::SpreadsheetState(std::shared_ptr<host::Application> application)
    : application_(std::move(application)) {
  if (!application_)
    throw host::Error(host::errc::kObjectNotSet, "The session has no spreadsheet application");
  calculation_ = application_->calculation();
  screen_updating_ = application_->screen_updating();
  display_alerts_ = application_->display_alerts();
  interactive_ = application_->interactive();
  cursor_ = application_->cursor();
  status_bar_ = application_->status_bar();
  sheet_ = application_->active_sheet();
}

void SpreadsheetState::quiet() {
  application_->set_calculation(host::Calculation::kManual);
  application_->set_screen_updating(false);
  application_->set_display_alerts(false);
  application_->set_interactive(false);
}

void SpreadsheetState::restore() noexcept {
  if (!application_) return;
  const std::shared_ptr<host::Application> application = std::exchange(application_, nullptr);
  const auto put_back = [](const auto& step) noexcept {
    // The spreadsheet may have been busy; what it refuses twice stays as it is.
    if (!host::tidying_up(step)) host::tidying_up(step);
  };
  put_back([&] { application->set_calculation(calculation_); });
  if (const auto sheet = std::exchange(sheet_, nullptr)) put_back([&] { sheet->activate(); });
  put_back([&] { application->set_screen_updating(screen_updating_); });
  put_back([&] { application->set_display_alerts(display_alerts_); });
  put_back([&] { application->set_interactive(interactive_); });
  put_back([&] { application->set_cursor(cursor_); });
  put_back([&] { application->set_status_bar(status_bar_); });
}

}  // namespace ordvane::service
