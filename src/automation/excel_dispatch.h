// A running Excel as host/excel.h, through its IDispatch interfaces alone.
//
// Speaks to Excel in English (locale 1033), whatever its own language; number formats in the local form are
// Excel's own. Blocks of cells are written and read with one call each. Errors carry the code, description
// and source that Excel gave; a busy Excel is waited for.
// Bringing a sheet's window into line (split, gridlines) activates the sheet.
#pragma once

#include <oaidl.h>

#include <memory>

#include "host/excel.h"

namespace ordvane::automation {

// Shares the application object for as long as the result, or anything got through it, lives. Throws error 91
// for Nothing.
std::shared_ptr<host::Application> wrap_excel(IDispatch* application);

}  // namespace ordvane::automation
