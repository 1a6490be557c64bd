// Fonts, fills and lines of Excel's objects.
#include "automation/excel_objects.h"
#include "text/utf16.h"

namespace ordvane::automation {

void put_caption(const LateBound& owner, const wchar_t* member, const std::string& text) {
  constexpr std::int32_t kLongest = 255;
  try {
    owner.put(member, text);
  } catch (const host::Error&) {
    if (text::utf16_length(text) <= kLongest) throw;
    owner.put(member, text::shortened(text, kLongest));
  }
}

void apply_font(const LateBound& owner, const host::FontFormat& format) {
  const LateBound font = owner.object(L"Font", kinds::kFont);
  if (format.name) font.put(L"Name", *format.name);
  if (format.size) font.put(L"Size", *format.size);
  if (format.bold) font.put(L"Bold", *format.bold);
  if (format.italic) font.put(L"Italic", *format.italic);
  if (format.color) font.put(L"Color", *format.color);
}

// The pattern first: a colour without one makes the fill solid.
void apply_interior(const LateBound& owner, const host::InteriorFormat& format) {
  const LateBound interior = owner.object(L"Interior", kinds::kInterior);
  if (format.pattern) interior.put(L"Pattern", *format.pattern);
  if (format.pattern == host::kXlNone) return;
  if (format.pattern_color_index) interior.put(L"PatternColorIndex", *format.pattern_color_index);
  if (format.color)
    interior.put(L"Color", *format.color);
  else if (format.color_index)
    interior.put(L"ColorIndex", *format.color_index);
}

void apply_border(const LateBound& owner, const host::BorderFormat& format) {
  apply_line(owner.object(L"Border", kinds::kBorder), format);
}

// A weight or a colour makes a line visible, so that "none" is said last; any other style may change the
// weight, so that it is said first.
void apply_line(const LateBound& border, const host::BorderFormat& format) {
  const bool hidden = format.line_style == host::kXlNone;
  if (format.line_style && !hidden) border.put(L"LineStyle", *format.line_style);
  if (format.weight) border.put(L"Weight", *format.weight);
  if (format.color)
    border.put(L"Color", *format.color);
  else if (format.color_index)
    border.put(L"ColorIndex", *format.color_index);
  if (hidden) border.put(L"LineStyle", host::kXlNone);
}

}  // namespace ordvane::automation
