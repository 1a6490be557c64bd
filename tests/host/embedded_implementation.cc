// What the conformance tests run over here: the embedded spreadsheet.
#include "host/implementation.h"
#include "office/office.h"

std::shared_ptr<ordvane::host::Application> ordvane::host::make_implementation() {
  return office::make_application();
}
