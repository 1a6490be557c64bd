#include "automation/patience.h"

#include <algorithm>

#include "automation/message_pump.h"

namespace ordvane::automation {
namespace {

// Excel's own, while the user has the keyboard.
constexpr HRESULT kExcelIgnores = static_cast<HRESULT>(0x800AC472);

constexpr std::chrono::milliseconds kFirstWait{2};
constexpr std::chrono::milliseconds kLongestWait{250};

}  // namespace

bool is_busy(HRESULT status) {
  return status == kExcelIgnores || status == RPC_E_CALL_REJECTED || status == RPC_E_SERVERCALL_RETRYLATER;
}

std::chrono::milliseconds Patience::limit = std::chrono::minutes(1);

bool Patience::wait() {
  if (next_.count() == 0) {
    end_ = Clock::now() + (is_short_ ? limit / 10 : limit);
    next_ = kFirstWait;
  }
  if (Clock::now() >= end_) {
    is_short_ = true;
    next_ = {};
    return false;
  }
  handle_messages_for(next_);
  next_ = std::min(2 * next_, kLongestWait);
  return true;
}

void Patience::succeeded() {
  is_short_ = false;
  next_ = {};
}

}  // namespace ordvane::automation
