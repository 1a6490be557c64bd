// What the embedded spreadsheet answers when it cannot do as told.
#pragma once

#include <string>

#include "host/error.h"

namespace ordvane::office {

[[noreturn]] inline void refuse(const std::string& why) {
  throw host::Error(host::errc::kHostRefused, why);
}

}  // namespace ordvane::office
