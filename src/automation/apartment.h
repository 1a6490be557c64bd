// The session of the calling apartment: one for all objects that live in it, made with the first of them,
// gone with the last.
#pragma once

#include <functional>
#include <memory>

#include "service/ordvane_reports.h"

namespace ordvane::automation {

// What sessions made from now on are on: the engine's library and Windows, unless something else is set. Null
// sets those again.
using MakeServices = std::function<std::shared_ptr<service::Services>()>;
void set_services_of_apartments(MakeServices make);

// Throws what making the services throws.
std::shared_ptr<service::Services> apartment_services();

}  // namespace ordvane::automation
