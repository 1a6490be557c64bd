#include "automation/reports_object.h"

#include <OrdvaneResults8.h>

#include <memory>
#include <string>

#include "automation/apartment.h"
#include "automation/arrays.h"
#include "automation/excel_dispatch.h"
#include "automation/late_bound.h"
#include "automation/message_filter.h"
#include "automation/windows_environment.h"
#include "automation/wire.h"
#include "model/naming.h"
#include "model/summary.h"
#include "reports/summary_report.h"
#include "service/ordvane_reports.h"
#include "service/run_guard.h"
#include "service/spreadsheet_state.h"

namespace ordvane::automation {
namespace {

// The name under which the spreadsheet knows a workbook that a client holds.
std::string workbook_name(IDispatch* workbook) {
  try {
    return LateBound(ComPtr<IDispatch>(workbook), L"Workbook", std::make_shared<MemberNames>())
        .get(L"Name")
        .text();
  } catch (const host::Error&) {
    throw host::Error(host::errc::kTypeMismatch, "rWB: expected a workbook of the spreadsheet");
  }
}

// The process of the spreadsheet's window; 0 where it shows none.
DWORD process_of(IDispatch* application) {
  DWORD process = 0;
  host::ignoring_errors([&] {
    const LateBound excel(ComPtr<IDispatch>(application), L"Application", std::make_shared<MemberNames>());
    const std::int32_t window = excel.get(L"Hwnd").whole();
    GetWindowThreadProcessId(reinterpret_cast<HWND>(static_cast<LONG_PTR>(window)), &process);
  });
  return process;
}

class ReportsObject final : public AutomationObject<::OrdvaneReports, _OrdvaneReports> {
 public:
  ReportsObject() : services_(apartment_services()), reports_(services_) {}

#define ORDVANE_FIELD(number, type, name)                            \
  HRESULT STDMETHODCALLTYPE get_##name(Wire##type* value) override { \
    return answer_client([&] { give(value, reports_.name); });       \
  }                                                                  \
  HRESULT STDMETHODCALLTYPE put_##name(Wire##type value) override {  \
    return answer_client([&] {                                       \
      service::check_idle(*services_, #name);                        \
      take(reports_.name, value);                                    \
    });                                                              \
  }
#include "service/report_settings.def"

#define ORDVANE_PROPERTY(number, type, name)                         \
  HRESULT STDMETHODCALLTYPE get_##name(Wire##type* value) override { \
    return answer_client([&] { give(value, reports_.name()); });     \
  }                                                                  \
  HRESULT STDMETHODCALLTYPE put_##name(Wire##type* value) override { \
    return answer_client([&] {                                       \
      service::check_idle(*services_, #name);                        \
      service::OrdvaneReports::type taken{};                         \
      take(taken, at(value));                                        \
      reports_.set_##name(taken);                                    \
    });                                                              \
  }
#include "service/report_properties.def"

  HRESULT STDMETHODCALLTYPE get_name(BSTR* value) override {
    return answer_client([&] { give(value, reports_.name()); });
  }

  HRESULT STDMETHODCALLTYPE get_WatermarkText(BSTR* value) override {
    return give_watermark(value, reports_.WatermarkText());
  }
  HRESULT STDMETHODCALLTYPE put_WatermarkText(BSTR* value) override {
    return answer_client([&] {
      service::check_idle(*services_, "WatermarkText");
      reports_.set_WatermarkText(utf8(at(value)));
    });
  }
  HRESULT STDMETHODCALLTYPE get_WatermarkTextPrimary(BSTR* value) override {
    return give_watermark(value, reports_.WatermarkTextPrimary());
  }
  HRESULT STDMETHODCALLTYPE get_WatermarkTextSecondary(BSTR* value) override {
    return give_watermark(value, reports_.WatermarkTextSecondary());
  }

