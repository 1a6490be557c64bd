// What the tables of the stand-in have in common: formats, and the objects of one table that another returns.
#pragma once

#include <functional>

#include "windows/stand_in_object.h"

namespace ordvane::test {

struct FontTarget {
  std::function<void(const host::FontFormat&)> apply;
};
struct InteriorTarget {
  std::function<void(const host::InteriorFormat&)> apply;
  std::function<host::Color()> color = {};  // null: cannot be read
};
struct BorderTarget {
  std::function<void(const host::BorderFormat&)> apply;
};

enum class Flavor { kCells, kRows, kColumns };
struct RangeTarget {
  std::shared_ptr<host::Range> range;
  Flavor flavor = Flavor::kCells;  // what Count and Item count
  host::HAlign horizontal = host::HAlign::kGeneral;
  host::VAlign vertical = host::VAlign::kBottom;
  std::vector<std::shared_ptr<host::Range>> more = {};  // further areas; they follow formats of numbers only
};

STAND_IN_INTERFACE(FontTarget, L"Font")
STAND_IN_INTERFACE(InteriorTarget, L"Interior")
STAND_IN_INTERFACE(BorderTarget, L"Border")
STAND_IN_INTERFACE(RangeTarget, L"Range")

// A text of a title, a header or the like. Excel's error 1004 for one that this version does not take.
std::string caption(const Call& call, const Variant& text);
Variant make_worksheet(const Call& call, const std::shared_ptr<host::Worksheet>& sheet);
Variant make_chart_objects(const Call& call, const std::shared_ptr<host::Worksheet>& sheet);
// Rows for the formats of what `holder` is: every property of one goes to its `member`.
#define FORMAT_OF(Name, holder, member) \
  GET(Name, object(c, Name##Target{[o = holder](const auto& format) { o->member(format); }}))
#define FONT(holder, member) FORMAT_OF(Font, holder, member)
#define INTERIOR(holder, member) FORMAT_OF(Interior, holder, member)
#define BORDER(holder, member) FORMAT_OF(Border, holder, member)

template <class Enumeration>
Enumeration as(const Variant& value) {
  return static_cast<Enumeration>(value.whole());
}
// The range given as an argument or value. Throws what Excel answers for anything else.
host::Range& range_of(const VARIANT& value);

}  // namespace ordvane::test
