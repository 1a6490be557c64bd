// OrdvaneReports as clients hold it: settings, and failures without a session.

#include "windows/late_binding.h"
#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

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
