#include "excel.h"

#include <objbase.h>

#include <cstdio>
#include <map>

#include "automation/cell_variants.h"
#include "host/error.h"
#include "measure.h"
#include "text/cell_names.h"

namespace ordvane::acceptance {
namespace {

using automation::ComPtr;

constexpr std::int32_t kXlIBeam = 3, kXlDefault = -4143, kXlAutomatic = -4105, kXlSemiautomatic = 2;

LateBound start() {
  CLSID id = {};
  ComPtr<IDispatch> made;
  HRESULT status = CLSIDFromProgID(L"Excel.Application", &id);
  if (FAILED(status)) throw CannotBeMade{"there is no Excel on this machine"};
  status = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch,
                            made.receive_void());
  if (FAILED(status)) throw CannotBeMade{"Excel does not start: " + code_text(status)};
  return {made, L"Application", std::make_shared<automation::MemberNames>()};
}

std::string text_of(const Variant& value) {
  if (value.is_null()) return "Null";
  if (value.is_object()) return "object";
  return value.value().vt == VT_R8 ? number_text(value.value().dblVal) : value.text();
}

std::string text_of(const host::CellValue& value) {
  switch (value.kind) {
    case host::CellKind::kBlank:
      return "";
    case host::CellKind::kText:
      return '"' + value.text + '"';
    case host::CellKind::kError:
      return "error " + number_text(value.number);
    default:
      return number_text(value.number);
  }
}

}  // namespace

std::string shown(const LateBound& object, const wchar_t* property) {
  try {
    return text_of(object.get(property));
  } catch (const host::Error& error) {
    return "<" + error.description() + ">";
  }
}

Excel::Excel() : application_(start()) {
  host::ignoring_errors([&] { application_.put(L"Visible", true); });
  host::ignoring_errors([&] {
    const auto window = reinterpret_cast<HWND>(static_cast<std::intptr_t>(application_.get(L"Hwnd").whole()));
    GetWindowThreadProcessId(window, &process_);
  });
}

Excel::~Excel() {
  host::ignoring_errors([&] { application_.put(L"DisplayAlerts", false); });
  host::ignoring_errors([&] { application_.call(L"Quit"); });
}

void Excel::tell(Results& results) const {
  for (const wchar_t* property : {L"Version", L"Build", L"OperatingSystem", L"Path", L"DecimalSeparator",
                                  L"ThousandsSeparator", L"UseSystemSeparators"})
    results.fact("Excel", utf8_of(std::wstring(property)), shown(application_, property));
}

LateBound Excel::open_model(const std::filesystem::path& file) {
  const LateBound book =
      application_.object(L"Workbooks", L"Workbooks").object(L"Open", L"Workbook", {utf8_of(file)});
  model_ = book.get(L"Name").text();
  return book;
}

std::string Excel::add_model() {
  const LateBound book = application_.object(L"Workbooks", L"Workbooks").object(L"Add", L"Workbook");
  return model_ = book.get(L"Name").text();
}

void Excel::close_model() {
  application_.object(L"Workbooks", L"Workbooks")
      .object(L"Item", L"Workbook", {model_})
      .call(L"Close", {false});
}

std::string Excel::active_name() const {
  const ComPtr<IDispatch> book = application_.get(L"ActiveWorkbook").object();
  return book ? LateBound(book, L"Workbook", application_.names()).get(L"Name").text() : model_;
}

LateBound Excel::report_workbook() const {
  if (active_name() == model_) throw Wrong{"the active workbook is still the model: no reports were made"};
  return application_.object(L"ActiveWorkbook", L"Workbook");
}

void Excel::close_report_workbooks() const {
  for (int at_most = 8; at_most > 0 && active_name() != model_; --at_most)
    application_.object(L"ActiveWorkbook", L"Workbook").call(L"Close", {false});
  application_.object(L"Workbooks", L"Workbooks").object(L"Item", L"Workbook", {model_}).call(L"Activate");
}

void Excel::unsettle() const {
  application_.put(L"Calculation", kXlSemiautomatic);
  application_.put(L"Cursor", kXlIBeam);
  application_.put(L"StatusBar", "Acceptance kit");
}

void Excel::settle() const {
  application_.put(L"StatusBar", false);
  application_.put(L"Cursor", kXlDefault);
  application_.put(L"Calculation", kXlAutomatic);
}

State Excel::state() const {
  State state;
  for (const wchar_t* property : {L"Calculation", L"ScreenUpdating", L"DisplayAlerts", L"EnableEvents",
                                  L"Interactive", L"Cursor", L"StatusBar", L"PrintCommunication"})
    state.emplace_back(utf8_of(std::wstring(property)), shown(application_, property));
  return state;
}

State Excel::model_cells() const {
  State cells;
  const LateBound sheets = application_.object(L"Workbooks", L"Workbooks")
                               .object(L"Item", L"Workbook", {model_})
                               .object(L"Worksheets", L"Sheets");
  const std::int32_t count = sheets.get(L"Count").whole();
  for (std::int32_t at = 1; at <= count; ++at) {
    const LateBound sheet = sheets.object(L"Item", L"Worksheet", {at});
    const std::string name = sheet.get(L"Name").text();
    const LateBound used = sheet.object(L"UsedRange", L"Range");
    const std::int32_t rows = used.object(L"Rows", L"Range").get(L"Count").whole(),
                       columns = used.object(L"Columns", L"Range").get(L"Count").whole();
    const std::int32_t top = used.get(L"Row").whole(), left = used.get(L"Column").whole();
    const host::CellBlock values = automation::cell_block(used.get(L"Value2"), rows, columns);
    const host::CellBlock formulas = automation::cell_block(used.get(L"Formula"), rows, columns);
    for (std::int32_t row = 1; row <= rows; ++row)
      for (std::int32_t column = 1; column <= columns; ++column) {
        if (values.value(row, column).kind == host::CellKind::kBlank) continue;
        const LateBound cell = used.object(L"Item", L"Range", {row, column});
        cells.emplace_back(name + "!" + text::cell_name(top + row - 1, left + column - 1),
                           text_of(formulas.value(row, column)) + " | " + text_of(values.value(row, column)) +
                               " | " + shown(cell, L"NumberFormat") + " | " + shown(cell, L"HasArray"));
      }
  }
  return cells;
}

std::string difference(const State& before, const State& after) {
  std::map<std::string, std::string> were(before.begin(), before.end());
  std::string lines;
  for (const auto& [name, value] : after) {
    const auto found = were.find(name);
    if (found == were.end())
      lines += name + ": " + value + ", was not there\n";
    else if (found->second != value)
      lines += name + ": " + value + ", was " + found->second + "\n";
    if (found != were.end()) were.erase(found);
  }
  for (const auto& [name, value] : were) lines += name + ": gone, was " + value + "\n";
  return lines;
}

std::string hash_of(const State& state) {
  std::uint64_t hash = 14695981039346656037U;
  const auto add = [&](const std::string& text) {
    for (const char c : text + '\n') hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  };
  for (const auto& [name, value] : state) add(name), add(value);
  char text[24];
  std::snprintf(text, sizeof text, "%08lx%08lx", static_cast<unsigned long>(hash >> 32),
                static_cast<unsigned long>(hash & 0xFFFFFFFF));
  return text;
}

}  // namespace ordvane::acceptance
