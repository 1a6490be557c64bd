// The installed server: registered beside the engine's library, driven by a script and by a compiled client,
// each of which makes the workbook that the library makes on the building machine.

#include <cstdlib>
#include <sstream>

#include "windows/child_process.h"
#include "windows/late_binding.h"
#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

using std::filesystem::path;

std::string text_in(const path& file) {
  std::ifstream input(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(input), {}};
}

// The first line that differs, both ways; empty for equal texts.
std::string first_difference(const std::string& made, const std::string& expected) {
  if (made == expected) return "";
  std::istringstream made_lines(made), expected_lines(expected);
  std::string made_line, expected_line;
  for (int line = 1; made_lines || expected_lines; ++line) {
    made_line.clear(), expected_line.clear();
    std::getline(made_lines, made_line), std::getline(expected_lines, expected_line);
    if (made_line != expected_line)
      return "line " + std::to_string(line) + ": " + made_line + "\ninstead of: " + expected_line;
  }
  return "the texts differ in their ends";
}

class WholeServer : public testing::Test {
 protected:
  void SetUp() override {
    const char* native = std::getenv("ORDVANE_NATIVE_SNAPSHOT");
    if (native == nullptr)
      GTEST_SKIP() << "ORDVANE_NATIVE_SNAPSHOT names no snapshot of the building machine to compare with";
    const path root = path(server_path()).root_name();  // of this machine's files
    native_ = text_in(root.wstring() + path(native).wstring());
    ASSERT_GT(native_.size(), 10000U) << native;
    run_ =
        root.wstring() + path(ORDVANE_SOURCE_DIR).wstring() + L"/examples/solar-plant/solar-plant.run.json";
    SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", run_.c_str());
    SetEnvironmentVariableW(L"ORDVANE_QUIET", L"1");
    excel_ = LoadLibraryW((path(server_path()).parent_path() / L"OrdvaneTestExcel.dll").c_str());
    ASSERT_NE(excel_, nullptr);
    for (const HMODULE module : {server_.module(), excel_})
      ASSERT_EQ(export_of<HRESULT WINAPI()>(module, "DllRegisterServer")(), S_OK);
  }
  void TearDown() override {
    if (excel_ == nullptr) return;
    for (const HMODULE module : {server_.module(), excel_})
      EXPECT_EQ(export_of<HRESULT WINAPI()>(module, "DllUnregisterServer")(), S_OK);
    FreeLibrary(excel_);
  }

  Server server_;
  HMODULE excel_ = nullptr;
  std::wstring run_;
  std::string native_;
};

TEST_F(WholeServer, ServesAScript) {
  const path snapshot = std::filesystem::temp_directory_path() / "ordvane-snapshot.txt";
  const std::wstring script = path(server_path()).root_name().wstring() + path(ORDVANE_SOURCE_DIR).wstring() +
                              L"/tests/windows/server_client.vbs";
  DWORD exit_code = 0;
  EXPECT_EQ(
      output_of(L"cscript.exe //nologo \"" + script + L"\" \"" + run_ + L"\" \"" + snapshot.wstring() + L"\"",
                exit_code),
      "done\n");
  EXPECT_EQ(exit_code, 0U);
  const std::string bytes = text_in(snapshot);
  std::filesystem::remove(snapshot);
  ASSERT_GT(bytes.size(), 2U);
  const std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()) + 1,
                          bytes.size() / 2 - 1);  // after the mark
  EXPECT_EQ(first_difference(automation::utf8(text.data(), static_cast<UINT>(text.size())), native_), "");
}

TEST_F(WholeServer, ServesACompiledClient) {
  CLSID id = {};
  ComPtr<IDispatch> stand_in;
  ComPtr<_OrdvaneReports> reports;
  ASSERT_EQ(CLSIDFromProgID(L"OrdvaneTest.ExcelStandIn", &id), S_OK);
  ASSERT_EQ(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, stand_in.receive_void()),
            S_OK);
  ASSERT_EQ(CoCreateInstance(__uuidof(OrdvaneReports), nullptr, CLSCTX_INPROC_SERVER,
                             __uuidof(_OrdvaneReports), reports.receive_void()),
            S_OK);
  VARIANT run = text(run_.c_str());
  ASSERT_EQ(invoke(*stand_in.get(), L"Open", DISPATCH_METHOD, {run}).status, S_OK);
  VariantClear(&run);
  VARIANT_BOOL yes = VARIANT_TRUE;
  for (const auto put : {&_OrdvaneReports::put_ReportsInNewWorkbook, &_OrdvaneReports::put_TornadoGraphs,
                         &_OrdvaneReports::put_SpiderGraphs, &_OrdvaneReports::put_SensitivityGraphs,
                         &_OrdvaneReports::put_OutputDetailReport, &_OrdvaneReports::put_DetailByInput,
                         &_OrdvaneReports::put_MultiWayReport})
    (reports.get()->*put)(&yes);
  reports->put_MaxInputsPerGraph(20);
  reports->put_DefaultMultiGroupSize(3);

  Answer application = invoke(*stand_in.get(), L"Application", DISPATCH_PROPERTYGET, {});
  LONG handle = 1;
  ASSERT_EQ(reports->Initialize(&application.result.pdispVal, &handle), S_OK);
  VariantClear(&application.result);
  Bstr watermark("Draft\nnot for release");
  BSTR watermark_text = watermark.get();
  reports->put_WatermarkText(&watermark_text);
  SAFEARRAY* selected = SafeArrayCreateVector(VT_I4, 1, 6);
  for (LONG i = 0; i < 6; ++i) static_cast<LONG*>(selected->pvData)[i] = i;
  LONG result = -1;
  EXPECT_EQ(reports->GenerateReports(&selected, &result), S_OK);
  EXPECT_EQ(result, 0);
  SafeArrayDestroy(selected);
  EXPECT_EQ(reports->Terminate(), S_OK);
  reports = {};
  EXPECT_EQ(as_number(invoke(*stand_in.get(), L"LiveObjects", DISPATCH_PROPERTYGET, {}).result), 0);
  const std::wstring snapshot = text_of(invoke(*stand_in.get(), L"Snapshot", DISPATCH_METHOD, {}).result);
  EXPECT_EQ(first_difference(automation::utf8(snapshot.data(), static_cast<UINT>(snapshot.size())), native_),
            "");
}

}  // namespace
}  // namespace ordvane::test
