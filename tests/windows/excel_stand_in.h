// Stands in for Excel in tests: a spreadsheet of host/excel.h offered as late-bound objects with the names,
// the arguments and the manners that Excel documents.
//
// Like Excel it reads texts as if they were typed, answers Null where cells differ, gives Nothing for what is
// not there, asks before it removes a sheet, and refuses calls of the wrong kind or with arguments it does
// not know. What Excel sets by several properties and host/excel.h by one member takes effect with the last
// of them.
#pragma once

#include <oaidl.h>

#include <map>
#include <memory>
#include <set>
#include <string>

#include "automation/com_values.h"
#include "host/excel.h"
#include "windows/stand_in_behaviours.h"

namespace ordvane::test {

// What a stand-in counts, and how it is told to fail. Shared with every object of it.
struct StandIn {
  explicit StandIn(std::shared_ptr<host::Application> spreadsheet) : application(std::move(spreadsheet)) {}

  std::shared_ptr<host::Application> application;
  long invokes = 0;
  long name_lookups = 0;
  long live_objects = 0;
  long fail_at = 0;         // the call that fails, counted from 1; 0: none
  std::string failed = {};  // the call that failed first

  long all_calls() const { return invokes + name_lookups; }

  Behaviours behaviours;
  // What Excel remembers and host/excel.h cannot be asked for.
  bool print_communication = true;
  std::map<std::string, host::DocumentProperties> properties;  // by workbook
  std::map<std::string, host::PageSetup> pages;                // by workbook and sheet
  std::set<std::string> notes;                                 // external addresses
};

// The Application object.
automation::ComPtr<IDispatch> make_excel_stand_in(const std::shared_ptr<StandIn>& stand_in);

}  // namespace ordvane::test
