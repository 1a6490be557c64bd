// One apartment with a recorded run behind it, and a client that calls in.
#pragma once

#include <algorithm>

#include "automation/apartment.h"
#include "automation/com_object.h"
#include "automation/input_output_object.h"
#include "automation/reports_object.h"
#include "service/small_run.h"
#include "windows/excel_stand_in.h"
#include "windows/script.h"

namespace ordvane::test {

using service::RunShape;

inline RunShape several_sheets() {
  RunShape shape;
  shape.groups = true;
  shape.input_sheets = {"Inputs", "It's", "123"};
  return shape;
}

// What is left alive at its end fails the test.
class Apartment : public service::Bench {
 public:
  Apartment() : Bench(several_sheets()), stand_in(std::make_shared<StandIn>(application)) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    automation::set_services_of_apartments([this] {
      ++sessions;
      auto made = std::make_shared<service::Services>();
      made->session.environment = environment;
      made->session.engine = services->session.engine;
      return made;
    });
  }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() {
    automation::set_services_of_apartments(nullptr);
    EXPECT_EQ(automation::live_objects, 0);
    EXPECT_EQ(stand_in->live_objects, 0);
    CoUninitialize();
  }

  static ComPtr<_OrdvaneReports> make_reports() {
    ComPtr<_OrdvaneReports> made;
    EXPECT_EQ(automation::create_reports(__uuidof(_OrdvaneReports), made.receive_void()), S_OK);
    return made;
  }
  static ComPtr<_DralInputOutput> make_record() {
    ComPtr<_DralInputOutput> made;
    EXPECT_EQ(automation::create_input_output(__uuidof(_DralInputOutput), made.receive_void()), S_OK);
    return made;
  }
  std::wstring run_script(IDispatch* reports, const wchar_t* text) {
    const ComPtr<IDispatch> excel = make_excel_stand_in(stand_in);
    const ComPtr<_DralInputOutput> first = make_record();
    const ComPtr<_DralInputOutput> second = make_record();
    ScriptObjects objects = {{L"Excel", excel.get()}, {L"input", first.get()}, {L"output", second.get()}};
    if (reports) objects[L"reports"] = reports;
    return Script(objects).run(text);
  }

  std::shared_ptr<StandIn> stand_in;
  int sessions = 0;
};

inline HRESULT generate(_OrdvaneReports& reports, std::initializer_list<LONG> outputs, LONG* result) {
  SAFEARRAY* selected = SafeArrayCreateVector(VT_I4, 1, static_cast<ULONG>(outputs.size()));
  std::copy(outputs.begin(), outputs.end(), static_cast<LONG*>(selected->pvData));
  const HRESULT status = reports.GenerateReports(&selected, result);
  SafeArrayDestroy(selected);
  return status;
}

inline HRESULT initialize(_OrdvaneReports& reports, const std::shared_ptr<StandIn>& stand_in) {
  const ComPtr<IDispatch> excel = make_excel_stand_in(stand_in);
  IDispatch* application = excel.get();
  LONG handle = 1;
  return reports.Initialize(&application, &handle);
}

// The description of the thread's IErrorInfo; "" when there is none.
inline std::string error_text() {
  ComPtr<IErrorInfo> error;
  if (GetErrorInfo(0, error.receive()) != S_OK) return {};
  BSTR description = nullptr;
  error->GetDescription(&description);
  const std::string text = automation::utf8(description);
  SysFreeString(description);
  return text;
}

}  // namespace ordvane::test
