// Objects as clients hold them: what is converted, what is refused, and how failures arrive.

#include "windows/late_binding.h"

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

class LateBinding : public testing::Test {
 protected:
  Answer call(const wchar_t* name, WORD flags, const std::vector<VARIANT>& arguments) {
    return invoke(*record_.get(), name, flags, arguments);
  }
  Answer put(const wchar_t* name, VARIANT value) { return call(name, DISPATCH_PROPERTYPUT, {value}); }
  VARIANT get(const wchar_t* name) { return call(name, DISPATCH_PROPERTYGET, {}).result; }

  Server server_;
  ComPtr<_DralInputOutput> record_ = server_.make_record();
};

TEST_F(LateBinding, ConvertsWithoutLossOrRefuses) {
  VARIANT seven = variant(VT_I4, 7);
  VARIANT by_variant = variant(VT_BYREF | VT_VARIANT);
  by_variant.pvarVal = &seven;
  VARIANT by_long = variant(VT_BYREF | VT_I4);
  by_long.plVal = &seven.lVal;
  const struct {
    const char* what;
    const wchar_t* member;
    VARIANT given;
    bool taken;
    double read_back;
  } cases[] = {
      {"a short for a Long", L"numSteps", variant(VT_I2, 0xFFFF), true, -1},
      {"a byte for a Long", L"numSteps", variant(VT_UI1, 200), true, 200},
      {"a 64-bit integer that fits", L"numSteps", variant(VT_I8, 5), true, 5},
      {"a 64-bit integer that does not", L"numSteps", variant(VT_I8, 1LL << 40), false, 0},
      {"an unsigned integer that does not", L"numSteps", variant(VT_UI4, 0xFFFFFFFFLL), false, 0},
      {"a whole Double for a Long", L"numSteps", number(12), true, 12},
      {"a fraction for a Long", L"numSteps", number(2.5), false, 0},
      {"not-a-number for a Long", L"numSteps", number(std::nan("")), false, 0},
      {"digits for a Long", L"numSteps", text(L"42"), true, 42},
      {"letters for a Long", L"numSteps", text(L"many"), false, 0},
      {"True for a Long", L"numSteps", variant(VT_BOOL, 0xFFFF), true, -1},
      {"Empty for a Long", L"numSteps", variant(VT_EMPTY), true, 0},
      {"Null for a Long", L"numSteps", variant(VT_NULL), false, 0},
      {"a Variant by reference", L"numSteps", by_variant, true, 7},
      {"a Long by reference", L"numSteps", by_long, true, 7},
      {"a Long that fits for an Integer", L"inCellIndex", variant(VT_I4, -32768), true, -32768},
      {"a Long that does not", L"inCellIndex", variant(VT_I4, 32768), false, 0},
      {"a Long for a Double", L"minChange", variant(VT_I4, 3), true, 3},
      {"a currency for a Double", L"minChange", variant(VT_CY, 25000), true, 2.5},
      {"0 for a Boolean", L"isFormula", variant(VT_I2, 0), true, 0},
      {"-1 for a Boolean", L"isFormula", variant(VT_I4, -1LL & 0xFFFFFFFF), true, -1},
      {"2 for a Boolean", L"isFormula", variant(VT_I2, 2), true, -1},
      {"a fraction for a Boolean", L"isFormula", number(0.5), true, -1},
      {"a text True for a Boolean", L"isFormula", text(L"True"), true, -1},
      {"a text false for a Boolean", L"isFormula", text(L"false"), true, 0},
      {"another text for a Boolean", L"isFormula", text(L"maybe"), false, 0},
      {"Null for a Boolean", L"isFormula", variant(VT_NULL), false, 0},
      {"a Long by reference for a Boolean", L"isFormula", by_long, true, -1},
      {"Nothing for a Long", L"numSteps", variant(VT_DISPATCH), false, 0},
      {"a number for an object", L"outputRangeNameRef", variant(VT_I4, 1), false, 0},
      {"by reference: a property", L"BaseValue", variant(VT_I2, 9), true, 9},
  };
  for (const auto& c : cases) {
    record_ = server_.make_record();
    VARIANT given = c.given;
    const Answer answer = put(c.member, given);
    VariantClear(&given);
    if (!c.taken) {
      EXPECT_EQ(answer.status, DISP_E_TYPEMISMATCH) << c.what;
      EXPECT_EQ(answer.wrong_argument, 0U) << c.what;
      continue;
    }
    EXPECT_EQ(answer.status, S_OK) << c.what;
    EXPECT_EQ(as_number(get(c.member)), c.read_back) << c.what;
  }
}

