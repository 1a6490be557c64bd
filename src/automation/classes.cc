#include "automation/classes.h"

#include <OrdvaneResults8.h>

#include <OrdvaneResults8_i.c>  // the values of the ids

#include "automation/input_output_object.h"
#include "automation/reports_object.h"

namespace ordvane::automation {

const std::array<PublicClass, 4>& public_classes() {
  static const std::array<PublicClass, 4> classes = {{
      {CLSID_OrdvaneReports, L"OrdvaneReports", L"Makes the reports of a what-if run", create_reports},
      {CLSID_DralInputOutput, L"DralInputOutput", L"An input or output of the model", create_input_output},
      {CLSID_OrdvaneSummary, L"OrdvaneSummary", L"The totals of an analysis", nullptr},
      {CLSID_OrdvaneEnumerations, L"OrdvaneEnumerations", L"Holds the enumerations", nullptr},
  }};
  return classes;
}

const std::array<PublicInterface, 4>& public_interfaces() {
  static const std::array<PublicInterface, 4> interfaces = {{
      {IID__OrdvaneReports, L"_OrdvaneReports"},
      {IID__DralInputOutput, L"_DralInputOutput"},
      {IID__OrdvaneSummary, L"_OrdvaneSummary"},
      {IID__OrdvaneEnumerations, L"_OrdvaneEnumerations"},
  }};
  return interfaces;
}

const GUID& library_id() {
  return LIBID_OrdvaneResults8;
}

}  // namespace ordvane::automation
