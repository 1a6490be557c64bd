#include "service/run_guard.h"

#include <string>

namespace ordvane::service {

void check_idle(const Services& services, const char* member) {
  if (services.is_running)
    throw host::Error(host::errc::kInvalidProcedureCall,
                      std::string(member) + ": reports are being made; call it when they are done");
}

RunGuard::RunGuard(Services& services, const char* member) : services_(services) {
  check_idle(services, member);
  services_.session.environment->escape_pressed();
  services_.is_running = true;
}

}  // namespace ordvane::service
