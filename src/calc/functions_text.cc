// Functions of texts. Lengths and positions count UTF-16 units, as Excel does.
#include <algorithm>

#include "calc/functions.h"
#include "text/utf16.h"

namespace ordvane::calc {
namespace {

Operand call_len(Call& call) {
  return static_cast<double>(text::utf16_length(call.text(0)));
}

Operand call_left(Call& call) {
  const std::string text = call.text(0);
  const std::int64_t length = call.whole(1, 1);
  if (length < 0) return ErrorCode::kArgument;
  return call.make_text(
      std::string(text::left(text, static_cast<std::int32_t>(std::min<std::int64_t>(length, 32767)))));
}

constexpr Function kFunctions[] = {
    {"LEFT", 1, 2, "s", call_left},
    {"LEN", 1, 1, "s", call_len},
};

}  // namespace

std::span<const Function> text_functions() {
  return kFunctions;
}

}  // namespace ordvane::calc