TEST_F(LateBinding, TextsAreCounted) {
  VARIANT given = variant(VT_BSTR);
  given.bstrVal = SysAllocStringLen(L"a\0\x00E4\xD83D\xDE00", 5);
  ASSERT_EQ(put(L"ioName", given).status, S_OK);
  EXPECT_EQ(text_of(get(L"ioName")), std::wstring(given.bstrVal, 5));
  VariantClear(&given);
  ASSERT_EQ(put(L"ioName", variant(VT_I4, 42)).status, S_OK);
  EXPECT_EQ(text_of(get(L"ioName")), L"42");
}

TEST_F(LateBinding, TablesTooLargeToAddressAreRefusedAndChangeNothing) {
  constexpr HRESULT kOutOfMemory = static_cast<HRESULT>(0x800A0007);
  const auto whole = [](LONG value) { return variant(VT_I4, value); };
  const std::vector<VARIANT> last = {whole(2), whole(3)};
  call(L"outputValuesCalculatedInit", DISPATCH_METHOD, last);
  call(L"OutputValuesCalculatedPut", DISPATCH_METHOD, {whole(2), whole(3), number(7)});
  // The second is too large for 32 bits alone.
  const LONG most = sizeof(void*) == 8 ? LONG_MAX : 65536;
  LONG result = 0;
  EXPECT_EQ(record_->outputValuesCalculatedInit(LONG_MAX, LONG_MAX, &result), kOutOfMemory);
  EXPECT_EQ(record_->outputValuesCalculatedInit(most, most, &result), kOutOfMemory);
  EXPECT_EQ(as_number(call(L"OutputValuesCalculated", DISPATCH_PROPERTYGET, last).result), 7);
}

TEST_F(LateBinding, NamesTheWrongArgumentAndTheWrongCount) {
  call(L"outputMinMaxChangeInit", DISPATCH_METHOD, {variant(VT_I2, 2), variant(VT_I2, 2), variant(VT_I2, 2)});
  const VARIANT one = variant(VT_I2, 1);
  const VARIANT none = variant(VT_NULL);
  VARIANT left_out = variant(VT_ERROR);
  left_out.scode = DISP_E_PARAMNOTFOUND;
  const struct {
    const char* what;
    std::vector<VARIANT> arguments;
    HRESULT status;
    UINT wrong;  // counted from the end
  } cases[] = {
      {"all four", {one, one, one, one}, S_OK, 99},
      {"the first", {none, one, one, one}, DISP_E_TYPEMISMATCH, 3},
      {"the third", {one, one, none, one}, DISP_E_TYPEMISMATCH, 1},
      {"the last", {one, one, one, none}, DISP_E_TYPEMISMATCH, 0},
      {"one too few", {one, one, one}, DISP_E_BADPARAMCOUNT, 99},
      {"one left out", {one, left_out, one, one}, DISP_E_PARAMNOTOPTIONAL, 99},
      {"one too many", {one, one, one, one, one}, DISP_E_BADPARAMCOUNT, 99},
  };
  for (const auto& c : cases) {
    const Answer answer = call(L"outputMinMaxChangePut", DISPATCH_METHOD, c.arguments);
    EXPECT_EQ(answer.status, c.status) << c.what;
    EXPECT_EQ(answer.wrong_argument, c.wrong) << c.what;
  }
  EXPECT_EQ(call(L"noSuchMember", DISPATCH_METHOD, {}).status, DISP_E_UNKNOWNNAME);
  EXPECT_EQ(call(L"SimpleNameShort", DISPATCH_PROPERTYPUT, {one}).status, DISP_E_MEMBERNOTFOUND);
}

TEST_F(LateBinding, ArgumentsMayBeNamed) {
  DISPID put = 0;
  auto* name = const_cast<wchar_t*>(L"TableOfValuesPut");
  LONG result = 0;
  record_->tableOfValuesInit(3, &result);
  ASSERT_EQ(record_->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &put), S_OK);
  VARIANT arguments[] = {variant(VT_I2, 2), number(4.5)};  // lIndex:=2, dValue:=4.5
  DISPID names[] = {0, 1};
  DISPPARAMS given = {arguments, names, 2, 2};
  ASSERT_EQ(
      record_->Invoke(put, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &given, nullptr, nullptr, nullptr),
      S_OK);
  double value = 0;
  record_->get_TableOfValues(2, &value);
  EXPECT_EQ(value, 4.5);
}