  HRESULT STDMETHODCALLTYPE Initialize(IDispatch** p_XLObj, LONG* p_hVars) override {
    return answer_client([&] {
      service::check_idle(*services_, "Initialize");
      excel_is_elsewhere_ = is_elsewhere(at(p_XLObj));
      reports_.Initialize(wrap_excel(at(p_XLObj)), at(p_hVars));
      set_spreadsheet_process(*session().environment, process_of(*p_XLObj));
    });
  }
  HRESULT STDMETHODCALLTYPE Terminate() override {
    return answer_client([&] { reports_.Terminate(); });
  }
  HRESULT STDMETHODCALLTYPE GenerateReports(SAFEARRAY** isSelectedOutput, LONG* result) override {
    return answer_client([&] {
      const MessageFilter patient(excel_is_elsewhere_);
      give(result, reports_.GenerateReports(longs(at(isSelectedOutput))));
      set_error_text(__uuidof(_OrdvaneReports), reports_.failures());
    });
  }

  // NOLINTBEGIN(readability-function-size): arguments of the automation interface
  HRESULT STDMETHODCALLTYPE multiReport(IDispatch** rWB, SAFEARRAY** isSelectedOutput, SAFEARRAY** trInputs,
                                        SAFEARRAY** trOutputs, LONG* NumIterations,
                                        OrdvaneOutputMode* outputMode, LONG* runNumber, LONG* totalRuns,
                                        LONG* result) override {
    return answer_client([&] {
      const Running running(*this, "multiReport");
      const Given from_client = given(rWB, isSelectedOutput, trInputs, trOutputs);
      give(result, reports_.multiReport(
                       multi_way_context(from_client, NumIterations, outputMode, runNumber, totalRuns)));
    });
  }
  HRESULT STDMETHODCALLTYPE getInputForIteration(IDispatch** rWB, SAFEARRAY** isSelectedOutput,
                                                 SAFEARRAY** trInputs, SAFEARRAY** trOutputs,
                                                 LONG* inputUpperBound, LONG* outputUpperBound,
                                                 LONG* groupCounter, LONG* recalculationCounter,
                                                 LONG* NumIterations, OrdvaneOutputMode* outputMode,
                                                 LONG* runNumber, LONG* totalRuns, LONG* result) override {
    return answer_client([&] {
      const Running running(*this, "getInputForIteration");
      const Given from_client = given(rWB, isSelectedOutput, trInputs, trOutputs);
      std::int32_t groups = at(groupCounter);
      std::int32_t recalculations = at(recalculationCounter);
      const std::int32_t status = reports_.getInputForIteration(
          multi_way_context(from_client, NumIterations, outputMode, runNumber, totalRuns),
          at(inputUpperBound), at(outputUpperBound), groups, recalculations);
      *groupCounter = groups;
      *recalculationCounter = recalculations;
      give(result, status);
    });
  }
  HRESULT STDMETHODCALLTYPE MakeSummaryReport(IDispatch** rWB, SAFEARRAY** isSelectedOutput,
                                              SAFEARRAY** trResults, SAFEARRAY** trOutputs,
                                              _OrdvaneSummary** trSum, LONG* runNumber, LONG* totalRuns,
                                              LONG* result) override {
    return answer_client([&] {
      const Running running(*this, "MakeSummaryReport");
      const Given from_client = given(rWB, isSelectedOutput, trResults, trOutputs);
      const service::SpreadsheetState found(session().g_XLApp);
      give(result,
           reports::MakeSummaryReport(context(from_client, runNumber, totalRuns), summary(at(trSum))));
    });
  }
  HRESULT STDMETHODCALLTYPE makeOutputsMissingReport(IDispatch** rWB, SAFEARRAY** isSelectedOutput,
                                                     SAFEARRAY** trResults, SAFEARRAY** trOutputs,
                                                     LONG* t_NumUnreportedOutputs,
                                                     SAFEARRAY** t_UnreportedOutputs, LONG* runNumber,
                                                     LONG* totalRuns, LONG* result) override {
    return answer_client([&] {
      const Running running(*this, "makeOutputsMissingReport");
      const Given from_client = given(rWB, isSelectedOutput, trResults, trOutputs);
      const service::SpreadsheetState found(session().g_XLApp);
      give(result,
           reports::MakeOutputsMissingReport(context(from_client, runNumber, totalRuns),
                                             at(t_NumUnreportedOutputs), longs(at(t_UnreportedOutputs))));
    });
  }
  // NOLINTEND(readability-function-size)

