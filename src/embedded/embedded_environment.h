// The environment of the embedded host: progress and Escape are the caller's callbacks.
#pragma once

#include <string>

#include "embedded/report_job.h"
#include "environment/standard_environment.h"

namespace ordvane::embedded {

class EmbeddedEnvironment : public environment::StandardEnvironment {
 public:
  // Keeps a reference to the options.
  explicit EmbeddedEnvironment(const ReportOptions& options);

  void show_progress(const std::string& text1, const std::string& text2, const std::string& text3) override;
  bool escape_pressed() override;

  // Whether the caller has asked to stop. A request is kept: one that was answered where errors are ignored
  // still ends the job.
  bool cancelled();
  // Throws errc::kUserCancelled when the caller has.
  void check_cancelled();

 private:
  const ReportOptions& options_;
  bool cancelled_ = false;
};

}  // namespace ordvane::embedded
