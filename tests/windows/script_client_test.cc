// Scripts as clients: every kind of member used, failures as the script sees them.

#include "windows/script.h"

namespace ordvane::test {
namespace {

// Objects are made here and given to the script: Wine's CreateObject never lets go of a class factory.
class ScriptClient : public testing::Test {
 protected:
  void SetUp() override {
    if (!Script::available()) GTEST_SKIP() << "this system has no VBScript";
    ASSERT_EQ(export_of<HRESULT WINAPI()>(server_.module(), "DllRegisterServer")(), S_OK);
  }
  void TearDown() override { export_of<HRESULT WINAPI()>(server_.module(), "DllUnregisterServer")(); }

  Server server_;
};

TEST_F(ScriptClient, UsesARecord) {
  const ComPtr<_DralInputOutput> made = server_.make_record();
  EXPECT_EQ(Script({{L"record", made.get()}}).run(LR"(
    Dim report, j, k
    report = TypeName(record)
    record.numSteps = 3
    record.isFormula = True
    record.ioName = " "
    record.cellAddress = "C7"
    record.sheetName = "Inputs"
    record.SimpleName = "  Profit  "
    record.BaseValue = 2
    report = report & "|" & record.numSteps & "|" & record.isFormula & "|" & record.SimpleName & "|" & record.BaseValue
    report = report & "|" & record.NameOrQualifiedCellAddressName(0) & "|" & record.NameOrQualifiedCellAddressName(1)
    report = report & "|" & record.tableOfValuesInit(0) & record.tableOfValuesInit(2)
    record.TableOfValuesPut 1, 2.5
    record.TableOfValues(2) = 3
    report = report & "|" & record.TableOfValues(1) + record.TableOfValues(2)
    j = 1 : k = 2
    record.outputMinMaxChangeInit 1, 1, 2
    record.outputMinMaxChangePut 1, j, k, 9
    report = report & "|" & record.outputMinMaxChange(1, 1, 2)
    Set record.outputRangeNameRef = record
    report = report & "|" & record.outputRangeNameRef.cellAddress
    Set record.outputRangeNameRef = Nothing
    report = report & "|" & (record.outputRangeNameRef Is Nothing)
  )"),
            L"_DralInputOutput|3|True|Profit|2|C7|C7 (Inputs)|10|5.5|9|C7|True");
}

TEST_F(ScriptClient, SeesFailuresAsErrors) {
  const ComPtr<_DralInputOutput> record = server_.make_record();
  const ComPtr<_OrdvaneReports> reports = server_.make<_OrdvaneReports>(__uuidof(OrdvaneReports));
  EXPECT_EQ(Script({{L"record", record.get()}, {L"reports", reports.get()}}).run(LR"(
    Dim report
    On Error Resume Next
    Sub Note()
      report = report & Err.Number & " "
      Err.Clear
    End Sub
    record.outputRankPut 1, 1 : Note
    record.inCellIndex = 70000 : Note
    record.bookIndex = 2.5 : Note
    record.nosuch = 1 : Note
    reports.Initialize Nothing, 1 : Note
    reports.Initialize 5, 1 : Note
    reports.GenerateReports Array(0) : Note
    reports.GenerateReports "all" : Note
    reports.MakeSummaryReport record, Array(), Array(), Array(), Nothing : Note
    CreateObject "OrdvaneResults8.OrdvaneEnumerations" : Note
    CreateObject "OrdvaneResults8.OrdvaneSummary" : Note
  )"),
            L"9 13 13 438 91 13 91 13 91 429 429 ");
}

}  // namespace
}  // namespace ordvane::test
