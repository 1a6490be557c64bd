// Stands between the library and Excel: every call passes through, is timed and written down, and can be made
// to fail or to be interrupted.
#pragma once

#include <oaidl.h>
#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "automation/com_values.h"
#include "results.h"

namespace ordvane::acceptance {

struct TracedCall {
  std::string run;
  std::string member;  // "Workbooks.Add": what the object came from, and what was called
  char role = 'c';     // c call or get, p put
  std::string arguments;
  HRESULT status = S_OK;
  std::string answer;  // of a failure: its description
  double seconds = 0;
};

// One for the life of the program; the objects that it hands out refer to it.
class Tracer {
 public:
  // An object of Excel as the library sees it, and everything that it returns.
  automation::ComPtr<IDispatch> wrap(IDispatch* object, const std::string& name);

  // Calls that follow belong to this run.
  void begin(const std::string& run);
  // Before each call: its number in the run, from 1. True makes the call fail with Excel's usual error.
  std::function<bool(std::size_t)> before_call;

  std::vector<TracedCall> calls;
  std::size_t calls_of_run = 0;
  long live_objects = 0;

  RunCost cost_of_run(const std::string& run) const;
  void summarize(Results& results) const;
  // calls.csv: every call in its order.
  void write(const std::filesystem::path& file) const;

  // Names that the library has looked up, by number: Excel has one number for one name.
  std::map<DISPID, std::string> names;
  const std::string& run() const { return run_; }

 private:
  std::string run_;
};

}  // namespace ordvane::acceptance
