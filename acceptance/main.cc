// The acceptance kit: everything that is to be known of the library on a machine with Excel, without
// questions.
//
//   accept [--quick] [--only RUN] [--kit FOLDER] [--out FOLDER] [--part] [--engine FILE]
//
// Writes results.json, report.html, calls.csv and what Excel drew. Ends with 0 when nothing failed, 1 when
// something did, 2 for wrong arguments or a folder that cannot be written.

#include <objbase.h>
#include <winver.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "drive.h"
#include "excel.h"
#include "host/error.h"
#include "large_run.h"
#include "machine.h"
#include "measure.h"
#include "pictures.h"
#include "read_back.h"
#include "registration.h"
#include "results.h"
#include "runfile/recorded_engine.h"
#include "tracer.h"
#include "type_library_text.h"
#include "windows/texts.h"

namespace ordvane::acceptance {
namespace {

using std::filesystem::path;

constexpr const char* kRun = "solar-plant.run.json";
constexpr const char* kModel = "solar-plant.xlsx";
constexpr RunSize kFullSize{32, 30, 20};
constexpr RunSize kSmallSize{6, 5, 2};

struct Options {
  path kit = own_folder().parent_path();
  path out;
  path engine;        // the real one; empty: not here
  std::wstring only;  // the one run that is made: "early"; empty: all
  bool quick = false;
  bool part = false;  // for the program of the other width, which writes the report
};

// Everything that the checks share.
struct Kit {
  const Options& options;
  Results& results;
  Tracer tracer;
  std::shared_ptr<runfile::Run> run;
  State cells;  // of the model, as it was opened

  std::int32_t outputs() const { return static_cast<std::int32_t>(run->outputs.size()); }
};

// What the file's properties show.
std::string version_of(const path& file) {
  std::vector<BYTE> resource(GetFileVersionInfoSizeW(file.c_str(), nullptr));
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT size = 0;
  if (resource.empty() ||
      !GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()) ||
      !VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&fixed), &size))
    return "no version";
  return std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." +
         std::to_string(LOWORD(fixed->dwFileVersionMS)) + "." +
         std::to_string(HIWORD(fixed->dwFileVersionLS));
}

void check_type_library(Kit& kit, const Library& library) {
  kit.results.begin_section("type-library", "Type library");
  kit.results.check("is the published one", [&] {
    const std::string expected = test::file_text(kit.options.kit / "type_library.txt");
    const std::string found = text_of_type_library(library.file());
    const std::string difference = test::first_difference(found, expected);
    if (!difference.empty()) throw Wrong{difference};
    return std::to_string(std::count(found.begin(), found.end(), '\n')) + " members and types";
  });
}

// Its exports and whether Windows can load it; what it answers needs the program that fills it.
void check_engine(Kit& kit) {
  kit.results.begin_section("engine", "The engine's library");
  kit.results.check("real engine loads and has every entry point", [&] {
    if (kit.options.engine.empty()) throw CannotBeMade{"no file was named with --engine"};
    const HMODULE module = LoadLibraryExW(kit.options.engine.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) throw Wrong{"it is not loaded: error " + std::to_string(GetLastError())};
    std::string missing;
    for (const char* name :
         {"DrllibInitLibraryVB", "DrllibFreeLibraryVB", "DRL4_Init", "DRL4_GetSimStats",
          "DRL4_GetNumInputsAndOutputs", "DRL4_GetNumInputsWithSavedSamples", "DRL4_GetVaryMultis",
          "DRL4_GetUsedVaryMultis", "DRL4_GetVaryCountList", "DRL4_GetDoubleInputOrOutputData",
          "DRL4_DoubleIsNaN", "DRL4_DoubleIsError", "DRL4_GetSamplingType", "DRL4_SetSamplingType",
          "DRL7_GetOrderedInputInfoVB", "DRL7_GetOrderedOutputInfoVB", "DRL7_GetWorkbookWithInputOrOutputVB",
          "DRL7_GetSheetWithInputOrOutputVB", "DRL7_GetCellWithInputOrOutputVB"})
      if (GetProcAddress(module, name) == nullptr) missing += std::string(" ") + name;
    FreeLibrary(module);
    if (!missing.empty()) throw Wrong{"it has no" + missing};
    return utf8_of(kit.options.engine);
  });
}

