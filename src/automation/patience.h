// Waiting for an Excel that is busy: the user edits a cell, a dialog is open, another call is being served.
#pragma once

#include <windows.h>

#include <chrono>

namespace ordvane::automation {

// Excel refused the call without looking at it, and may take it later.
bool is_busy(HRESULT status);

// Shared by all calls to one Excel. Each call is repeated for a minute; once that was in vain, later ones for
// a tenth of it, until one succeeds: what is to be put back has its chance, and nobody waits for hours.
class Patience {
 public:
  // Waits a while, in which messages are handled. False: it is enough.
  bool wait();
  void succeeded();

  // For all that are made from now on; tests are less patient.
  static std::chrono::milliseconds limit;

 private:
  using Clock = std::chrono::steady_clock;

  bool is_short_ = false;
  Clock::time_point end_ = {};
  std::chrono::milliseconds next_ = {};  // 0: nothing is waited for
};

}  // namespace ordvane::automation