TEST_F(LateBinding, FailuresCarryCodeDescriptionAndSource) {
  struct Case {
    const wchar_t* member;
    std::vector<VARIANT> arguments;
    WORD flags;
    HRESULT code;
  };
  const VARIANT one = variant(VT_I2, 1);
  LONG result = 0;
  record_->outputRankPerStepInit(1, 1, &result);
  const Case cases[] = {
      {L"TableOfValuesPut", {one, one}, DISPATCH_METHOD, static_cast<HRESULT>(0x800A0009)},
      {L"outputRank", {one}, DISPATCH_PROPERTYGET | DISPATCH_METHOD, static_cast<HRESULT>(0x800A0009)},
      {L"outputRankPerStep", {one, one, one}, DISPATCH_PROPERTYPUT, static_cast<HRESULT>(0x800A001C)},
  };
  for (const Case& c : cases) {
    Answer answer = call(c.member, c.flags, c.arguments);
    EXPECT_EQ(answer.status, DISP_E_EXCEPTION);
    EXPECT_EQ(answer.exception.scode, c.code);
    EXPECT_GT(SysStringLen(answer.exception.bstrDescription), 0U);
    EXPECT_GT(SysStringLen(answer.exception.bstrSource), 0U);
    SysFreeString(answer.exception.bstrDescription);
    SysFreeString(answer.exception.bstrSource);
  }
  ComPtr<IProvideClassInfo> described;
  ComPtr<ITypeInfo> type;
  BSTR name = nullptr;
  ASSERT_EQ(record_->QueryInterface(IID_IProvideClassInfo, described.receive_void()), S_OK);
  ASSERT_EQ(described->GetClassInfo(type.receive()), S_OK);
  type->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
  EXPECT_STREQ(name, L"DralInputOutput");
  SysFreeString(name);
  ComPtr<ISupportErrorInfo> support;
  ASSERT_EQ(record_->QueryInterface(IID_ISupportErrorInfo, support.receive_void()), S_OK);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(_DralInputOutput)), S_OK);
  EXPECT_EQ(record_->get_outputRank(1, nullptr), static_cast<HRESULT>(0x800A0009));
  EXPECT_EQ(record_->get_ioName(nullptr), E_POINTER);
}

TEST_F(LateBinding, EveryFieldOfARecordKeepsWhatIsWritten) {
  for (DISPID id = 0x40030000; id < 0x40030000 + 47; ++id) {
    const VARIANT first = invoke(*record_.get(), id, DISPATCH_PROPERTYGET, {}).result;
    if (first.vt == VT_DISPATCH) {
      EXPECT_EQ(first.pdispVal, nullptr);
      const ComPtr<_DralInputOutput> other = server_.make_record();
      VARIANT cells = variant(VT_DISPATCH);
      cells.pdispVal = other.get();
      ASSERT_EQ(invoke(*record_.get(), id, DISPATCH_PROPERTYPUTREF, {cells}).status, S_OK);
      VARIANT read = invoke(*record_.get(), id, DISPATCH_PROPERTYGET, {}).result;
      EXPECT_EQ(read.pdispVal, static_cast<IDispatch*>(other.get()));
      VariantClear(&read);
      continue;
    }
    const LONG value = first.vt == VT_BOOL ? -1 : 1 + (id & 0x7F);
    ASSERT_EQ(invoke(*record_.get(), id, DISPATCH_PROPERTYPUT, {variant(VT_I4, value)}).status, S_OK)
        << std::hex << id;
    EXPECT_EQ(as_number(invoke(*record_.get(), id, DISPATCH_PROPERTYGET, {}).result), value)
        << std::hex << id;
  }
}

// ---- OrdvaneReports: settings, and failures without a session ----

constexpr HRESULT kObjectNotSet = static_cast<HRESULT>(0x800A005B);

class ReportsObject : public testing::Test {
 protected:
  Server server_;
  ComPtr<_OrdvaneReports> reports_ = server_.make<_OrdvaneReports>(__uuidof(OrdvaneReports));
};

