// Functions that tell what a value is.
#include "calc/functions.h"
#include "text/edit.h"

namespace ordvane::calc {
namespace {

Operand call_iserror(Call& call) {
  return Value::boolean(call.value(0).is_error());
}

Operand call_na(Call&) {
  return ErrorCode::kNotAvailable;
}

// What depends on the machine alone is not available.
Operand call_info(Call& call) {
  const std::string what = text::lower_ascii(call.text(0));
  if (what == "recalc") return call.make_text("Automatic");
  if (what == "system") return call.make_text("LINUX");
  if (what == "numfile") return 1.0;
  for (const std::string_view machine :
       {"directory", "memavail", "memused", "origin", "osversion", "release", "totmem"})
    if (what == machine) return ErrorCode::kNotAvailable;
  return ErrorCode::kArgument;
}

constexpr Function kInformationFunctions[] = {
    {"INFO", 1, 1, "s", call_info},
    {"ISERROR", 1, 1, "s", call_iserror},
    {"NA", 0, 0, "s", call_na},
};

}  // namespace

std::span<const Function> information_functions() {
  return kInformationFunctions;
}

}  // namespace ordvane::calc
