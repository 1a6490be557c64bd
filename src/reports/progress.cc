#include "reports/progress.h"

#include <initializer_list>

#include "host/environment.h"

namespace ordvane::reports {
namespace {

std::string joined(std::initializer_list<std::string> texts) {
  std::string result;
  for (const std::string& text : texts)
    if (!text.empty()) result += (result.empty() ? "" : " ") + text;
  return result;
}

}  // namespace

void CheckUserCancel(session::Session& session) {
  session.check_cancel();
}

void ShowProgress(session::Session& session, const std::string& text1, const std::string& text2,
                  const std::string& text3, std::optional<std::int32_t> current,
                  std::optional<std::int32_t> step, std::optional<std::int32_t> last) {
  const bool throttled = current && step && *step != 0;
  if (throttled && *current % *step != 0 && current != last) return;
  session.environment->show_progress(text1, text2, text3);
  session.application().set_status_bar(joined({text1, text2, text3}));
  session.environment->pump_messages();
}

}  // namespace ordvane::reports