// After a run, whatever became of it.
void check_left_behind(Kit& kit, const Excel& excel, const State& before, const Outcome& outcome) {
  kit.results.check("Excel's state is as it was", [&] {
    const std::string lines = difference(before, excel.state());
    if (!lines.empty()) throw Wrong{lines};
    return std::to_string(before.size()) + " settings";
  });
  kit.results.check("the model is as it was", [&] {
    const State now = excel.model_cells();
    const std::string lines = difference(kit.cells, now);
    if (!lines.empty()) throw Wrong{lines};
    return std::to_string(now.size()) + " cells, " + hash_of(now);
  });
  kit.results.check("nothing of Excel is held after Terminate", [&] {
    if (outcome.held_after_terminate != 0)
      throw Wrong{std::to_string(outcome.held_after_terminate) + " objects"};
    return std::string();
  });
}

// One run: `judge` makes the checks of its own while the workbook is open.
void make_run(Kit& kit, const Excel& excel, const Plan& plan, const std::string& title,
              const std::function<void(const Outcome&)>& judge) {
  kit.results.begin_section(plan.name, title);
  Outcome outcome;
  State before;
  bool ran = false;
  kit.results.check("runs", [&] {
    excel.unsettle();
    before = excel.state();
    outcome = drive(kit.tracer, excel, kit.outputs(), plan);
    ran = true;
    return seconds_text(outcome.seconds) + ", " + std::to_string(kit.tracer.calls_of_run) + " calls of Excel";
  });
  if (ran) {
    RunCost cost = kit.tracer.cost_of_run(plan.name);
    cost.seconds = outcome.seconds;
    kit.results.runs.push_back(cost);
    judge(outcome);
    check_left_behind(kit, excel, before, outcome);
  }
  kit.results.check("its workbooks close", [&] {
    excel.close_report_workbooks();
    excel.settle();
    return std::string();
  });
}

void check_success(Kit& kit, const Outcome& outcome) {
  kit.results.check("succeeds", [&] {
    if (!outcome.error.empty()) throw Wrong{outcome.error};
    if (outcome.result != 0) throw Wrong{"GenerateReports answered " + std::to_string(outcome.result)};
    return std::string("GenerateReports answered 0");
  });
}

void all_reports(Kit& kit, const Excel& excel) {
  make_run(kit, excel, {.name = "early"}, "Early-bound client, all reports", [&](const Outcome& outcome) {
    check_success(kit, outcome);
    kit.results.attempt("is read back", [&] {
      const LateBound workbook = excel.report_workbook();
      const auto expected = expected_workbook(kit.run, true, kit.options.out);
      check_workbook(kit.results, workbook, *expected);
      check_pictures(kit.results, workbook, kit.options.out / "drawn", kit.options.kit / "expected");
    });
  });
}

// A client that binds otherwise gets the same values.
void tornados(Kit& kit, const Excel& excel, const Plan& plan, const std::string& title) {
  make_run(kit, excel, plan, title, [&](const Outcome& outcome) {
    check_success(kit, outcome);
    kit.results.check("texts and numbers", [&] {
      return compare_values(excel.report_workbook(),
                            *expected_workbook(kit.run, plan.everything, kit.options.out));
    });
  });
}

// Excel refuses a call in the middle of the reports.
void refused_call(Kit& kit, const Excel& excel) {
  constexpr std::size_t kInTheMiddle = 400;
  Plan plan{.name = "error", .everything = false};
  plan.before_call = [](std::size_t call) { return call == kInTheMiddle; };
  make_run(kit, excel, plan, "Excel refuses a call", [&](const Outcome&) {
    kit.results.check("the call was refused", [&] {
      if (kit.tracer.cost_of_run("error").refused == 0) throw Wrong{"the run has fewer calls"};
      return std::string();
    });
  });
}

