#include "automation/message_pump.h"

#include <windows.h>

namespace ordvane::automation {

void handle_messages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void handle_messages_for(std::chrono::milliseconds time) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + time;
  for (auto now = Clock::now(); now < end; now = Clock::now()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
    const DWORD woken =
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left.count()), QS_ALLINPUT);
    if (woken != WAIT_OBJECT_0) return;
    handle_messages();
  }
}

}  // namespace ordvane::automation
