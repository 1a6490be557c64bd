#include "automation/message_filter.h"

#include <objbase.h>

#include "automation/com_values.h"
#include "automation/patience.h"

namespace ordvane::automation {
namespace {

constexpr DWORD kGiveUp = static_cast<DWORD>(-1);
constexpr DWORD kRetryAfter = 250;  // milliseconds; less than 100 would be at once

}  // namespace

bool is_elsewhere(IUnknown* object) {
  ComPtr<IClientSecurity> proxy;
  return object != nullptr && SUCCEEDED(object->QueryInterface(IID_IClientSecurity, proxy.receive_void()));
}

MessageFilter::MessageFilter(bool spreadsheet_is_elsewhere) {
  is_registered_ = spreadsheet_is_elsewhere && SUCCEEDED(CoRegisterMessageFilter(this, &former_));
}

MessageFilter::~MessageFilter() {
  if (!is_registered_) return;
  CoRegisterMessageFilter(former_, nullptr);
  if (former_ != nullptr) former_->Release();
}

HRESULT MessageFilter::QueryInterface(REFIID id, void** object) {
  if (object == nullptr) return E_POINTER;
  const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IMessageFilter);
  *object = known ? this : nullptr;
  return known ? S_OK : E_NOINTERFACE;
}

DWORD MessageFilter::HandleInComingCall(DWORD type, HTASK caller, DWORD ticks, LPINTERFACEINFO call) {
  if (former_ != nullptr) return former_->HandleInComingCall(type, caller, ticks, call);
  return SERVERCALL_ISHANDLED;
}

DWORD MessageFilter::RetryRejectedCall(HTASK, DWORD ticks, DWORD) {
  return std::chrono::milliseconds(ticks) < Patience::limit ? kRetryAfter : kGiveUp;
}

DWORD MessageFilter::MessagePending(HTASK callee, DWORD ticks, DWORD type) {
  if (former_ != nullptr) return former_->MessagePending(callee, ticks, type);
  return PENDINGMSG_WAITDEFPROCESS;
}

}  // namespace ordvane::automation
