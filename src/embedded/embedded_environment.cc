#include "embedded/embedded_environment.h"

namespace ordvane::embedded {
namespace {

environment::Settings settings_of(const ReportOptions& options) {
  environment::Settings settings;
  settings.language = options.language;
  settings.log_folder = options.log_folder;
  settings.add_in_present = options.click_macro;
  return settings;
}

}  // namespace

EmbeddedEnvironment::EmbeddedEnvironment(const ReportOptions& options)
    : StandardEnvironment(settings_of(options)), options_(options) {}

void EmbeddedEnvironment::show_progress(const std::string& text1, const std::string& text2,
                                        const std::string& text3) {
  if (!options_.progress) return;
  std::string line = text1;
  for (const std::string* text : {&text2, &text3})
    if (!text->empty()) line += (line.empty() ? "" : " ") + *text;
  options_.progress(line);
}

bool EmbeddedEnvironment::escape_pressed() {
  return cancelled();
}

bool EmbeddedEnvironment::cancelled() {
  if (!cancelled_ && options_.cancelled) cancelled_ = options_.cancelled();
  return cancelled_;
}

void EmbeddedEnvironment::check_cancelled() {
  if (cancelled()) throw host::Error(host::errc::kUserCancelled, "Cancelled");
}

}  // namespace ordvane::embedded