TEST_F(ReportsObject, NewObjectsHaveTheirDefaultsAndKeepWhatIsWritten) {
  std::vector<DISPID> settings;
  for (DISPID id = 0x40030000; id <= 0x40030015; ++id) settings.push_back(id);
  for (DISPID id = 0x68030010; id >= 0x68030002; --id) settings.push_back(id);
  for (const DISPID id : settings) {
    const Answer first = invoke(*reports_.get(), id, DISPATCH_PROPERTYGET, {});
    ASSERT_EQ(first.status, S_OK) << std::hex << id;
    const bool is_color = id == 0x68030005 || id == 0x68030004;
    const double initial = is_color ? 10040115 : id == 0x68030003 ? -1 : 0;
    if (first.result.vt == VT_BSTR)
      EXPECT_EQ(SysStringLen(first.result.bstrVal), 0U) << std::hex << id;
    else
      EXPECT_EQ(as_number(first.result), initial) << std::hex << id;

    VARIANT value = variant(VT_I4, first.result.vt == VT_BOOL ? (initial == 0 ? -1 : 0) : 7);
    ASSERT_EQ(invoke(*reports_.get(), id, DISPATCH_PROPERTYPUT, {value}).status, S_OK) << std::hex << id;
    EXPECT_EQ(as_number(invoke(*reports_.get(), id, DISPATCH_PROPERTYGET, {}).result), value.lVal)
        << std::hex << id;
  }
  EXPECT_EQ(text_of(invoke(*reports_.get(), 0x68030011, DISPATCH_PROPERTYGET, {}).result), L"OrdvaneReports");
}

TEST_F(ReportsObject, CallsWithoutASessionSayWhatIsMissing) {
  IDispatch* nothing = nullptr;
  IDispatch* no_workbook = reports_.get();
  SAFEARRAY* empty = nullptr;
  SAFEARRAY* records = SafeArrayCreateVector(VT_DISPATCH, 1, 1);
  LONG one = 1;
  LONG zero = 0;
  LONG result = 99;
  _OrdvaneSummary* summary = nullptr;
  auto mode = OrdvaneOutputAsValue;
  _OrdvaneReports& r = *reports_.get();
  const struct {
    const char* what;
    HRESULT got, want;
  } cases[] = {
      {"Initialize without an application", r.Initialize(&nothing, &one), kObjectNotSet},
      {"Initialize without a variable", r.Initialize(nullptr, &one), E_POINTER},
      {"GenerateReports before Initialize", r.GenerateReports(&empty, &result), kObjectNotSet},
      {"a report without a workbook",
       r.multiReport(&nothing, &empty, &records, &records, &one, &mode, &one, &one, &result), kObjectNotSet},
      {"a report into something else",
       r.getInputForIteration(&no_workbook, &empty, &records, &records, &one, &one, &zero, &zero, &one, &mode,
                              &one, &one, &result),
       kObjectNotSet},
      {"a summary without a workbook",
       r.MakeSummaryReport(&nothing, &empty, &records, &records, &summary, &one, &one, &result),
       kObjectNotSet},
      {"missing outputs without a workbook",
       r.makeOutputsMissingReport(&nothing, &empty, &records, &records, &zero, &empty, &one, &one, &result),
       kObjectNotSet},
      {"Terminate", r.Terminate(), S_OK},
      {"Terminate again", r.Terminate(), S_OK},
  };
  for (const auto& c : cases) EXPECT_EQ(c.got, c.want) << c.what;
  EXPECT_EQ(result, 99) << "a failed call gives no result";
  SafeArrayDestroy(records);
}

TEST_F(ReportsObject, FailuresAreDescribedOnceAndForgottenByTheNextCall) {
  IDispatch* nothing = nullptr;
  LONG handle = 1;
  ASSERT_EQ(reports_->Initialize(&nothing, &handle), kObjectNotSet);
  ComPtr<IErrorInfo> error;
  ASSERT_EQ(GetErrorInfo(0, error.receive()), S_OK);
  BSTR description = nullptr;
  error->GetDescription(&description);
  EXPECT_GT(SysStringLen(description), 10U);
  SysFreeString(description);
  reports_->Initialize(&nothing, &handle);
  EXPECT_EQ(reports_->Terminate(), S_OK);
  EXPECT_EQ(GetErrorInfo(0, error.receive()), S_FALSE);
}

}  // namespace
}  // namespace ordvane::test