// Before a workbook is open the client hears of it.
void refusing_engine(Kit& kit, const Excel& excel) {
  give_run(kit.options.out / "there-is-no-run.json");
  make_run(kit, excel, {.name = "engine-error", .everything = false}, "The engine refuses",
           [&](const Outcome& outcome) {
             kit.results.check("the client gets the error", [&] {
               if (outcome.error.empty()) throw Wrong{"no error reached the client"};
               return outcome.error;
             });
           });
  give_run(kit.options.kit / "runs" / kRun);
}

// A key that is pressed while a window of this program is in front, which the library takes for the user's.
class EscapeKey {
 public:
  EscapeKey()
      : window_(CreateWindowExW(WS_EX_TOPMOST, L"STATIC", L"Acceptance kit", WS_POPUP | WS_VISIBLE, 0, 0, 8,
                                8, nullptr, nullptr, nullptr, nullptr)) {}
  ~EscapeKey() {
    send(KEYEVENTF_KEYUP);
    DestroyWindow(window_);
  }
  EscapeKey(const EscapeKey&) = delete;
  EscapeKey& operator=(const EscapeKey&) = delete;

  // Another window may have come to the front since the last press, or none may be there.
  void press() const {
    SetForegroundWindow(window_);
    send(0);
  }
  // Whether this window had the key until now.
  bool release() const {
    const bool had =
        window_ != nullptr && GetForegroundWindow() == window_ && (GetAsyncKeyState(VK_ESCAPE) & 0x8000) != 0;
    send(KEYEVENTF_KEYUP);
    return had;
  }

 private:
  static void send(DWORD flags) {
    INPUT key = {};
    key.type = INPUT_KEYBOARD;
    key.ki.wVk = VK_ESCAPE;
    key.ki.dwFlags = flags;
    SendInput(1, &key, sizeof key);
  }

  HWND window_;
};

// Pressed and released again and again, as users do.
void escape(Kit& kit, const Excel& excel) {
  const EscapeKey key;
  bool was_held = false;
  Plan plan{.name = "escape"};
  plan.before_call = [&](std::size_t call) {
    constexpr std::size_t kApart = 400;
    if (call % kApart == kApart / 2) key.press();
    if (call % kApart == 0 && call != 0) was_held = key.release() || was_held;
    return false;
  };
  make_run(kit, excel, plan, "Escape during the reports", [&](const Outcome&) {
    key.release();
    kit.results.check("ends early", [&] {
      // A run of everything takes tens of thousands.
      constexpr std::size_t kEarly = 5000;
      const std::size_t made = kit.tracer.cost_of_run("escape").calls;
      if (made <= kEarly) return std::to_string(made) + " calls of Excel";
      if (!was_held) throw CannotBeMade{"this desktop passes no keys on"};
      throw Wrong{std::to_string(made) + " calls of Excel"};
    });
  });
}

void separators(Kit& kit, const Excel& excel) {
  const LateBound& application = excel.application();
  const auto set = [&](const char* decimal, const char* thousands, bool systems) {
    application.put(L"DecimalSeparator", decimal);
    application.put(L"ThousandsSeparator", thousands);
    application.put(L"UseSystemSeparators", systems);
  };
  const Variant decimal = application.get(L"DecimalSeparator"),
                thousands = application.get(L"ThousandsSeparator");
  const bool systems = application.get(L"UseSystemSeparators").truth();
  struct Locale {
    const char *name, *decimal, *thousands;
  };
  for (const Locale& locale : {Locale{"comma", ",", "."}, Locale{"point", ".", ","}}) {
    set(locale.decimal, locale.thousands, false);
    tornados(kit, excel, {.name = std::string("separators-") + locale.name, .everything = false},
             std::string("Separators: decimal ") + locale.name);
  }
  set(decimal.text().c_str(), thousands.text().c_str(), systems);
}

