// What the reports change of the spreadsheet's own settings, put back as it was found.
#pragma once

#include <memory>
#include <string>

#include "host/excel.h"

namespace ordvane::service {

// Reads calculation, screen updating, alerts, whether the user's keys are taken, cursor, status bar and the
// sheet that is shown when it is made, which throws what reading throws, and puts them back when it goes,
// whatever became of the work in between. A setting that cannot be put back is tried a second time, then
// left, and the next one follows.
class SpreadsheetState {
 public:
  explicit SpreadsheetState(std::shared_ptr<host::Application> application);
  ~SpreadsheetState() { restore(); }
  SpreadsheetState(const SpreadsheetState&) = delete;
  SpreadsheetState& operator=(const SpreadsheetState&) = delete;

  // Recalculation by hand, no screen updating, no alerts, no keys and clicks of the user.
  void quiet();
  // The sheet that is shown by now stays.
  void keep_shown_sheet() { sheet_ = nullptr; }
  // Once; does nothing afterwards.
  void restore() noexcept;

 private:
  std::shared_ptr<host::Application> application_;  // null when all is restored
  host::Calculation calculation_;
  bool screen_updating_, display_alerts_, interactive_;
  host::Cursor cursor_;
  std::string status_bar_;
  std::shared_ptr<host::Worksheet> sheet_;
};

}  // namespace ordvane::service
