// The whole life of OrdvaneReports as clients live it: through the function table and from a script, over an
// Excel that is late-bound itself. The workbook is the one that the reports make without COM.

#include <algorithm>
#include <cwchar>
#include <thread>

#include "automation/apartment.h"
#include "automation/com_object.h"
#include "automation/input_output_object.h"
#include "automation/reports_object.h"
#include "service/small_run.h"
#include "support/forwarding_host.h"
#include "support/snapshot.h"
#include "windows/excel_stand_in.h"
#include "windows/script.h"

namespace ordvane::test {
namespace {

using service::RunShape;

RunShape shape() {
  RunShape shape;
  shape.groups = true;
  shape.input_sheets = {"Inputs", "It's", "123"};
  return shape;
}

// One apartment with a recorded run behind it; what is left alive at its end fails the test.
class Apartment : public service::Bench {
 public:
  Apartment() : Bench(shape()), stand_in(std::make_shared<StandIn>(application)) {
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
    return Script({{L"reports", reports},
                   {L"Excel", excel.get()},
                   {L"input", first.get()},
                   {L"output", second.get()}})
        .run(text);
  }
  // The workbook that was made last.
  std::string last_workbook() { return snapshot(*application->model(*application->active_workbook())); }

  std::shared_ptr<StandIn> stand_in;
  int sessions = 0;
};

std::string workbook_without_com() {
  service::Bench bench(shape());
  service::OrdvaneReports reports(bench.services);
  reports.set_ReportsInNewWorkbook(true);
  reports.set_TornadoGraphs(true);
  reports.set_SpiderGraphs(true);
  reports.set_SensitivityGraphs(true);
  reports.set_OutputDetailReport(true);
  reports.set_DetailByInput(true);
  reports.set_MultiWayReport(true);
  reports.MaxInputsPerGraph = 2;
  reports.Initialize(bench.application, 1);
  reports.set_WatermarkText("Draft\nnot for release");
  reports.GenerateReports(bench.all_outputs());
  EXPECT_FALSE(reports.report_error()) << reports.report_error()->description();
  return snapshot(*bench.application->model(*reports.report_workbook()));
}

HRESULT generate(_OrdvaneReports& reports, std::initializer_list<LONG> outputs, LONG* result) {
  SAFEARRAY* selected = SafeArrayCreateVector(VT_I4, 1, static_cast<ULONG>(outputs.size()));
  std::copy(outputs.begin(), outputs.end(), static_cast<LONG*>(selected->pvData));
  const HRESULT status = reports.GenerateReports(&selected, result);
  SafeArrayDestroy(selected);
  return status;
}

HRESULT initialize(_OrdvaneReports& reports, const std::shared_ptr<StandIn>& stand_in) {
  const ComPtr<IDispatch> excel = make_excel_stand_in(stand_in);
  IDispatch* application = excel.get();
  LONG handle = 1;
  return reports.Initialize(&application, &handle);
}

TEST(ClientLife, ThroughTheFunctionTable) {
  Apartment apartment;
  {
    const ComPtr<_OrdvaneReports> reports = Apartment::make_reports();
    VARIANT_BOOL yes = VARIANT_TRUE;
    for (const auto put : {&_OrdvaneReports::put_ReportsInNewWorkbook, &_OrdvaneReports::put_TornadoGraphs,
                           &_OrdvaneReports::put_SpiderGraphs, &_OrdvaneReports::put_SensitivityGraphs,
                           &_OrdvaneReports::put_OutputDetailReport, &_OrdvaneReports::put_DetailByInput,
                           &_OrdvaneReports::put_MultiWayReport})
      ASSERT_EQ((reports.get()->*put)(&yes), S_OK);
    reports->put_MaxInputsPerGraph(2);
    ASSERT_EQ(initialize(*reports.get(), apartment.stand_in), S_OK);
    EXPECT_EQ(runfile::open_contexts(*apartment.services->session.engine), 1);
    Bstr watermark("Draft\nnot for release");
    BSTR text = watermark.get();
    ASSERT_EQ(reports->put_WatermarkText(&text), S_OK);
    LONG result = -1;
    ASSERT_EQ(generate(*reports.get(), {0, 1}, &result), S_OK);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(apartment.last_workbook(), workbook_without_com());
    ASSERT_EQ(reports->Terminate(), S_OK);
    EXPECT_EQ(runfile::open_contexts(*apartment.services->session.engine), 0);
  }
}

TEST(ClientLife, FromAScript) {
  if (!Script::available()) GTEST_SKIP() << "this system has no VBScript";
  // How scripts give the outputs: counted from 0; counted from 1 with element 0 never set.
  for (const wchar_t* outputs : {L"selected = Array(0, 1)",
                                 L"Dim counted(2) : counted(1) = 0 : counted(2) = 1 : selected = counted"}) {
    Apartment apartment;
    const ComPtr<_OrdvaneReports> reports = Apartment::make_reports();
    const std::wstring script = std::wstring(
                                    LR"(
      Dim report, selected
      reports.ReportsInNewWorkbook = True
      reports.TornadoGraphs = True
      reports.SpiderGraphs = True
      reports.SensitivityGraphs = True
      reports.OutputDetailReport = True
      reports.DetailByInput = True
      reports.MultiWayReport = True
      reports.MaxInputsPerGraph = 2
      reports.WatermarkText = "cleared by Initialize"
      reports.Initialize Excel, 1
      report = "[" & reports.WatermarkText & "]"
      reports.WatermarkText = "Draft" & vbLf & "not for release"
    )") + outputs + LR"(
      report = report & reports.GenerateReports(selected) & reports.WatermarkTextPrimary
      reports.Terminate
    )";
    EXPECT_EQ(apartment.run_script(reports.get(), script.c_str()), L"[]0Draft");
    EXPECT_EQ(apartment.last_workbook(), workbook_without_com());
  }
}

TEST(ClientLife, ReportRoutinesWriteIntoAnOpenWorkbook) {
  if (!Script::available()) GTEST_SKIP() << "this system has no VBScript";
  Apartment apartment;
  const ComPtr<_OrdvaneReports> reports = Apartment::make_reports();
  EXPECT_EQ(apartment.run_script(reports.get(),
                                 LR"(
    Dim report, groups, recalculations, before, after
    reports.Initialize Excel, 1
    input.bookName = "Model.xlsx" : input.cellAddress = "B2" : input.ioName = "Price"
    output.bookName = "Model.xlsx" : output.cellAddress = "C3"
    before = Excel.ActiveWorkbook.Worksheets.Count
    report = reports.makeOutputsMissingReport(Excel.ActiveWorkbook, Array(1), Array(input), Array(output), 1, Array(1))
    after = Excel.ActiveWorkbook.Worksheets.Count
    report = report & "|" & (after - before)
    groups = 7 : recalculations = 7
    report = report & "|" & reports.getInputForIteration(Excel.ActiveWorkbook, Array(), Array(input), Array(output), 1, 1, groups, recalculations, 9, 0)
    report = report & "|" & (groups <> 7) & (recalculations <> 7)
    On Error Resume Next
    reports.makeOutputsMissingReport Excel.ActiveWorkbook, Array(1), Array(input), Array(output), 1, Array(2)
    report = report & "|" & Err.Number : Err.Clear
    reports.makeOutputsMissingReport Excel, Array(1), Array(input), Array(output), 1, Array(1)
    report = report & "|" & Err.Number : Err.Clear
    reports.makeOutputsMissingReport Excel.ActiveWorkbook, Array(1), Array(Excel), Array(output), 1, Array(1)
    report = report & "|" & Err.Number : Err.Clear
  )"),
            L"0|1|0|TrueTrue|9|9|13");
}

// The single report routines leave Excel as they find it, too, whether they succeed or not.
TEST(ClientLife, ReportRoutinesRestoreTheSpreadsheet) {
  if (!Script::available()) GTEST_SKIP() << "this system has no VBScript";
  for (const wchar_t* call :
       {L"makeOutputsMissingReport Excel.ActiveWorkbook, Array(1), Array(input), Array(output), 1, Array(1)",
        L"makeOutputsMissingReport Excel.ActiveWorkbook, Array(1), Array(input), Array(output), 1, Array(2)",
        L"multiReport Excel.ActiveWorkbook, Array(1), Array(input), Array(output), 9, 0",
        L"multiReport Excel.ActiveWorkbook, Array(2), Array(input), Array(output), 9, 0"}) {
    Apartment apartment;
    const ComPtr<_OrdvaneReports> reports = Apartment::make_reports();
    const service::Found found(*apartment.application);
    apartment.run_script(reports.get(), (std::wstring(LR"(
      Dim report
      reports.Initialize Excel, 1
      input.bookName = "Model.xlsx" : input.cellAddress = "B2" : output.cellAddress = "C3"
      On Error Resume Next
      reports.)") + call)
                                            .c_str());
    found.expect_restored(automation::utf8(call, static_cast<UINT>(std::wcslen(call))));
  }
}

TEST(ClientLife, WhatTheEngineRefusesReachesTheClient) {
  Apartment apartment;
  apartment.services->session.engine =
      forwarding_engine(apartment.services->session.engine, [](const char* member) {
        if (std::string("Engine.DRL7_GetOrderedOutputInfoVB") == member) throw Refused{1};
      });
  const service::Found found(*apartment.application);
  const ComPtr<_OrdvaneReports> reports = Apartment::make_reports();
  ASSERT_EQ(initialize(*reports.get(), apartment.stand_in), S_OK);
  LONG result = 0;
  EXPECT_EQ(generate(*reports.get(), {0}, &result), static_cast<HRESULT>(0x800A0005));
  ComPtr<IErrorInfo> error;
  ASSERT_EQ(GetErrorInfo(0, error.receive()), S_OK);
  BSTR description = nullptr;
  error->GetDescription(&description);
  EXPECT_STREQ(description, L"DRL7_GetOrderedOutputInfoVB refused output 1 (status 1)");
  SysFreeString(description);
  found.expect_restored("after the refusal");
}

TEST(ClientLife, ObjectsOfAnApartmentShareItsSession) {
  Apartment apartment;
  {
    const ComPtr<_OrdvaneReports> one = Apartment::make_reports();
    const ComPtr<_OrdvaneReports> two = Apartment::make_reports();
    EXPECT_EQ(apartment.sessions, 1);
    ASSERT_EQ(initialize(*one.get(), apartment.stand_in), S_OK);
    LONG result = -1;
    EXPECT_EQ(generate(*two.get(), {0}, &result), S_OK) << "initialised by the other object";
    std::thread([&] {
      CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
      EXPECT_TRUE(Apartment::make_reports());
      CoUninitialize();
    }).join();
    EXPECT_EQ(apartment.sessions, 2) << "another apartment, another session";
  }
  EXPECT_TRUE(Apartment::make_reports());
  EXPECT_EQ(apartment.sessions, 3) << "gone with the last object";
}

TEST(ClientLife, AnyCallOfTheHostMayFail) {
  for (const bool lasting : {false, true}) {
    int failures_seen = 0;
    for (long nth = 1;; ++nth) {
      Apartment apartment;
      {
        const ComPtr<_OrdvaneReports> reports = Apartment::make_reports();
        apartment.stand_in->fail_at = nth;
        apartment.stand_in->fail_lastingly = lasting;
        LONG result = 0;
        HRESULT status = initialize(*reports.get(), apartment.stand_in);
        if (SUCCEEDED(status)) status = generate(*reports.get(), {0, 1}, &result);
        ComPtr<IErrorInfo> error;
        EXPECT_EQ(GetErrorInfo(0, error.receive()), FAILED(status) ? S_OK : S_FALSE) << "call " << nth;
        failures_seen += FAILED(status);
        EXPECT_EQ(reports->Terminate(), S_OK);
      }
      if (apartment.stand_in->failed.empty()) {
        ASSERT_GT(nth, 50);  // every call has had its turn
        break;
      }
    }
    EXPECT_GT(failures_seen, 5) << "what fails before the workbook is open reaches the client";
  }
}

}  // namespace
}  // namespace ordvane::test