void full_size(Kit& kit, Excel& excel) {
  const RunSize size = kit.options.quick ? kSmallSize : kFullSize;
  excel.close_model();
  const std::string book = excel.add_model();
  const path file = kit.options.out / "full-size.run.json";
  const LateBound sheet = excel.application().object(L"ActiveSheet", L"Worksheet");
  for (std::int32_t row = 1; row <= size.inputs; ++row)
    sheet.object(L"Range", L"Range", {"A" + std::to_string(row)}).put(L"Value2", 99 + row);
  for (std::int32_t row = 1; row <= size.outputs; ++row)
    sheet.object(L"Range", L"Range", {"C" + std::to_string(row)}).put(L"Value2", 1000 * row);
  write_large_run(file, size, book, sheet.get(L"Name").text());
  kit.run = std::make_shared<runfile::Run>(runfile::read_run(file));
  kit.cells = excel.model_cells();
  give_run(file);
  make_run(kit, excel, {.name = "full-size"},
           std::to_string(size.inputs) + " inputs, " + std::to_string(size.steps) + " steps, " +
               std::to_string(size.outputs) + " outputs, all reports",
           [&](const Outcome& outcome) { check_success(kit, outcome); });
}

void make_runs(Kit& kit, Excel& excel) {
  const auto wanted = [&](const wchar_t* run) { return kit.options.only.empty() || kit.options.only == run; };
  const auto one = [&](const wchar_t* run, const auto& made) {
    if (wanted(run)) made(kit, excel);
  };
  one(L"early", all_reports);
  if (wanted(L"late"))
    tornados(kit, excel, {.name = "late", .binding = Binding::kLate, .everything = false},
             "Late-bound client");
  if (wanted(L"script"))
    tornados(kit, excel, {.name = "script", .binding = Binding::kScript, .everything = false}, "Script");
  one(L"error", refused_call);
  one(L"engine-error", refusing_engine);
  one(L"escape", escape);
  kit.results.begin_section("separators", "Separators of other languages");
  if (wanted(L"separators")) kit.results.attempt("are set", [&] { separators(kit, excel); });
  kit.results.begin_section("sizes", "Full size");
  if (wanted(L"full-size")) kit.results.attempt("is made", [&] { full_size(kit, excel); });
}

void with_excel(Kit& kit) {
  kit.results.begin_section("excel", "Excel");
  std::unique_ptr<Excel> excel;
  kit.results.check("starts and opens the model", [&] {
    excel = std::make_unique<Excel>();
    excel->tell(kit.results);
    const path model = kit.options.out / kModel;
    if (!CopyFileW((kit.options.kit / "runs" / kModel).c_str(), model.c_str(), FALSE))
      throw Wrong{"the model is not copied to " + utf8_of(model) + ": error " +
                  std::to_string(GetLastError())};
    kit.run = std::make_shared<runfile::Run>(runfile::read_run(kit.options.kit / "runs" / kRun));
    give_run(kit.options.kit / "runs" / kRun);
    excel->open_model(model);
    kit.cells = excel->model_cells();
    return "Excel " + shown(excel->application(), L"Version") + ", " + std::to_string(kit.cells.size()) +
           " cells, " + hash_of(kit.cells);
  });
  if (kit.cells.empty()) return;
  make_runs(kit, *excel);
  kit.results.begin_section("end", "The end of Excel");
  kit.results.check("it goes when it is told to", [&] {
    const HANDLE process =
        excel->process() == 0 ? nullptr : OpenProcess(SYNCHRONIZE, FALSE, excel->process());
    excel.reset();
    if (process == nullptr) throw CannotBeMade{"it runs in this program's own process"};
    constexpr DWORD kMinute = 60 * 1000;
    const bool gone = WaitForSingleObject(process, kMinute) == WAIT_OBJECT_0;
    CloseHandle(process);
    if (!gone) throw Wrong{"it is still there after a minute: something of it is held"};
    return std::string();
  });
}

