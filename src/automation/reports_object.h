// The automation class OrdvaneReports: settings, session and report routines for clients.
//
// The report routines take, as their report workbook, a workbook that is open in the session's spreadsheet:
// their sheets are added to it. Any other object is refused.
#pragma once

#include <windows.h>

namespace ordvane::automation {

HRESULT create_reports(REFIID id, void** object);

}  // namespace ordvane::automation
