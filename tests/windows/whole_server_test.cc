// The installed server: registered beside the engine's library, driven by a script and by a compiled client,
// each of which makes the workbook that the library makes on the building machine.

#include <cstdlib>

#include "embedded/report_job.h"
#include "support/snapshot.h"
#include "windows/excel_stand_in.h"
#include "windows/script.h"
#include "windows/texts.h"

namespace ordvane::test {
namespace {

using std::filesystem::path;

class WholeServer : public testing::Test {
 protected:
  void SetUp() override {
    const char* native = std::getenv("ORDVANE_NATIVE_SNAPSHOT");
    if (native == nullptr)
      GTEST_SKIP() << "ORDVANE_NATIVE_SNAPSHOT names no snapshot of the building machine to compare with";
    const path root = path(server_path()).root_name();  // of this machine's files
    native_ = text_in(root.wstring() + path(native).wstring());
    ASSERT_GT(native_.size(), 10000U) << native;
    const path run =
        root.wstring() + path(ORDVANE_SOURCE_DIR).wstring() + L"/examples/solar-plant/solar-plant.run.json";
    SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", run.c_str());
    office_ = embedded::open_model(runfile::read_run(run));
    stand_in_ = std::make_shared<StandIn>(office_);
    ASSERT_EQ(export_of<HRESULT WINAPI()>(server_.module(), "DllRegisterServer")(), S_OK);
    ASSERT_EQ(CoCreateInstance(__uuidof(OrdvaneReports), nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(_OrdvaneReports), reports_.receive_void()),
              S_OK);
  }
  void TearDown() override {
    reports_ = {};
    export_of<HRESULT WINAPI()>(server_.module(), "DllUnregisterServer")();
  }

  void expect_the_native_workbook() {
    reports_ = {};
    EXPECT_EQ(stand_in_->live_objects, 0);
    EXPECT_EQ(first_difference(snapshot(*office_->model(*office_->active_workbook())), native_), "");
  }

  Server server_;
  std::shared_ptr<office::OfficeApplication> office_;
  std::shared_ptr<StandIn> stand_in_;
  ComPtr<_OrdvaneReports> reports_;
  std::string native_;
};

TEST_F(WholeServer, ServesAScript) {
  if (!Script::available()) GTEST_SKIP() << "this system has no VBScript";
  {
    const ComPtr<IDispatch> excel = make_excel_stand_in(stand_in_);
    // The outputs counted from 1, as scripts do: element 0 is never set.
    EXPECT_EQ(Script({{L"reports", reports_.get()}, {L"Excel", excel.get()}}).run(LR"(
      Dim report, selected(6), i
      reports.ReportsInNewWorkbook = True
      reports.TornadoGraphs = True
      reports.SpiderGraphs = True
      reports.SensitivityGraphs = True
      reports.OutputDetailReport = True
      reports.MultiWayReport = True
      reports.DetailByInput = True
      reports.DefaultMultiGroupSize = 3
      reports.MaxInputsPerGraph = 20
      reports.WatermarkText = "cleared by Initialize"
      reports.Initialize Excel, 1
      report = "[" & reports.WatermarkText & "]"
      reports.WatermarkText = "Draft" & vbCrLf & "not for release"
      For i = 1 To 6
        selected(i) = i - 1
      Next
      report = report & reports.GenerateReports(selected) & reports.WatermarkTextSecondary
      reports.Terminate
    )"),
              L"[]0not for release");
  }
  expect_the_native_workbook();
}

TEST_F(WholeServer, ServesACompiledClient) {
  VARIANT_BOOL yes = VARIANT_TRUE;
  for (const auto put : {&_OrdvaneReports::put_ReportsInNewWorkbook, &_OrdvaneReports::put_TornadoGraphs,
                         &_OrdvaneReports::put_SpiderGraphs, &_OrdvaneReports::put_SensitivityGraphs,
                         &_OrdvaneReports::put_OutputDetailReport, &_OrdvaneReports::put_DetailByInput,
                         &_OrdvaneReports::put_MultiWayReport})
    (reports_.get()->*put)(&yes);
  reports_->put_MaxInputsPerGraph(20);
  reports_->put_DefaultMultiGroupSize(3);
  {
    const ComPtr<IDispatch> excel = make_excel_stand_in(stand_in_);
    IDispatch* application = excel.get();
    LONG handle = 1;
    ASSERT_EQ(reports_->Initialize(&application, &handle), S_OK);
  }
  Bstr watermark("Draft\nnot for release");
  BSTR watermark_text = watermark.get();
  reports_->put_WatermarkText(&watermark_text);
  SAFEARRAY* selected = SafeArrayCreateVector(VT_I4, 1, 6);
  for (LONG i = 0; i < 6; ++i) static_cast<LONG*>(selected->pvData)[i] = i;
  LONG result = -1;
  EXPECT_EQ(reports_->GenerateReports(&selected, &result), S_OK);
  EXPECT_EQ(result, 0);
  SafeArrayDestroy(selected);
  EXPECT_EQ(reports_->Terminate(), S_OK);
  expect_the_native_workbook();
}

}  // namespace
}  // namespace ordvane::test
