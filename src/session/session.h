// The session: what every report module takes from its surroundings, from Initialize to Terminate.
//
// Holds the spreadsheet, the engine and its handle, the texts, the watermark, and the diagnostic log. Handed
// by reference to whoever needs it; nothing here is global. The service fills it (service/), the reports only
// read it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "host/environment.h"
#include "host/excel.h"
#include "session/text_id.h"

namespace ordvane::session {

// The diagnostic log: one text file, one line per notable step. Never raises an error, never affects results.
class DiagnosticLog {
 public:
  // Deletes the former log and turns logging on. Stays off when the environment keeps no log. Throws what
  // asking the environment for its log folder throws; failing to delete is ignored.
  void open(std::shared_ptr<host::Environment> environment);
  // Appends one line; on disk when the call returns. Does nothing when logging is off; errors are ignored.
  void line(const std::string& text);
  // Writes the closing block and turns logging off.
  void close();
  // Worth asking before composing many lines.
  bool is_on() const { return !path_.empty(); }
  const std::string& path() const { return path_; }

 private:
  std::shared_ptr<host::Environment> environment_;
  std::string path_;
};

// Values as log lines show them.
std::string log_text(double value);  // up to 15 significant digits
inline std::string log_text(bool value) {
  return value ? "True" : "False";
}
inline std::string log_text(std::int32_t value) {
  return std::to_string(value);
}

struct WatermarkTexts {
  std::string text;       // trimmed, as the host gave it
  std::string primary;    // first line
  std::string secondary;  // everything after it
};

struct Session {
  DiagnosticLog log;
  std::shared_ptr<host::Environment> environment;
  std::shared_ptr<engine::Engine> engine;
  std::shared_ptr<host::Application> g_XLApp;
  std::shared_ptr<host::StringTable> string_table;
  std::int32_t hVars = 0;
  std::int16_t session_flag = 0;  // second argument of the DRL7_ functions; 1 after Initialize
  bool excel_ready = false;
  std::int32_t language_id = 0;
  std::string language_string;
  engine::EngineContext engine_context;
  WatermarkTexts watermark;
  std::string graph_click_macro;
  std::int32_t sheet_columns = 0;  // limits of a worksheet; 0: not known
  std::int32_t sheet_rows = 0;
  std::int64_t sheet_cells = 0;  // of a table; 0: none

  // A text, its places filled. Throws errc::kObjectNotSet when the session has no string table.
  std::string text(TextId<0> id) const;
  std::string text(TextId<1> id, const host::TextArgument& arg1) const;
  std::string text(TextId<2> id, const host::TextArgument& arg1, const host::TextArgument& arg2) const;
  std::string text(TextId<3> id, const host::TextArgument& arg1, const host::TextArgument& arg2,
                   const host::TextArgument& arg3) const;
  // The items as the language writes a list; of a long one the beginning, and how many more there are.
  std::string list_of(const std::vector<std::string>& items) const;

  // Throws errc::kUserCancelled when the user asks to stop.
  void check_cancel() const;

  host::Application& application() const;  // throws errc::kObjectNotSet when there is none
};

}  // namespace ordvane::session
