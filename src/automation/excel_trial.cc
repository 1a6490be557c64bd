// A formula tried in a cell of the user's model, which shows nothing of it afterwards.
#include <string>
#include <utility>

#include "automation/cell_variants.h"
#include "automation/excel_objects.h"

namespace ordvane::automation {
namespace {

// Macros of the model that run when a cell changes are not to hear of the trial.
class NoEvents {
 public:
  explicit NoEvents(const LateBound& excel) : excel_(excel), heard_(excel.get(L"EnableEvents").truth()) {
    if (heard_) excel_.put(L"EnableEvents", false);
  }
  ~NoEvents() {
    if (heard_) host::ignoring_errors([&] { excel_.put(L"EnableEvents", true); });
  }
  NoEvents(const NoEvents&) = delete;
  NoEvents& operator=(const NoEvents&) = delete;

 private:
  const LateBound& excel_;
  bool heard_;
};

// Excel with dynamic arrays has two ways of reading a formula. Formula2 tells a cell's as it is; what goes
// through Formula is read the old way, and marked so for good.
const wchar_t* own_formula(const LateBound& cell) {
  return cell.has(L"Formula2") ? L"Formula2" : L"Formula";
}

// Keeps a cell's formula and format, and puts them back when it goes: Excel gives a cell the format of those
// that its formula names.
class CellKeeper {
 public:
  explicit CellKeeper(const LateBound& cell)
      : cell_(cell),
        property_(own_formula(cell)),
        formula_(cell.get(property_).text()),
        format_(cell.get(L"NumberFormat").text()) {}
  ~CellKeeper() {
    constexpr int kAttempts = 2;  // Excel may be busy with something else
    const auto put_back = [&](auto&& step) {
      for (int attempt = 0; attempt < kAttempts && !host::ignoring_errors(step); ++attempt) {
      }
    };
    put_back([&] { cell_.put(property_, formula_); });
    put_back([&] {
      if (cell_.get(L"NumberFormat").text() != format_) cell_.put(L"NumberFormat", format_);
    });
  }
  CellKeeper(const CellKeeper&) = delete;
  CellKeeper& operator=(const CellKeeper&) = delete;

  // The property through which a part of the formula is read as it is in there.
  const wchar_t* property_for(const std::string& part) const {
    return formula_.find(part) != std::string::npos ? property_ : L"Formula";
  }

 private:
  const LateBound& cell_;
  const wchar_t* property_;
  std::string formula_, format_;
};

// Constants, arrays, what spills, tables and texts would not be afterwards what they were, or not alone.
bool takes_formulas(const LateBound& cell) {
  constexpr const char* kTextFormat = "@";
  const auto is = [&](const wchar_t* member) { return cell.has(member) && cell.get(member).truth(); };
  return is(L"HasFormula") && !is(L"HasArray") && !is(L"HasSpill") &&
         cell.get(L"NumberFormat").text() != kTextFormat && !cell.get(L"ListObject").object() &&
         !cell.object(L"Worksheet", kinds::kWorksheet).get(L"ProtectContents").truth();
}

}  // namespace

std::optional<host::CellValue> tried(const Context& context, const LateBound& cell,
                                     const std::string& formula) {
  std::optional<host::CellValue> result;
  host::ignoring_errors([&] {
    if (!takes_formulas(cell)) return;
    const NoEvents quiet(context->application);
    const CellKeeper keeper(cell);
    cell.put(keeper.property_for(formula), "=" + formula);
    cell.call(L"Calculate");
    result = first_value(cell.get(L"Value2"));
  });
  return result;
}

}  // namespace ordvane::automation
