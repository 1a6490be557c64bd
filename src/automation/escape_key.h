// The Escape key as a wish to stop: pressed anew, while Excel or this process has the keyboard.
#pragma once

#include <windows.h>

namespace ordvane::automation {

class EscapeKey {
 public:
  // `state` is what GetAsyncKeyState answers: the highest bit while the key is down, the lowest when it went
  // down since the last look. A key that is held gives one press, and none where it went down elsewhere.
  bool is_pressed(SHORT state, bool has_keyboard) {
    const bool was_down = is_down_;
    is_down_ = state < 0;
    return !was_down && state != 0 && has_keyboard;
  }

 private:
  bool is_down_ = false;
};

}  // namespace ordvane::automation
