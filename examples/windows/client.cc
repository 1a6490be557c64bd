// A client of the COM server: reports on outputs of the run that the engine holds, into a new workbook of the
// running Excel.
//
//   client VARIABLE-SET OUTPUT...      the engine's handle; outputs by their numbers in the engine, from 0
//
// Build it with OrdvaneResults8.h and OrdvaneResults8_i.c; link ole32 and oleaut32.

#include <objbase.h>
#include <oleauto.h>

#include <cstdio>
#include <cstdlib>

#include "OrdvaneResults8.h"
#include "OrdvaneResults8_i.c"

namespace {

// The Excel that the user has open.
IDispatch* running_excel() {
  CLSID id = {};
  IUnknown* found = nullptr;
  IDispatch* excel = nullptr;
  if (SUCCEEDED(CLSIDFromProgID(L"Excel.Application", &id)) &&
      SUCCEEDED(GetActiveObject(id, nullptr, &found))) {
    found->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&excel));
    found->Release();
  }
  return excel;
}

// Says why the call failed, or which reports are missing after one that succeeded. False: all is well.
bool explain(HRESULT status) {
  IErrorInfo* info = nullptr;
  const bool is_described = GetErrorInfo(0, &info) == S_OK;
  if (SUCCEEDED(status) && !is_described) return false;
  BSTR description = nullptr;
  if (is_described) {
    info->GetDescription(&description);
    info->Release();
  }
  std::fprintf(stderr, "%08lX: %ls\n", static_cast<unsigned long>(status), description ? description : L"");
  SysFreeString(description);
  return true;
}

int make_reports(_OrdvaneReports& reports, IDispatch* excel, LONG variable_set, SAFEARRAY* outputs) {
  VARIANT_BOOL yes = VARIANT_TRUE;
  reports.put_ReportsInNewWorkbook(&yes);
  reports.put_TornadoGraphs(&yes);
  reports.put_MaxInputsPerGraph(20);
  HRESULT status = reports.Initialize(&excel, &variable_set);
  LONG result = 0;
  if (SUCCEEDED(status)) status = reports.GenerateReports(&outputs, &result);
  const bool is_incomplete = explain(status);
  reports.Terminate();
  return is_incomplete ? 1 : static_cast<int>(result);
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) {
    std::fprintf(stderr, "usage: client VARIABLE-SET OUTPUT...\n");
    return 2;
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  IDispatch* excel = running_excel();
  _OrdvaneReports* reports = nullptr;
  int result = 1;
  if (excel == nullptr) {
    std::fprintf(stderr, "Excel is not running.\n");
  } else if (const HRESULT made = CoCreateInstance(CLSID_OrdvaneReports, nullptr, CLSCTX_INPROC_SERVER,
                                                   IID__OrdvaneReports, reinterpret_cast<void**>(&reports));
             FAILED(made)) {
    std::fprintf(stderr, "OrdvaneResults8.dll is not registered: error %08lX\n",
                 static_cast<unsigned long>(made));
  } else {
    const LONG outputs = count - 2;
    SAFEARRAY* selected = SafeArrayCreateVector(VT_I4, 1, static_cast<ULONG>(outputs));
    for (LONG k = 1; k <= outputs; ++k) {
      LONG output = std::atol(arguments[k + 1]);
      SafeArrayPutElement(selected, &k, &output);
    }
    result = make_reports(*reports, excel, std::atol(arguments[1]), selected);
    SafeArrayDestroy(selected);
    reports->Release();
  }
  if (excel) excel->Release();
  CoUninitialize();
  return result;
}
