// Reports in an Excel that is busy, that calls in again meanwhile, or that refuses to show things; what they
// leave behind, and how their failures are heard.
#include <thread>

#include "automation/escape_key.h"
#include "automation/message_filter.h"
#include "automation/patience.h"
#include "windows/apartment_bench.h"

namespace ordvane::test {
namespace {

constexpr HRESULT kExcelIgnores = static_cast<HRESULT>(0x800AC472);
constexpr HRESULT kRefused = static_cast<HRESULT>(0x800A03EC);
constexpr HRESULT kInvalidCall = static_cast<HRESULT>(0x800A0005);

bool any_has(const std::vector<std::string>& texts, const std::string& part) {
  return std::any_of(texts.begin(), texts.end(),
                     [&](const std::string& text) { return text.find(part) != std::string::npos; });
}

// A client that has asked for graphs and a table of both outputs.
class BusyExcel : public testing::Test {
 protected:
  void SetUp() override {
    reports_->put_TornadoGraphs(&on_);
    reports_->put_OutputDetailReport(&on_);
    ASSERT_EQ(initialize(*reports_.get(), bench_.stand_in), S_OK);
  }
  void TearDown() override { automation::Patience::limit = std::chrono::minutes(1); }

  std::vector<std::string> sheets() const {
    std::vector<std::string> names;
    for (const auto& sheet : bench_.application->active_workbook()->worksheets())
      names.push_back(sheet->name());
    return names;
  }

