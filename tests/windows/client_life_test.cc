// OrdvaneReports over an Excel that is late-bound itself: the single report routines, what reaches the client
// when one is refused, and the sessions of apartments.

#include <cwchar>
#include <thread>

#include "support/forwarding_host.h"
#include "windows/apartment_bench.h"

namespace ordvane::test {
namespace {

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

// Every kind of member of a record.
TEST(ClientLife, ScriptsUseRecords) {
  if (!Script::available()) GTEST_SKIP() << "this system has no VBScript";
  Apartment apartment;
  EXPECT_EQ(apartment.run_script(nullptr,
                                 LR"(
    Dim report, j, k
    report = TypeName(input)
    input.isFormula = True
    input.cellAddress = "C7" : output.cellAddress = "D9"
    input.sheetName = "Inputs"
    input.SimpleName = "  Profit  "
    input.BaseValue = 2
    report = report & "|" & input.isFormula & "|" & input.SimpleName & "|" & input.BaseValue
    report = report & "|" & input.NameOrQualifiedCellAddressName(0) & "|" & input.NameOrQualifiedCellAddressName(1)
    report = report & "|" & input.tableOfValuesInit(0) & input.tableOfValuesInit(2)
    input.TableOfValuesPut 1, 2.5
    input.TableOfValues(2) = 3
    report = report & "|" & input.TableOfValues(1) + input.TableOfValues(2)
    j = 1 : k = 2
    input.outputMinMaxChangeInit 1, 1, 2
    input.outputMinMaxChangePut 1, j, k, 9
    report = report & "|" & input.outputMinMaxChange(1, 1, 2)
    Set input.outputRangeNameRef = output
    report = report & "|" & input.outputRangeNameRef.cellAddress
    Set input.outputRangeNameRef = Nothing
    report = report & "|" & (input.outputRangeNameRef Is Nothing)
    On Error Resume Next
    input.outputRankPut 1, 1
    report = report & "|" & Err.Number : Err.Clear
    input.nosuch = 1
    report = report & "|" & Err.Number
  )"),
            L"_DralInputOutput|True|Profit|2|C7|C7 (Inputs)|10|5.5|9|D9|True|9|438");
}

TEST(ClientLife, WhatTheEngineRefusesReachesTheClient) {
  Apartment apartment;
  apartment.services->session.engine = announcing(apartment.services->session.engine, [](const char* member) {
    if (std::string("Engine.DRL7_GetOrderedOutputInfoVB") == member) throw Refused{1};
  });
  const service::Found found(*apartment.application);
  const ComPtr<_OrdvaneReports> reports = Apartment::make_reports();
  ASSERT_EQ(initialize(*reports.get(), apartment.stand_in), S_OK);
  LONG result = 0;
  EXPECT_EQ(generate(*reports.get(), {0}, &result), static_cast<HRESULT>(0x800A0005));
  EXPECT_EQ(error_text(), "DRL7_GetOrderedOutputInfoVB refused output 1 (status 1)");
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

}  // namespace
}  // namespace ordvane::test
