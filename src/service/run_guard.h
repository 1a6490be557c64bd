// A report run in progress: while Excel pumps messages its add-ins may call in again, on the same thread.
#pragma once

#include "service/ordvane_reports.h"

namespace ordvane::service {

// Throws error 5, which names `member`, while reports of this session are being made.
void check_idle(const Services& services, const char* member);

// The reports of a session are being made as long as this lives. An Escape pressed before does not count.
class RunGuard {
 public:
  // Throws what check_idle throws.
  RunGuard(Services& services, const char* member);
  ~RunGuard() { services_.is_running = false; }
  RunGuard(const RunGuard&) = delete;
  RunGuard& operator=(const RunGuard&) = delete;

 private:
  Services& services_;
};

}  // namespace ordvane::service
