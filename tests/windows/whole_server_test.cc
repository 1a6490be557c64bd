// The installed server: registered beside the engine's library, driven by a script, which makes the workbook
// that the library makes on the building machine.

#include <cstdlib>

#include "embedded/report_job.h"
#include "support/snapshot.h"
#include "windows/excel_stand_in.h"
#include "windows/script.h"
#include "windows/server_under_test.h"
#include "windows/texts.h"

namespace ordvane::test {
namespace {

using std::filesystem::path;

TEST(WholeServer, ServesAScript) {
  const char* const native = std::getenv("ORDVANE_NATIVE_SNAPSHOT");
  if (native == nullptr)
    GTEST_SKIP() << "ORDVANE_NATIVE_SNAPSHOT names no snapshot of the building machine to compare with";
  if (!Script::available()) GTEST_SKIP() << "this system has no VBScript";
  const std::wstring root = path(server_path()).root_name();  // of this machine's files
  const std::string expected = file_text(root + path(native).wstring());
  ASSERT_GT(expected.size(), 10000U) << native;
  const path run = root + path(ORDVANE_SOURCE_DIR).wstring() + L"/examples/solar-plant/solar-plant.run.json";
  SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", run.c_str());
  const auto office = embedded::open_model(runfile::read_run(run));
  const auto stand_in = std::make_shared<StandIn>(office);
  const Server server;
  ASSERT_EQ(export_of<HRESULT WINAPI()>(server.module(), "DllRegisterServer")(), S_OK);
  {
    ComPtr<_OrdvaneReports> reports;
    ASSERT_EQ(CoCreateInstance(__uuidof(OrdvaneReports), nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(_OrdvaneReports), reports.receive_void()),
              S_OK);
    const ComPtr<IDispatch> excel = make_excel_stand_in(stand_in);
    // The outputs counted from 1, as scripts do: element 0 is never set.
    EXPECT_EQ(Script({{L"reports", reports.get()}, {L"Excel", excel.get()}}).run(LR"(
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
  export_of<HRESULT WINAPI()>(server.module(), "DllUnregisterServer")();
  EXPECT_EQ(stand_in->live_objects, 0);
  EXPECT_EQ(first_difference(snapshot(*office->model(*office->active_workbook())), expected), "");
}

}  // namespace
}  // namespace ordvane::test
