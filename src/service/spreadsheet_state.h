// What the reports change of the spreadsheet's own settings, put back as it was found.
#pragma once

#include <memory>
#include <string>

#include "host/excel.h"

namespace ordvane::service {

// Reads calculation, screen updating, alerts, cursor and status bar when it is made, which throws what
// reading throws, and puts them back when it goes, whatever became of the work in between. A setting that
// cannot be put back is tried a second time, then left, and the next one follows.
class SpreadsheetState {
 public:
  explicit SpreadsheetState(std::shared_ptr<host::Application> application);
  ~SpreadsheetState() { restore(); }
  SpreadsheetState(const SpreadsheetState&) = delete;
  SpreadsheetState& operator=(const SpreadsheetState&) = delete;

  // Recalculation by hand, no screen updating, no alerts.
  void quiet();
  // Once; does nothing afterwards.
  void restore() noexcept;

 private:
  std::shared_ptr<host::Application> application_;  // null when all is restored
  host::Calculation calculation_;
  bool screen_updating_, display_alerts_;
  host::Cursor cursor_;
  std::string status_bar_;
};

}  // namespace ordvane::service
