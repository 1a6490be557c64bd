#include "automation/com_object.h"

#include <new>
#include <stdexcept>

namespace ordvane::automation {
namespace {

constexpr HRESULT kRuntimeErrors = static_cast<HRESULT>(0x800A0000);
constexpr const char* kSource = "OrdvaneResults8";

HRESULT describe(REFIID interface_id, HRESULT code, const std::string& text,
                 const std::string& source) noexcept {
  try {
    ComPtr<ICreateErrorInfo> made;
    if (FAILED(CreateErrorInfo(made.receive()))) return code;
    made->SetGUID(interface_id);
    made->SetDescription(Bstr(text).get());
    made->SetSource(Bstr(source).get());
    ComPtr<IErrorInfo> error;
    if (SUCCEEDED(made->QueryInterface(IID_IErrorInfo, error.receive_void()))) SetErrorInfo(0, error.get());
  } catch (...) {
    // The code says it all the same.
  }
  return code;
}

}  // namespace

void set_error_text(REFIID interface_id, const std::string& text) noexcept {
  if (text.empty())
    SetErrorInfo(0, nullptr);
  else
    describe(interface_id, S_OK, text, kSource);
}

std::atomic<long> live_objects = 0;

HRESULT hresult_of(const host::Error& error) noexcept {
  if (error.code() < 0) return error.code();
  if (error.code() == 0 || error.code() > 0xFFFF) return E_FAIL;
  return kRuntimeErrors | error.code();
}

HRESULT report_current_exception(REFIID interface_id) noexcept {
  try {
    throw;
  } catch (const host::Error& error) {
    return describe(interface_id, hresult_of(error), error.description(), error.source());
  } catch (const std::bad_alloc&) {
    return describe(interface_id, kRuntimeErrors | host::errc::kOutOfMemory, "Out of memory", kSource);
  } catch (const std::length_error&) {  // asked for more than can be addressed
    return describe(interface_id, kRuntimeErrors | host::errc::kOutOfMemory, "Out of memory", kSource);
  } catch (const std::exception& error) {
    return describe(interface_id, E_UNEXPECTED, error.what(), kSource);
  } catch (...) {
    return describe(interface_id, E_UNEXPECTED, "Unexpected failure", kSource);
  }
}

}  // namespace ordvane::automation
