// What the reports need of Windows: folders, the user's language, message boxes, the Escape key, pending
// messages, the clock. Texts and numbers are the standard environment's.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/environment.h"

namespace ordvane::automation {

// Folders are full paths. Empty: the engine's is that of the module that holds this code, where the add-in
// installs both; the log's is the user's folder for temporary files.
struct WindowsFolders {
  std::string engine;
  std::string log;
};

// Texts come in the language of the user's Windows, or in a language of the same family, or in English.
// Messages are shown only to somebody: not where this process has no visible desktop, nor when the
// environment variable ORDVANE_QUIET is set and not empty.
// Escape counts while a window of this process, or of the spreadsheet's, has the keyboard.
std::shared_ptr<host::Environment> make_windows_environment(const WindowsFolders& folders = {});

// The spreadsheet runs in another process, of this number; 0: it does not. Other environments do not mind.
void set_spreadsheet_process(host::Environment& environment, std::uint32_t process);

}  // namespace ordvane::automation
