#include "drive.h"

#include <OrdvaneResults8.h>
#include <objbase.h>

#include "automation/windows_environment.h"
#include "embedded/report_job.h"
#include "host/error.h"
#include "measure.h"
#include "runfile/recorded_engine.h"
#include "service/ordvane_reports.h"
#include "windows/script.h"

namespace ordvane::acceptance {
namespace {

using automation::Bstr;
using automation::ComPtr;

constexpr LONG kVariableSet = 1;
constexpr std::int16_t kGroupSize = 3;
constexpr std::int32_t kInputsPerGraph = 20;
constexpr const char* kWatermark = "Acceptance\nnot for release";

// Throws what a failed call of the library says.
void expect(HRESULT status) {
  if (SUCCEEDED(status)) return;
  ComPtr<IErrorInfo> info;
  BSTR description = nullptr;
  if (GetErrorInfo(0, info.receive()) == S_OK) info->GetDescription(&description);
  const std::string text = description != nullptr ? automation::utf8(description) : "no description";
  SysFreeString(description);
  throw host::Error(status, text);
}

ComPtr<_OrdvaneReports> make_reports() {
  ComPtr<_OrdvaneReports> made;
  expect(CoCreateInstance(__uuidof(OrdvaneReports), nullptr, CLSCTX_INPROC_SERVER, __uuidof(_OrdvaneReports),
                          made.receive_void()));
  return made;
}

// Through the function table of the type library.
LONG drive_early(_OrdvaneReports& reports, IDispatch* excel, std::int32_t outputs, bool everything) {
  VARIANT_BOOL yes = VARIANT_TRUE;
  VARIANT_BOOL all = everything ? VARIANT_TRUE : VARIANT_FALSE;
  expect(reports.put_ReportsInNewWorkbook(&yes));
  expect(reports.put_TornadoGraphs(&yes));
  expect(reports.put_SpiderGraphs(&all));
  expect(reports.put_SensitivityGraphs(&all));
  expect(reports.put_OutputDetailReport(&all));
  expect(reports.put_MultiWayReport(&all));
  expect(reports.put_DetailByInput(&all));
  expect(reports.put_DefaultMultiGroupSize(kGroupSize));
  expect(reports.put_MaxInputsPerGraph(kInputsPerGraph));
  LONG handle = kVariableSet;
  LONG result = -1;
  expect(reports.Initialize(&excel, &handle));
  const Bstr owner(kWatermark);
  BSTR watermark = owner.get();
  expect(reports.put_WatermarkText(&watermark));
  SAFEARRAY* selected = SafeArrayCreateVector(VT_I4, 1, static_cast<ULONG>(outputs));
  for (LONG k = 1; k <= outputs; ++k) {
    LONG output = k - 1;
    SafeArrayPutElement(selected, &k, &output);
  }
  const HRESULT status = reports.GenerateReports(&selected, &result);
  SafeArrayDestroy(selected);
  expect(status);
  return result;
}

// By name through IDispatch, as VBA does with an Object.
LONG drive_late(IDispatch* reports, IDispatch* excel, std::int32_t outputs, bool everything) {
  const LateBound it(reports, L"OrdvaneReports", std::make_shared<automation::MemberNames>());
  it.put(L"ReportsInNewWorkbook", true);
  it.put(L"TornadoGraphs", true);
  for (const wchar_t* report :
       {L"SpiderGraphs", L"SensitivityGraphs", L"OutputDetailReport", L"MultiWayReport", L"DetailByInput"})
    it.put(report, everything);
  it.put(L"DefaultMultiGroupSize", kGroupSize);
  it.put(L"MaxInputsPerGraph", kInputsPerGraph);
  it.call(L"Initialize", {excel, std::int32_t{kVariableSet}});
  it.put(L"WatermarkText", kWatermark);
  SAFEARRAY* selected = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(outputs));
  for (LONG k = 0; k < outputs; ++k) {
    Variant output(std::int32_t{k});
    SafeArrayPutElement(selected, &k, const_cast<VARIANT*>(&output.value()));
  }
  return it.call(L"GenerateReports", {Variant::array(selected)}).whole();
}

LONG drive_by_script(IDispatch* reports, IDispatch* excel, std::int32_t outputs, bool everything) {
  if (!test::Script::available()) throw CannotBeMade{"this Windows has no VBScript"};
  const std::wstring said = test::Script({{L"reports", reports}, {L"Excel", excel}})
                                .run((L"Dim report, selected(" + std::to_wstring(outputs) + L"), i, all\n" +
                                      L"all = " + (everything ? L"True" : L"False") + LR"(
    reports.ReportsInNewWorkbook = True
    reports.TornadoGraphs = True
    reports.SpiderGraphs = all
    reports.SensitivityGraphs = all
    reports.OutputDetailReport = all
    reports.MultiWayReport = all
    reports.DetailByInput = all
    reports.DefaultMultiGroupSize = 3
    reports.MaxInputsPerGraph = 20
    reports.Initialize Excel, 1
    reports.WatermarkText = "Acceptance" & vbCrLf & "not for release"
    For i = 1 To UBound(selected)
      selected(i) = i - 1
    Next
    report = CStr(reports.GenerateReports(selected))
  )")
                                         .c_str());
  if (said.empty() || said.find_first_not_of(L"0123456789") != std::wstring::npos)
    throw host::Error(E_FAIL, utf8_of(said));
  return std::stol(said);
}

LONG drive(_OrdvaneReports& reports, IDispatch* excel, std::int32_t outputs, const Plan& plan) {
  switch (plan.binding) {
    case Binding::kEarly:
      return drive_early(reports, excel, outputs, plan.everything);
    case Binding::kLate:
      return drive_late(&reports, excel, outputs, plan.everything);
    default:
      return drive_by_script(&reports, excel, outputs, plan.everything);
  }
}

}  // namespace

