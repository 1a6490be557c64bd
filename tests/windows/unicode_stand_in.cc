// What the stand-ins' embedded spreadsheet needs of Unicode, from Windows: Debian has no utf8proc for it.
// Enough for what the tests write: names in one composition, marks that Windows knows of.
#include <string>

#include "automation/com_values.h"
#include "unicode/columns.h"
#include "unicode/names.h"

namespace ordvane::unicode {

std::string folded(std::string_view name) {
  const automation::Bstr wide(name);
  CharLowerW(wide.get());
  return automation::utf8(wide.get());
}

int columns_of(char32_t code) {
  if (code > 0xFFFF) return 2;
  const auto unit = static_cast<wchar_t>(code);
  WORD kind = 0;
  GetStringTypeW(CT_CTYPE3, &unit, 1, &kind);
  if ((kind & C3_NONSPACING) != 0) return 0;
  return (kind & (C3_IDEOGRAPH | C3_FULLWIDTH | C3_HIRAGANA)) != 0 ? 2 : 1;
}

}  // namespace ordvane::unicode
