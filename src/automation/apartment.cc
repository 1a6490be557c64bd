#include "automation/apartment.h"

#include <windows.h>

#include <map>
#include <mutex>
#include <utility>

#include "automation/library_engine.h"
#include "automation/windows_environment.h"

namespace ordvane::automation {
namespace {

// The library's objects belong to single-threaded apartments: an apartment is a thread.
struct Apartments {
  std::mutex guard;
  MakeServices make;
  std::map<DWORD, std::weak_ptr<service::Services>> by_thread;
};

std::shared_ptr<service::Services> library_services() {
  auto made = std::make_shared<service::Services>();
  made->session.engine = make_library_engine();
  made->session.environment = make_windows_environment();
  return made;
}

Apartments& apartments() {
  static Apartments all;
  return all;
}

}  // namespace

void set_services_of_apartments(MakeServices make) {
  const std::scoped_lock lock(apartments().guard);
  apartments().make = std::move(make);
}

std::shared_ptr<service::Services> apartment_services() {
  Apartments& all = apartments();
  const std::scoped_lock lock(all.guard);
  std::erase_if(all.by_thread, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<service::Services>& kept = all.by_thread[GetCurrentThreadId()];
  if (std::shared_ptr<service::Services> shared = kept.lock()) return shared;
  std::shared_ptr<service::Services> made = all.make ? all.make() : library_services();
  kept = made;
  return made;
}

}  // namespace ordvane::automation