 private:
  // One of the single report routines, with what GenerateReports does about itself.
  struct Running {
    Running(ReportsObject& object, const char* member)
        : guard(*object.services_, member), patient(object.excel_is_elsewhere_) {}
    service::RunGuard guard;
    MessageFilter patient;
  };

  template <class Step>
  HRESULT answer_client(Step&& step) noexcept {
    const ComPtr<IUnknown> alive(static_cast<_OrdvaneReports*>(this));  // the host may let go meanwhile
    return answer(__uuidof(_OrdvaneReports), std::forward<Step>(step));
  }

  // The watermark reads as empty when its text cannot be copied.
  static HRESULT give_watermark(BSTR* value, const std::string& text) noexcept {
    if (value == nullptr) return E_POINTER;
    *value = nullptr;
    try {
      *value = make_bstr(text);
    } catch (const std::bad_alloc&) {
      *value = nullptr;
    }
    return S_OK;
  }

  session::Session& session() {
    return services_->session;
  }

  std::shared_ptr<layout::ReportWorkbook> report_workbook(IDispatch* rWB) {
    if (rWB == nullptr)
      throw host::Error(host::errc::kObjectNotSet, "rWB is Nothing; expected a workbook of the spreadsheet");
    std::shared_ptr<host::Workbook> target = session().application().workbook(workbook_name(rWB));
    if (!services_->workbook_factory)
      services_->workbook_factory = std::make_unique<layout::ReportWorkbookFactory>();
    std::shared_ptr<layout::ReportWorkbook> workbook = services_->workbook_factory->CreateReportWorkbook(
        session(), "Ordvane", std::move(target), reports_.SingleWorkbookAllResults, session().language_id);
    workbook->SetExcelReady(session().excel_ready);
    return workbook;
  }

  // What a client hands over for a report.
  struct Given {
    std::shared_ptr<layout::ReportWorkbook> workbook;
    model::OneBased<std::int32_t> selected;
    model::Records inputs, outputs;
  };
  Given given(IDispatch** rWB, SAFEARRAY** isSelectedOutput, SAFEARRAY** trInputs, SAFEARRAY** trOutputs) {
    return {report_workbook(at(rWB)), longs(at(isSelectedOutput)), records(at(trInputs)),
            records(at(trOutputs))};
  }

  reports::Context context(const Given& from_client, LONG* runNumber, LONG* totalRuns) {
    return {.session = session(),
            .workbook = *from_client.workbook,
            .selected = from_client.selected,
            .inputs = from_client.inputs,
            .outputs = from_client.outputs,
            .settings = reports_.settings,
            .run_number = at(runNumber),
            .total_runs = at(totalRuns)};
  }
  reports::Context multi_way_context(const Given& from_client, LONG* NumIterations,
                                     OrdvaneOutputMode* outputMode, LONG* runNumber, LONG* totalRuns) {
    reports::Context result = context(from_client, runNumber, totalRuns);
    result.recalculations = at(NumIterations);
    result.range_mode = model::range_mode_of(from_client.inputs);
    result.output_mode = static_cast<model::OrdvaneOutputMode>(at(outputMode));
    return result;
  }

  // A summary of any client: read through its interface.
  static model::OrdvaneSummary summary(_OrdvaneSummary* trSum) {
    if (trSum == nullptr)
      throw host::Error(host::errc::kObjectNotSet, "trSum is Nothing; expected an OrdvaneSummary");
    model::OrdvaneSummary read;
    const auto check = [](HRESULT status) {
      if (FAILED(status)) throw host::Error(status, "trSum could not be read");
    };
#define ORDVANE_FIELD(number, type, name) \
  {                                       \
    Wire##type value{};                   \
    check(trSum->get_##name(&value));     \
    take(read.name, value);               \
  }
#include "model/summary_fields.def"
    LONG inputs = 0;
    check(trSum->get_MaximumNumberOfInputs(&inputs));
    if (inputs != 0) read.set_MaximumNumberOfInputs(inputs);
    return read;
  }

  std::shared_ptr<service::Services> services_;
  service::OrdvaneReports reports_;
  bool excel_is_elsewhere_ = false;
};

}  // namespace

HRESULT create_reports(REFIID id, void** object) {
  return create<ReportsObject>(id, object);
}

}  // namespace ordvane::automation
