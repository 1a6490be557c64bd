// What the user sees of reports that are being written, and how it stops them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "session/session.h"

namespace ordvane::reports {

// Throws errc::kUserCancelled when the user asks to stop.
void CheckUserCancel(session::Session& session);

// Shows up to three texts as progress and in the status bar. With `current` and `step`: only at every
// multiple of `step` and at `last`.
void ShowProgress(session::Session& session, const std::string& text1, const std::string& text2 = {},
                  const std::string& text3 = {}, std::optional<std::int32_t> current = {},
                  std::optional<std::int32_t> step = {}, std::optional<std::int32_t> last = {});

}  // namespace ordvane::reports
