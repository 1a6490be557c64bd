// What the conformance tests run over here: the embedded spreadsheet.
#include "host/implementations.h"
#include "office/office.h"

namespace ordvane::host {

std::vector<Implementation> implementations() {
  return {{"embedded", office::make_application}};
}

}  // namespace ordvane::host
