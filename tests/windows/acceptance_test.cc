// The acceptance kit from its start to its end, with a stand-in for the installed Excel: it passes, and each
// of its checks fails where there is reason to.

#include <algorithm>
#include <set>

#include "windows/server_under_test.h"
#include "windows/texts.h"

namespace ordvane::test {
namespace {

using std::filesystem::path;

constexpr const wchar_t* kExcelName = L"Software\\Classes\\Excel.Application";
constexpr const wchar_t* kExcelClass = L"Software\\Classes\\CLSID\\{0F1C2D3E-4B5A-4697-8879-0A1B2C3D4E5F}";

void write_key(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, value.c_str(),
                  static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

// What stands in for Excel, installed for as long as it lives; the files of a kit.
class Acceptance : public testing::Test {
 protected:
  Acceptance() {
    write_key(std::wstring(kExcelName) + L"\\CLSID", nullptr, std::wstring(kExcelClass).substr(23));
    write_key(std::wstring(kExcelClass) + L"\\InprocServer32", nullptr,
              programs_ / "tests" / "acceptance_excel.dll");
    write_key(std::wstring(kExcelClass) + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    const path sources = programs_.root_name() / path(ORDVANE_SOURCE_DIR),
               runs = sources / "examples/solar-plant";
    std::filesystem::remove_all(kit_);
    std::filesystem::create_directories(kit_ / "runs");
    for (const char* file :
         {"solar-plant.run.json", "solar-plant.run.csv", "solar-plant.run.groups.csv", "solar-plant.xlsx"})
      std::filesystem::copy_file(runs / file, kit_ / "runs" / file);
    std::filesystem::copy_file(sources / "tests/windows/type_library.txt", kit_ / "type_library.txt");
    SetEnvironmentVariableW(L"ORDVANE_EXCEL_MODEL", (kit_ / "runs" / "solar-plant.run.json").c_str());
  }
  ~Acceptance() override {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kExcelName);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kExcelClass);
    SetEnvironmentVariableW(L"ORDVANE_EXCEL_FAULTS", nullptr);
  }

  // The kit's exit code; what it says goes to `said`.
  DWORD run(const wchar_t* faults, const std::wstring& options) {
    SetEnvironmentVariableW(L"ORDVANE_EXCEL_FAULTS", faults);
    // A name of its own for each: what starts consoles may keep the last one open.
    const path output = kit_ / ("said-" + std::to_string(++runs_) + ".txt");
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const HANDLE file =
        CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = file;
    PROCESS_INFORMATION process = {};
    std::wstring command = L"accept " + options + L" --kit \"" + kit_.wstring() + L"\"";
    DWORD status = 99;
    if (CreateProcessW((programs_ / "accept.exe").c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                       nullptr, &startup, &process)) {
      WaitForSingleObject(process.hProcess, INFINITE);
      GetExitCodeProcess(process.hProcess, &status);
      CloseHandle(process.hThread);
      CloseHandle(process.hProcess);
    }
    CloseHandle(file);
    said = file_text(output);
    return status;
  }

  // "Section: check", of one verdict.
  std::set<std::string> checks(const std::string& verdict) const {
    std::set<std::string> found;
    std::istringstream lines(said);
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with(verdict + ' ')) continue;
      const std::size_t start = line.find_first_not_of(' ', verdict.size()), section = line.find(": ", start);
      const std::size_t end = std::min(line.find(": ", section + 2), line.find_last_not_of("\r\n") + 1);
      found.insert(line.substr(start, end - start));
    }
    return found;
  }

  path programs_ = path(server_path()).parent_path();
  path kit_ = std::filesystem::temp_directory_path() / "ordvane-acceptance";
  int runs_ = 0;
  std::string said;
};

TEST_F(Acceptance, PassesAndEachCheckCanFail) {
  EXPECT_EQ(run(nullptr, L"--quick"), 0U) << said;
  EXPECT_EQ(checks("failed"), std::set<std::string>());
  EXPECT_GT(checks("passed").size(), 60U) << said;
  EXPECT_TRUE(checks("passed").contains("Escape during the reports: ends early")) << said;
  const std::string report = file_text(kit_ / "results" / "report.html");
  EXPECT_NE(report.find("\"failed\": 0"), std::string::npos);
  EXPECT_NE(report.find("data:image/png;base64,"), std::string::npos);

  EXPECT_EQ(run(L"status cells text format width title series axis plot label break picture pdf sheets",
                L"--only early"),
            1U);
  const std::string all = "Early-bound client, all reports: ";
  for (const char* check : {"sheets", "texts and numbers", "number formats", "column widths", "charts",
                            "series", "axes", "plot areas", "labels of bars", "pages", "charts are drawn",
                            "workbook prints to PDF", "Excel's state is as it was", "the model is as it was"})
    EXPECT_TRUE(checks("failed").contains(all + check)) << check << "\n" << said;
}

}  // namespace
}  // namespace ordvane::test
