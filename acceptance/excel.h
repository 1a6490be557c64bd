// The Excel of this machine, as the kit uses it apart from the library.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "automation/late_bound.h"
#include "results.h"

namespace ordvane::acceptance {

using automation::LateBound;
using automation::Variant;
using State = std::vector<std::pair<std::string, std::string>>;

class Excel {
 public:
  // Starts one of its own. Throws CannotBeMade where there is none.
  Excel();
  // Leaves it, and what is open in it unsaved.
  ~Excel();
  Excel(const Excel&) = delete;
  Excel& operator=(const Excel&) = delete;

  const LateBound& application() const { return application_; }
  // 0 where it runs in this program's own process.
  DWORD process() const { return process_ == GetCurrentProcessId() ? 0 : process_; }
  void tell(Results& results) const;
  // The model that runs are about; workbooks other than it are those of reports.
  LateBound open_model(const std::filesystem::path& file);
  // An empty workbook as the model of runs that need no formulas; returns its name.
  std::string add_model();
  void close_model();
  // The workbook that reports were made in, which the library leaves active; fails where there is none.
  LateBound report_workbook() const;
  void close_report_workbooks() const;

  // Settings that nobody has by default, so that putting them back shows.
  void unsettle() const;
  void settle() const;
  State state() const;
  // Formula, value, format and array flag of every cell of the model, by address.
  State model_cells() const;

 private:
  std::string active_name() const;

  LateBound application_;
  std::string model_;
  DWORD process_ = 0;
};

// What is in one and not in the other, as lines; empty: nothing.
std::string difference(const State& before, const State& after);
// Eight bytes of all that it says, in hexadecimal.
std::string hash_of(const State& state);
// A property as text; what Excel says instead in angle brackets.
std::string shown(const LateBound& object, const wchar_t* property);

}  // namespace ordvane::acceptance
