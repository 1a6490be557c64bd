// Calls into another process, or another apartment of this one, that is not ready to take them.
#pragma once

#include <objidl.h>
#include <windows.h>

namespace ordvane::automation {

// An object that is called through a proxy: COM gives only those this interface.
bool is_elsewhere(IUnknown* object);

// While it lives, this apartment waits for a spreadsheet that lives elsewhere, as long as Patience says, and
// handles messages meanwhile. One that lives here has a filter of its own, which stays.
class MessageFilter final : public IMessageFilter {
 public:
  explicit MessageFilter(bool spreadsheet_is_elsewhere);
  MessageFilter(const MessageFilter&) = delete;
  MessageFilter& operator=(const MessageFilter&) = delete;
  ~MessageFilter();

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // lives on the stack
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  DWORD STDMETHODCALLTYPE HandleInComingCall(DWORD type, HTASK caller, DWORD ticks,
                                             LPINTERFACEINFO call) override;
  DWORD STDMETHODCALLTYPE RetryRejectedCall(HTASK callee, DWORD ticks, DWORD type) override;
  DWORD STDMETHODCALLTYPE MessagePending(HTASK callee, DWORD ticks, DWORD type) override;

 private:
  bool is_registered_ = false;
  IMessageFilter* former_ = nullptr;
};

}  // namespace ordvane::automation
