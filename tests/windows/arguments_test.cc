// Arguments of whole reports as clients of every kind pass them, early-bound and late-bound.
#include "windows/apartment_bench.h"

namespace ordvane::test {
namespace {

constexpr HRESULT kNothingToReport = static_cast<HRESULT>(0x80040013);

VARIANT whole(LONG value) {
  return variant(VT_I4, value);
}

// An array of whole numbers, or of Variants; the caller frees it.
VARIANT array_of(VARTYPE type, LONG low, const std::vector<VARIANT>& values) {
  SAFEARRAY* const made = SafeArrayCreateVector(type, low, static_cast<ULONG>(values.size()));
  LONG place = low;
  for (const VARIANT& value : values) {
    auto* element = const_cast<VARIANT*>(&value);
    SafeArrayPutElement(made, &place, type == VT_VARIANT ? static_cast<void*>(element) : &element->lVal);
    ++place;
  }
  VARIANT result = variant(static_cast<VARTYPE>(VT_ARRAY | type));
  result.parray = made;
  return result;
}

// What Range.Value is.
VARIANT column_of(const std::vector<VARIANT>& values) {
  SAFEARRAYBOUND bounds[] = {{static_cast<ULONG>(values.size()), 1}, {1, 1}};
  VARIANT result = variant(VT_ARRAY | VT_VARIANT);
  result.parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
  LONG place[] = {1, 1};
  for (const VARIANT& value : values) {
    SafeArrayPutElement(result.parray, place, const_cast<VARIANT*>(&value));
    ++place[0];
  }
  return result;
}

VARIANT by_reference(VARIANT& value) {
  VARIANT result = variant(static_cast<VARTYPE>(VT_BYREF | value.vt));
  result.byref = &value.llVal;
  return result;
}
VARIANT by_variant(VARIANT& value) {
  VARIANT result = variant(VT_BYREF | VT_VARIANT);
  result.pvarVal = &value;
  return result;
}

class Arguments : public testing::Test {
 protected:
  void SetUp() override {
    VARIANT_BOOL on = VARIANT_TRUE;
    reports_->put_OutputDetailReport(&on);
    ASSERT_EQ(initialize(*reports_.get(), bench_.stand_in), S_OK);
    const auto cells = bench_.application->active_sheet();
    for (const auto& [cell, value] : {std::pair{"J1", 1.0}, {"J3", 0.0}, {"L1", 1.0}, {"M1", 0.0}})
      cells->range(cell)->set_value(value);
  }

  // The cells of the outputs that the details are about.
  std::string reported() const {
    std::string outputs;
    for (const auto& sheet : bench_.application->active_workbook()->worksheets())
      if (const std::string name = sheet->name(); name.starts_with("Detail "))
        outputs += name.substr(7) + " ";
    return outputs;
  }
  VARIANT cells(const char* address) {
    const ComPtr<IDispatch> excel = make_excel_stand_in(bench_.stand_in);
    const VARIANT sheet = invoke(*excel.get(), L"ActiveSheet", DISPATCH_PROPERTYGET, {}).result;
    const std::string name = address;
    const VARIANT wide = text(std::wstring(name.begin(), name.end()).c_str());
    const VARIANT found = invoke(*sheet.pdispVal, L"Range", DISPATCH_PROPERTYGET, {wide}).result;
    sheet.pdispVal->Release();
    return kept_.emplace_back(found);
  }

  void TearDown() override {
    for (VARIANT& value : kept_) VariantClear(&value);
  }