// The program of the other width, where this Windows runs it.
void other_width(Kit& kit) {
  kit.results.begin_section("other-width", std::string("The library for ") + kOtherWidth);
  kit.results.check("its checks ran", [&] {
    const path program = kit.options.kit / kOtherWidth / "accept.exe", folder = kit.options.out / kOtherWidth;
    if (!std::filesystem::exists(program)) throw CannotBeMade{"it is not in this kit"};
    std::filesystem::create_directories(folder);
    std::wstring command = L'"' + program.wstring() + L"\" --part --kit \"" + kit.options.kit.wstring() +
                           L"\" --out \"" + folder.wstring() + L'"' +
                           (kit.options.quick ? L" --quick" : L"") +
                           (kit.options.only.empty() ? L"" : L" --only " + kit.options.only);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
      throw CannotBeMade{"this Windows does not run it: error " + std::to_string(GetLastError())};
    constexpr DWORD kHour = 3600 * 1000;
    const bool ended = WaitForSingleObject(process.hProcess, kHour) == WAIT_OBJECT_0;
    if (!ended) TerminateProcess(process.hProcess, 3);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (!ended) throw Wrong{"they had not ended after an hour"};
    kit.results.take_part(folder / "results.json");
    return std::string();
  });
}

Options options_of(int count, wchar_t** arguments) {
  Options options;
  for (int at = 1; at < count; ++at) {
    const std::wstring name = arguments[at];
    const auto value = [&] {
      if (at + 1 == count) throw std::runtime_error(utf8_of(name) + " needs a value");
      return std::filesystem::absolute(arguments[++at]);
    };
    if (name == L"--quick")
      options.quick = true;
    else if (name == L"--part")
      options.part = true;
    else if (name == L"--only")
      options.only = value().filename().wstring();
    else if (name == L"--kit")
      options.kit = value();
    else if (name == L"--out")
      options.out = value();
    else if (name == L"--engine")
      options.engine = value();
    else
      throw std::runtime_error(
          "unknown argument " + utf8_of(name) +
          "; usage: accept [--quick] [--only RUN] [--kit FOLDER] [--out FOLDER] [--engine FILE]");
  }
  if (options.out.empty()) options.out = options.kit / "results";
  std::filesystem::create_directories(options.out);
  return options;
}

int accept(const Options& options) {
  Results results;
  results.fact("Kit", "Made", now_text());
  results.fact("Kit", "Width", kWidth);
  if (!options.part) tell_machine(results);
  {
    Kit kit{options, results, {}, nullptr, {}};
    results.begin_section("library", "The library's file");
    std::optional<Library> library;
    results.check("loads", [&] {
      library.emplace(own_folder() / "OrdvaneResults8.dll");
      return utf8_of(library->file());
    });
    if (library) {
      results.check("is of the kit's version", [&] {
        const std::string version = version_of(library->file());
        if (version != ORDVANE_VERSION) throw Wrong{version + ", expected " ORDVANE_VERSION};
        return version;
      });
      Registered before;
      check_type_library(kit, *library);
      check_engine(kit);
      check_registration(results, *library, before);
      with_excel(kit);
      check_removal(results, *library, before);
    }
    kit.tracer.summarize(results);
    kit.tracer.write(options.out / "calls.csv");
    if (!options.part) other_width(kit);
  }
  results.write(options.out);
  std::printf("%s\n", results.closing_line().c_str());
  return results.failed() ? 1 : 0;
}

}  // namespace
}  // namespace ordvane::acceptance

int wmain(int count, wchar_t** arguments) {
  using namespace ordvane::acceptance;
  int status = 2;
  SetEnvironmentVariableW(L"ORDVANE_QUIET", L"1");  // nobody answers messages
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  try {
    status = accept(options_of(count, arguments));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "accept: %s\n", error.what());
  }
  CoUninitialize();
  return status;
}
