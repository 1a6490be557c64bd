// Late-bound clients: what is converted, what is refused, and how failures arrive.

#include <cmath>
#include <limits>
#include <vector>

#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

VARIANT variant(VARTYPE type, LONGLONG bits = 0) {
  VARIANT value;
  VariantInit(&value);
  value.llVal = bits;
  value.vt = type;
  return value;
}
VARIANT number(double value) {
  VARIANT result = variant(VT_R8);
  result.dblVal = value;
  return result;
}
VARIANT text(const wchar_t* value) {
  VARIANT result = variant(VT_BSTR);
  result.bstrVal = SysAllocString(value);
  return result;
}

struct Answer {
  HRESULT status = S_OK;
  VARIANT result = variant(VT_EMPTY);
  EXCEPINFO exception = {};
  UINT wrong_argument = 99;
};

class LateBinding : public testing::Test {
 protected:
  // `arguments` in the order in which a script writes them.
  Answer call(const wchar_t* name, WORD flags, std::vector<VARIANT> arguments) {
    Answer answer;
    DISPID member = 0;
    auto* spelling = const_cast<wchar_t*>(name);
    answer.status = record_->GetIDsOfNames(IID_NULL, &spelling, 1, LOCALE_USER_DEFAULT, &member);
    if (FAILED(answer.status)) return answer;
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPID put = DISPID_PROPERTYPUT;
    const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    DISPPARAMS given = {reversed.data(), puts ? &put : nullptr, static_cast<UINT>(reversed.size()),
                        puts ? 1U : 0U};
    answer.status = record_->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &given, &answer.result,
                                    &answer.exception, &answer.wrong_argument);
    return answer;
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
  struct Case {
    const char* what;
    const wchar_t* member;
    VARIANT given;
    bool taken;
    double read_back;
  };
  const Case cases[] = {
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
      {"2 for a Boolean", L"isFormula", variant(VT_I2, 2), false, 0},
      {"Nothing for a Long", L"numSteps", variant(VT_DISPATCH), false, 0},
      {"a number for an object", L"outputRangeNameRef", variant(VT_I4, 1), false, 0},
      {"by reference: a property", L"BaseValue", variant(VT_I2, 9), true, 9},
  };
  for (const Case& c : cases) {
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
    VARIANT read = get(c.member);
    EXPECT_EQ(VariantChangeType(&read, &read, 0, VT_R8), S_OK) << c.what;
    EXPECT_EQ(read.dblVal, c.read_back) << c.what;
  }
}

TEST_F(LateBinding, TextsAreCounted) {
  VARIANT given = variant(VT_BSTR);
  given.bstrVal = SysAllocStringLen(L"a\0\x00E4\xD83D\xDE00", 5);
  ASSERT_EQ(put(L"ioName", given).status, S_OK);
  VARIANT read = get(L"ioName");
  EXPECT_EQ(std::wstring(read.bstrVal, SysStringLen(read.bstrVal)), std::wstring(given.bstrVal, 5));
  VariantClear(&read);
  VariantClear(&given);
  ASSERT_EQ(put(L"ioName", variant(VT_I4, 42)).status, S_OK);
  read = get(L"ioName");
  EXPECT_STREQ(read.bstrVal, L"42");
  VariantClear(&read);
}

TEST_F(LateBinding, NamesTheWrongArgumentAndTheWrongCount) {
  call(L"outputMinMaxChangeInit", DISPATCH_METHOD, {variant(VT_I2, 2), variant(VT_I2, 2), variant(VT_I2, 2)});
  const VARIANT one = variant(VT_I2, 1);
  const VARIANT none = variant(VT_NULL);
  VARIANT left_out = variant(VT_ERROR);
  left_out.scode = DISP_E_PARAMNOTFOUND;
  struct Case {
    const char* what;
    std::vector<VARIANT> arguments;
    HRESULT status;
    UINT wrong;  // counted from the end
  };
  const Case cases[] = {
      {"all four", {one, one, one, one}, S_OK, 99},
      {"the first", {none, one, one, one}, DISP_E_TYPEMISMATCH, 3},
      {"the third", {one, one, none, one}, DISP_E_TYPEMISMATCH, 1},
      {"the last", {one, one, one, none}, DISP_E_TYPEMISMATCH, 0},
      {"one too few", {one, one, one}, DISP_E_BADPARAMCOUNT, 99},
      {"one left out", {one, left_out, one, one}, DISP_E_PARAMNOTOPTIONAL, 99},
      {"one too many", {one, one, one, one, one}, DISP_E_BADPARAMCOUNT, 99},
  };
  for (const Case& c : cases) {
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
  ComPtr<ISupportErrorInfo> support;
  ASSERT_EQ(record_->QueryInterface(IID_ISupportErrorInfo, support.receive_void()), S_OK);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(_DralInputOutput)), S_OK);
  EXPECT_EQ(record_->get_outputRank(1, nullptr), static_cast<HRESULT>(0x800A0009));
  EXPECT_EQ(record_->get_ioName(nullptr), E_POINTER);
}

TEST_F(LateBinding, EveryFieldOfARecordKeepsWhatIsWritten) {
  // Through the function table; the public fields are the first 47 of it.
  ComPtr<ITypeInfo> info;
  ASSERT_EQ(record_->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.receive()), S_OK);
  for (DISPID id = 0x40030000; id < 0x40030000 + 47; ++id) {
    VARIANT value = variant(VT_I4, 1 + (id & 0x7F));
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS given = {&value, &put, 1, 1};
    VARIANT read = variant(VT_EMPTY);
    DISPPARAMS none = {};
    const auto invoke = [&](WORD flags, DISPPARAMS& arguments, VARIANT* result) {
      return record_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &arguments, result, nullptr, nullptr);
    };
    ASSERT_EQ(invoke(DISPATCH_PROPERTYGET, none, &read), S_OK);
    if (read.vt == VT_BOOL) {
      value = variant(VT_BOOL, 0xFFFF);
    } else if (read.vt == VT_DISPATCH) {
      EXPECT_EQ(read.pdispVal, nullptr);
      const ComPtr<_DralInputOutput> other = server_.make_record();
      value.vt = VT_DISPATCH;
      value.pdispVal = other.get();
      ASSERT_EQ(invoke(DISPATCH_PROPERTYPUTREF, given, nullptr), S_OK);
      ASSERT_EQ(invoke(DISPATCH_PROPERTYGET, none, &read), S_OK);
      EXPECT_EQ(read.pdispVal, static_cast<IDispatch*>(other.get()));
      VariantClear(&read);
      continue;
    }
    ASSERT_EQ(invoke(DISPATCH_PROPERTYPUT, given, nullptr), S_OK) << std::hex << id;
    VariantClear(&read);
    ASSERT_EQ(invoke(DISPATCH_PROPERTYGET, none, &read), S_OK);
    const LONG expected = read.vt == VT_BOOL ? -1 : value.lVal;
    ASSERT_EQ(VariantChangeType(&read, &read, 0, VT_I4), S_OK);
    EXPECT_EQ(read.lVal, expected) << std::hex << id;
  }
}

}  // namespace
}  // namespace ordvane::test