  Apartment bench_;
  std::vector<VARIANT> kept_;
  ComPtr<_OrdvaneReports> reports_ = Apartment::make_reports();
};

TEST_F(Arguments, SelectedOutputsComeInEveryForm) {
  const VARIANT empty = variant(VT_EMPTY);
  VARIANT longs = array_of(VT_I4, 0, {whole(1), whole(0)});
  VARIANT variants = array_of(VT_VARIANT, 0, {whole(1), whole(0)});
  VARIANT range = cells("J1");
  const struct {
    const char* what;
    VARIANT given;
    HRESULT status;
    const char* outputs;
  } cases[] = {
      {"Longs from 1", array_of(VT_I4, 1, {whole(1), whole(0)}), S_OK, "C3 C2 "},
      {"Longs from 0", longs, S_OK, "C3 C2 "},
      {"Integers from 0", array_of(VT_I2, 0, {whole(1), whole(0)}), S_OK, "C3 C2 "},
      {"Variants from 0", variants, S_OK, "C3 C2 "},
      {"Variants from 0, the first Empty", array_of(VT_VARIANT, 0, {empty, whole(1)}), S_OK, "C3 "},
      {"Doubles in Variants", array_of(VT_VARIANT, 0, {number(1)}), S_OK, "C3 "},
      {"texts in Variants", array_of(VT_VARIANT, 0, {text(L"1")}), S_OK, "C3 "},
      {"Longs by reference", by_reference(longs), S_OK, "C3 C2 "},
      {"Variants by reference", by_reference(variants), S_OK, "C3 C2 "},
      {"Longs in a Variant by reference", by_variant(longs), S_OK, "C3 C2 "},
      {"values of cells", column_of({number(1), number(0)}), S_OK, "C3 C2 "},
      {"a cell", range, S_OK, "C3 "},
      {"a cell by reference", by_variant(range), S_OK, "C3 "},
      {"a column with a blank", cells("J1:J3"), S_OK, "C3 C2 "},
      {"a row", cells("L1:M1"), S_OK, "C3 C2 "},
      {"fractions", array_of(VT_VARIANT, 0, {number(0.5)}), DISP_E_TYPEMISMATCH, ""},
      {"a number", whole(1), DISP_E_TYPEMISMATCH, ""},
      {"an object that is no range", variant(VT_DISPATCH), DISP_E_TYPEMISMATCH, ""},
      {"nothing at all", array_of(VT_I4, 0, {}), DISP_E_EXCEPTION, ""},
      {"an unknown one", array_of(VT_I4, 0, {whole(77)}), DISP_E_EXCEPTION, ""},
      {"an unknown one beside another", array_of(VT_I4, 0, {whole(0), whole(77)}), S_OK, "C2 "},
  };
  for (const auto& c : cases) {
    const Answer answer = invoke(*reports_.get(), L"GenerateReports", DISPATCH_METHOD, {c.given});
    EXPECT_EQ(answer.status, c.status) << c.what;
    if (c.status == S_OK) {
      EXPECT_EQ(reported(), c.outputs) << c.what;
    }
    if (c.status == DISP_E_EXCEPTION) {
      EXPECT_EQ(answer.exception.scode, kNothingToReport) << c.what;
    }
  }
}

// Named, left out, and by reference all at once, as Basic passes them.
TEST_F(Arguments, ReportRoutinesTakeThemNamedLeftOutAndByReference) {
  const ComPtr<_DralInputOutput> record = Apartment::make_record();
  invoke(*record.get(), L"bookName", DISPATCH_PROPERTYPUT, {text(L"Model.xlsx")});
  invoke(*record.get(), L"cellAddress", DISPATCH_PROPERTYPUT, {text(L"B2")});
  const ComPtr<IDispatch> excel = make_excel_stand_in(bench_.stand_in);
  VARIANT book = kept_.emplace_back(invoke(*excel.get(), L"ActiveWorkbook", DISPATCH_PROPERTYGET, {}).result);
  VARIANT item = variant(VT_DISPATCH);
  item.pdispVal = record.get();
  VARIANT records = array_of(VT_VARIANT, 0, {item}), selected = array_of(VT_I4, 0, {whole(1)});
  kept_.push_back(records);
  VARIANT count = whole(1);
  VARIANT left_out = variant(VT_ERROR), left_out_too = variant(VT_BYREF | VT_ERROR);
  left_out.scode = DISP_E_PARAMNOTFOUND;
  left_out_too.pscode = &left_out.scode;
  const auto named = [&](const std::vector<const wchar_t*>& names, std::vector<VARIANT> values) {
    std::vector<const wchar_t*> all{L"makeOutputsMissingReport"};
    all.insert(all.end(), names.begin(), names.end());
    std::vector<DISPID> ids(all.size());
    EXPECT_EQ(reports_->GetIDsOfNames(IID_NULL, const_cast<LPOLESTR*>(all.data()),
                                      static_cast<UINT>(all.size()), LOCALE_USER_DEFAULT, ids.data()),
              S_OK);
    DISPPARAMS given = {values.data(), ids.data() + 1, static_cast<UINT>(values.size()),
                        static_cast<UINT>(names.size())};
    return reports_->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &given, nullptr, nullptr,
                            nullptr);
  };
  const std::vector<const wchar_t*> names = {L"t_UnreportedOutputs", L"t_NumUnreportedOutputs", L"trOutputs",
                                             L"trResults",           L"isSelectedOutput",       L"rWB"};
  const std::vector<VARIANT> values = {by_reference(selected), by_reference(count),  by_variant(records),
                                       by_variant(records),    by_variant(selected), by_reference(book)};
  EXPECT_EQ(named(names, values), S_OK);
  EXPECT_EQ(named({L"RWB", L"totalruns"}, {book, left_out}), DISP_E_BADPARAMCOUNT) << "too few";
  std::vector<const wchar_t*> with_optional = names;
  std::vector<VARIANT> with_missing = values;
  with_optional.insert(with_optional.begin(), {L"runNumber", L"totalRuns"});
  with_missing.insert(with_missing.begin(), {left_out, left_out_too});
  EXPECT_EQ(named(with_optional, with_missing), S_OK);
}

}  // namespace
}  // namespace ordvane::test
