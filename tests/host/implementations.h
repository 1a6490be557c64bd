// The implementations of host/excel.h that the conformance suite runs over: each test program has its own.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "host/excel.h"

namespace ordvane::host {

struct Implementation {
  const char* name;
  std::function<std::shared_ptr<Application>()> make;
};

std::vector<Implementation> implementations();

}  // namespace ordvane::host