  VARIANT_BOOL on_ = VARIANT_TRUE;
  LONG result_ = -1;
  Apartment bench_;
  ComPtr<_OrdvaneReports> reports_ = Apartment::make_reports();
};

TEST_F(BusyExcel, IsWaitedFor) {
  const service::Found found(*bench_.application);
  generate(*reports_.get(), {0, 1}, &result_);
  const std::vector<std::string> expected = sheets();
  for (const HRESULT busy : {kExcelIgnores, RPC_E_CALL_REJECTED, RPC_E_SERVERCALL_RETRYLATER}) {
    long calls = 0;
    bench_.stand_in->before = [&](const std::string&) { return ++calls % 200 < 3 ? busy : S_OK; };
    EXPECT_EQ(generate(*reports_.get(), {0, 1}, &result_), S_OK) << std::hex << busy;
    bench_.stand_in->before = nullptr;
    EXPECT_EQ(error_text(), "") << std::hex << busy;
    EXPECT_EQ(sheets(), expected) << std::hex << busy;
    EXPECT_GT(calls, 400);
    found.expect_restored("after a busy while");
  }
}

TEST_F(BusyExcel, IsNotWaitedForWithoutEnd) {
  const service::Found found(*bench_.application);
  automation::Patience::limit = std::chrono::milliseconds(40);
  bench_.stand_in->before = [](const std::string&) { return kExcelIgnores; };
  EXPECT_EQ(generate(*reports_.get(), {0}, &result_), kExcelIgnores);

  // From the first table on, and until its call is given up.
  bool is_busy = false;
  bench_.stand_in->before = [&](const std::string& call) {
    if (call == "ChartObjects.Add") is_busy = true;
    if (call.ends_with(".Calculation")) is_busy = false;
    return is_busy ? kExcelIgnores : S_OK;
  };
  EXPECT_EQ(generate(*reports_.get(), {0}, &result_), S_OK);
  EXPECT_NE(error_text(), "");
  found.expect_restored("after giving up");
}

TEST_F(BusyExcel, RefusesCallsWhileReportsAreMade) {
  generate(*reports_.get(), {0, 1}, &result_);
  const auto expected = sheets();
  const ComPtr<_OrdvaneReports> other = Apartment::make_reports();
  const service::Found found(*bench_.application);
  bool is_inside = false;
  int tried = 0;
  const auto call_in = [&] {
    const ComPtr<IDispatch> excel = make_excel_stand_in(bench_.stand_in);
    IDispatch* application = excel.get();
    LONG handle = 1, again = -1;
    for (_OrdvaneReports* client : {reports_.get(), other.get()}) {
      EXPECT_EQ(generate(*client, {0}, &again), kInvalidCall);
      EXPECT_TRUE(any_has({error_text()}, "GenerateReports: reports are being made"));
      EXPECT_EQ(client->Terminate(), kInvalidCall);
      EXPECT_TRUE(any_has({error_text()}, "Terminate: reports are being made"));
      EXPECT_EQ(client->Initialize(&application, &handle), kInvalidCall);
      EXPECT_EQ(client->put_MaxInputsPerGraph(1), kInvalidCall);
      EXPECT_EQ(client->put_SpiderGraphs(&on_), kInvalidCall);
    }
    EXPECT_TRUE(Apartment::make_reports()) << "and gone at once";
  };
  bench_.stand_in->before = [&](const std::string& call) {
    if (!is_inside && (call == "ChartObjects.Add" || call == "Workbooks.Add")) {
      is_inside = true;
      call_in();
      is_inside = false;
      ++tried;
    }
    return S_OK;
  };
  EXPECT_EQ(generate(*reports_.get(), {0, 1}, &result_), S_OK);
  EXPECT_EQ(error_text(), "");
  EXPECT_GE(tried, 3);
  EXPECT_EQ(sheets(), expected);
  EXPECT_TRUE(any_has(bench_.environment->lines, "Initialize Exit")) << "the log is that of the run";
  EXPECT_TRUE(any_has(bench_.environment->lines, "GenerateReports Exit"));
  found.expect_restored("after calls from within");
  EXPECT_EQ(reports_->Terminate(), S_OK);
}

TEST_F(BusyExcel, NeedsNothingSelectedOrShown) {
  generate(*reports_.get(), {0, 1}, &result_);
  const auto expected = sheets();
  bench_.stand_in->before = [](const std::string& call) {
    return call.ends_with(".Select") || call.ends_with(".Activate") ? kRefused : S_OK;
  };
  EXPECT_EQ(generate(*reports_.get(), {0, 1}, &result_), S_OK);
  EXPECT_EQ(error_text(), "");
  EXPECT_EQ(sheets(), expected);
}

// What is refused, and in what way the client hears of it.
TEST_F(BusyExcel, FailuresAreHeard) {
  const struct {
    const char* refused;
    std::vector<const char*> told;
  } cases[] = {
      {"", {}},
      {"ChartObjects.Add",
       {"Drawing the tornado graph (Output 1): ", "Drawing the tornado graph (Output 2): "}},
      {"FormatConditions.AddColorScale", {"Writing which input moves what: "}},
  };
  for (const auto& c : cases) {
    const service::Found found(*bench_.application);
    bench_.environment->messages.clear();
    bench_.environment->lines.clear();
    bench_.stand_in->before = [&](const std::string& call) { return call == c.refused ? kRefused : S_OK; };
    EXPECT_EQ(generate(*reports_.get(), {0, 1}, &result_), S_OK) << c.refused;
    EXPECT_EQ(result_, 0);
    const std::string text = error_text();
    found.expect_restored(c.refused);
    EXPECT_EQ(bench_.environment->messages.size(), c.told.empty() ? 0U : 1U) << c.refused << text;
    EXPECT_EQ(text.empty(), c.told.empty()) << c.refused << text;
    for (const char* part : c.told) {
      EXPECT_TRUE(any_has({text}, part)) << text;
      EXPECT_TRUE(any_has(bench_.environment->messages, part));
      EXPECT_TRUE(any_has(bench_.environment->lines, "Error: ")) << c.refused;
    }
  }
}

TEST_F(BusyExcel, IsLetGoByTerminate) {
  const ComPtr<_OrdvaneReports> other = Apartment::make_reports();
  for (_OrdvaneReports* last : {reports_.get(), other.get()}) {
    ASSERT_EQ(initialize(*reports_.get(), bench_.stand_in), S_OK);
    last->put_SingleWorkbookAllResults(VARIANT_TRUE);
    EXPECT_EQ(generate(*last, {0}, &result_), S_OK);
    EXPECT_GT(bench_.stand_in->live_objects, 0);
    EXPECT_EQ(reports_->Terminate(), S_OK);
    EXPECT_EQ(bench_.stand_in->live_objects, 0) << "both objects are still there";
  }
}

TEST_F(BusyExcel, TakesNoKeysDuringARunAndShowsWhatItDidAfterAFailure) {
  const service::Found found(*bench_.application);
  const std::string shown = bench_.application->active_sheet()->name();
  bool was_interactive = true;
  bench_.stand_in->before = [&](const std::string& call) {
    if (call != "Workbooks.Add") return S_OK;
    was_interactive = bench_.application->interactive();
    return kRefused;
  };
  EXPECT_EQ(generate(*reports_.get(), {0}, &result_), S_OK);
  EXPECT_FALSE(was_interactive);
  EXPECT_EQ(bench_.application->active_sheet()->name(), shown);
  found.expect_restored("without a workbook");
}

// Refuses the first calls of every hundred, as Excel's own filter does while it works.
class Rejecting final : public IMessageFilter {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
    *object = this;
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  DWORD STDMETHODCALLTYPE HandleInComingCall(DWORD, HTASK, DWORD, LPINTERFACEINFO called) override {
    if (called == nullptr || !IsEqualIID(called->iid, IID_IDispatch)) return SERVERCALL_ISHANDLED;
    const long call = ++calls % 100;
    if (call == 1) return SERVERCALL_REJECTED;
    return call == 2 ? SERVERCALL_RETRYLATER : SERVERCALL_ISHANDLED;
  }
  DWORD STDMETHODCALLTYPE RetryRejectedCall(HTASK, DWORD, DWORD) override { return static_cast<DWORD>(-1); }
  DWORD STDMETHODCALLTYPE MessagePending(HTASK, DWORD, DWORD) override { return PENDINGMSG_WAITDEFPROCESS; }