Outcome drive(Tracer& tracer, const Excel& excel, std::int32_t outputs, const Plan& plan) {
  Outcome outcome;
  tracer.begin(plan.name);
  tracer.before_call = plan.before_call;
  const Stopwatch watch;
  const ComPtr<_OrdvaneReports> reports = make_reports();
  {
    const ComPtr<IDispatch> seen = tracer.wrap(excel.application().dispatch(), "Application");
    try {
      outcome.result = drive(*reports.get(), seen.get(), outputs, plan);
    } catch (const host::Error& error) {
      outcome.error = code_text(error.code()) + " " + error.description();
    }
  }
  outcome.seconds = watch.seconds();
  tracer.before_call = nullptr;
  expect(reports->Terminate());
  outcome.held_after_terminate = tracer.live_objects;
  return outcome;
}

void give_run(const std::filesystem::path& run) {
  SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", run.c_str());
}

std::shared_ptr<const office::BookModel> expected_workbook(const std::shared_ptr<runfile::Run>& run,
                                                           bool everything,
                                                           const std::filesystem::path& log_folder) {
  const auto services = std::make_shared<service::Services>();
  const std::string log = utf8_of(log_folder);
  services->session.environment = automation::make_windows_environment({log, log});
  services->session.engine = runfile::make_recorded_engine(run);
  const auto application = embedded::open_model(*run);
  service::OrdvaneReports reports(services);
  reports.set_ReportsInNewWorkbook(true);
  reports.set_TornadoGraphs(true);
  reports.set_SpiderGraphs(everything);
  reports.set_SensitivityGraphs(everything);
  reports.set_OutputDetailReport(everything);
  reports.set_MultiWayReport(everything);
  reports.set_DetailByInput(everything);
  reports.DefaultMultiGroupSize = kGroupSize;
  reports.MaxInputsPerGraph = kInputsPerGraph;
  reports.Initialize(application, kVariableSet);
  reports.set_WatermarkText(kWatermark);
  model::OneBased<std::int32_t> selected;
  for (std::size_t output = 0; output < run->outputs.size(); ++output)
    selected.push_back(static_cast<std::int32_t>(output));
  reports.GenerateReports(selected);
  const auto workbook = reports.report_workbook();
  if (reports.report_error()) throw host::Error(*reports.report_error());
  reports.Terminate();
  return application->model(*workbook);
}

}  // namespace ordvane::acceptance
