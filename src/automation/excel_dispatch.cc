// Excel's Application object.
#include "automation/excel_dispatch.h"

#include <charconv>
#include <utility>

#include "automation/cell_variants.h"
#include "automation/excel_objects.h"
#include "text/numbers.h"

namespace ordvane::automation {
namespace {

constexpr std::int32_t kXlWBATWorksheet = -4167;  // a new workbook of one worksheet

class ExcelApplication final : public host::Application, private ExcelObject {
 public:
  explicit ExcelApplication(const Context& context) : ExcelObject(context, context->application) {}

  std::string name() override { return it_.get(L"Name").text(); }
  std::string version() override { return it_.get(L"Version").text(); }
  host::Calculation calculation() override {
    return static_cast<host::Calculation>(it_.get(L"Calculation").whole());
  }
  void set_calculation(host::Calculation mode) override { it_.put(L"Calculation", mode); }
  bool screen_updating() override { return it_.get(L"ScreenUpdating").truth(); }
  void set_screen_updating(bool on) override { it_.put(L"ScreenUpdating", on); }
  bool display_alerts() override { return it_.get(L"DisplayAlerts").truth(); }
  void set_display_alerts(bool on) override { it_.put(L"DisplayAlerts", on); }
  host::Cursor cursor() override { return static_cast<host::Cursor>(it_.get(L"Cursor").whole()); }
  void set_cursor(host::Cursor cursor) override { it_.put(L"Cursor", cursor); }
  // False stands for Excel's own text.
  std::string status_bar() override {
    const Variant shown = it_.get(L"StatusBar");
    return shown.value().vt == VT_BOOL ? "" : shown.text();
  }
  void set_status_bar(const std::string& text) override {
    it_.put(L"StatusBar", text.empty() ? Variant(false) : Variant(text));
  }

  std::shared_ptr<host::Workbook> active_workbook() override {
    const ComPtr<IDispatch> book = it_.get(L"ActiveWorkbook").object();
    return book ? make_workbook(context_, {book, kinds::kWorkbook, it_.names()}) : nullptr;
  }
  std::shared_ptr<host::Worksheet> active_sheet() override {
    const ComPtr<IDispatch> sheet = it_.get(L"ActiveSheet").object();
    return sheet ? make_worksheet(context_, {sheet, kinds::kWorksheet, it_.names()}) : nullptr;
  }
  std::shared_ptr<host::Range> active_cell() override {
    const ComPtr<IDispatch> cell = it_.get(L"ActiveCell").object();
    return cell ? make_range(context_, {cell, kinds::kRange, it_.names()}) : nullptr;
  }
  std::shared_ptr<host::Workbook> workbook(const std::string& name) override;
  std::shared_ptr<host::Workbook> add_workbook() override {
    context_->character_points.reset();
    return make_workbook(
        context_,
        it_.object(L"Workbooks", kinds::kWorkbooks).object(L"Add", kinds::kWorkbook, {kXlWBATWorksheet}));
  }
  std::shared_ptr<host::Range> range(const std::string& external_address) override {
    return make_range(context_, it_.object(L"Range", kinds::kRange, {external_address}));
  }
  host::CellValue evaluate(const std::string& formula) override { return evaluated(context_, it_, formula); }
  std::string formatted(double number, const std::string& format) override;
  void calculate() override { it_.call(L"Calculate"); }
  std::string run(const std::string& macro, host::Range& cell, std::int16_t selector) override {
    return it_.call(L"Run", {macro, range_object(cell), selector}).text();
  }
  double min(host::Range& range) override { return extreme(L"Min", range); }
  double max(host::Range& range) override { return extreme(L"Max", range); }

 private:
  double extreme(const wchar_t* function, host::Range& range) {
    return it_.object(L"WorksheetFunction", kinds::kWorksheetFunction)
        .call(function, {range_object(range)})
        .number();
  }
};

std::shared_ptr<host::Workbook> ExcelApplication::workbook(const std::string& name) {
  return make_workbook(context_,
                       item_named(it_.object(L"Workbooks", kinds::kWorkbooks), kinds::kWorkbook, name));
}

// TEXT reads the codes of the user's language.
std::string ExcelApplication::formatted(double number, const std::string& format) {
  std::string quoted;
  for (const char c : layout::localized(format, context_->local_codes())) quoted.append(c == '"' ? 2 : 1, c);
  const host::CellValue text = evaluate("TEXT(" + text::shortest_number(number) + ",\"" + quoted + "\")");
  if (text.kind != host::CellKind::kText)
    throw host::Error(host::errc::kTypeMismatch, "The spreadsheet cannot read the number format " + format);
  return text.text;
}

}  // namespace

host::CellValue evaluated(const Context& context, const LateBound& asked, const std::string& formula) {
  const Variant result = asked.call(L"Evaluate", {formula});
  if (!result.is_object()) return first_value(result);
  return make_range(context, {result.object(), kinds::kRange, asked.names()})->value();
}

LateBound item_named(const LateBound& collection, std::wstring_view kind, const std::string& name) {
  try {
    return collection.object(L"Item", kind, {name});
  } catch (const host::Error& error) {
    if (error.code() != DISP_E_BADINDEX) throw;
    throw host::Error(host::errc::kSubscriptOutOfRange, error.description(), error.source());
  }
}

std::int32_t ExcelContext::major_version() {
  if (major_version_ == 0) {
    const std::string version = application.get(L"Version").text();
    std::from_chars(version.data(), version.data() + version.size(), major_version_);
  }
  return major_version_;
}

const layout::LocalCodes& ExcelContext::local_codes() {
  if (local_codes_) return *local_codes_;
  using Codes = layout::LocalCodes;
  static constexpr std::pair<std::int32_t, std::string Codes::*> kNumbers[] = {
      {3, &Codes::decimal}, {4, &Codes::group},   {17, &Codes::date},   {18, &Codes::time},
      {19, &Codes::year},   {20, &Codes::month},  {21, &Codes::day},    {22, &Codes::hour},
      {23, &Codes::minute}, {24, &Codes::second}, {26, &Codes::general}};
  Codes codes;
  const bool told = host::ignoring_errors([&] {
    for (const auto& [number, code] : kNumbers)
      codes.*code = application.get(L"International", {number}).text();
  });
  return local_codes_.emplace(told ? codes : Codes());
}

std::shared_ptr<host::Application> wrap_excel(IDispatch* application) {
  return std::make_shared<ExcelApplication>(std::make_shared<ExcelContext>(
      LateBound(application, kinds::kApplication, std::make_shared<MemberNames>())));
}

}  // namespace ordvane::automation