  long calls = 0;
};

TEST_F(BusyExcel, MayLiveElsewhere) {
  generate(*reports_.get(), {0, 1}, &result_);
  const auto expected = sheets();
  Rejecting rejecting;
  IStream* passed = nullptr;
  const HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  DWORD thread_id = 0;
  std::thread excels([&] {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    thread_id = GetCurrentThreadId();
    IMessageFilter* none = nullptr;
    CoRegisterMessageFilter(&rejecting, &none);
    const ComPtr<IDispatch> excel = make_excel_stand_in(bench_.stand_in);
    CoMarshalInterThreadInterfaceInStream(IID_IDispatch, excel.get(), &passed);
    SetEvent(ready);
    for (MSG message; GetMessageW(&message, nullptr, 0, 0) > 0;) DispatchMessageW(&message);
    CoRegisterMessageFilter(nullptr, &none);
    CoUninitialize();
  });
  WaitForSingleObject(ready, INFINITE);
  ComPtr<IDispatch> excel;
  EXPECT_EQ(CoGetInterfaceAndReleaseStream(passed, IID_IDispatch, excel.receive_void()), S_OK);
  EXPECT_TRUE(automation::is_elsewhere(excel.get()));
  IDispatch* application = excel.get();
  LONG handle = 1;
  EXPECT_EQ(reports_->Initialize(&application, &handle), S_OK);
  EXPECT_EQ(generate(*reports_.get(), {0, 1}, &result_), S_OK);
  EXPECT_EQ(error_text(), "");
  EXPECT_EQ(sheets(), expected);
  EXPECT_GT(rejecting.calls, 400);
  reports_->Terminate();
  excel = {};
  PostThreadMessageW(thread_id, WM_QUIT, 0, 0);
  excels.join();
  CloseHandle(ready);
}

TEST_F(BusyExcel, IsWaitedForByAFilterOnlyElsewhere) {
  Rejecting excels_own;
  IMessageFilter *former = nullptr, *now = nullptr;
  CoRegisterMessageFilter(&excels_own, &former);
  for (const bool elsewhere : {false, true}) {
    {
      automation::MessageFilter filter(elsewhere);
      CoRegisterMessageFilter(nullptr, &now);
      EXPECT_EQ(now == &excels_own, !elsewhere);
      CoRegisterMessageFilter(now, nullptr);
      EXPECT_GE(filter.RetryRejectedCall(nullptr, 1000, SERVERCALL_REJECTED), 100U)
          << "again, after this time";
      EXPECT_EQ(filter.RetryRejectedCall(nullptr, 70000, SERVERCALL_RETRYLATER), static_cast<DWORD>(-1));
    }
    CoRegisterMessageFilter(nullptr, &now);
    EXPECT_EQ(now, &excels_own) << "put back";
    CoRegisterMessageFilter(now, nullptr);
  }
  CoRegisterMessageFilter(former, nullptr);
}

TEST(EscapeKey, IsPressedAnewAndHere) {
  constexpr SHORT kUp = 0, kDown = static_cast<SHORT>(0x8000), kWentDown = 1;
  const struct {
    const char* what;
    std::vector<std::pair<SHORT, bool>> looks;  // what the system answers, and whether the keyboard is here
    std::vector<bool> pressed;
  } cases[] = {
      {"never", {{kUp, true}, {kUp, true}}, {false, false}},
      {"pressed between two looks", {{kUp, true}, {kWentDown, true}}, {false, true}},
      {"held from one look on",
       {{kUp, true}, {kDown | kWentDown, true}, {kDown, true}},
       {false, true, false}},
      {"held before, let go, pressed again",
       {{kDown, true}, {kDown | kWentDown, true}, {kWentDown, true}, {kUp, true}, {kDown, true}},
       {true, false, false, false, true}},
      {"in another program", {{kUp, false}, {kWentDown, false}, {kUp, true}}, {false, false, false}},
      {"held in another program, then here", {{kDown, false}, {kDown, true}}, {false, false}},
  };
  for (const auto& c : cases) {
    automation::EscapeKey key;
    for (std::size_t i = 0; i < c.looks.size(); ++i)
      EXPECT_EQ(key.is_pressed(c.looks[i].first, c.looks[i].second), c.pressed[i])
          << c.what << ", look " << i;
  }
}

}  // namespace
}  // namespace ordvane::test
