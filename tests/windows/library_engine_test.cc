// The engine through its library: every call must say what the recorded run says, and a library that cannot
// be reached is an error of the call, never a crash.

#include "automation/library_engine.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "automation/ansi.h"
#include "host/error.h"
#include "runfile/recorded_engine.h"
#include "runfile/run.h"
#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

using engine::Engine;
using std::filesystem::path;

// Under Wine the sources are on the drive of the programs built from them.
const path kRuns = path(server_path()).root_name() / path(ORDVANE_SOURCE_DIR) / "tests/end_to_end/runs";

path stand_in() {
  return path(server_path()).parent_path() / "DRLLIB8_X86.dll";
}

std::string text_of(const path& file) {
  return automation::utf8(file.c_str(), static_cast<UINT>(file.native().size()));
}

std::shared_ptr<Engine> library(const path& file) {
  auto engine = automation::make_library_engine();
  engine->load_library(text_of(file));
  return engine;
}

std::shared_ptr<Engine> library_of_run(const path& run) {
  SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", run.c_str());
  return library(stand_in());
}

// What an engine says of a run's values and items, and what it writes when it is asked for what there is not.
std::string transcript(Engine& engine, std::int32_t hVars) {
  std::ostringstream out;
  const auto line = [&out](const char* call, std::int32_t status, const auto&... values) {
    out << call << " -> " << status;
    ((out << " | " << values), ...);
    out << "\n";
  };
  const auto numbers = [&out](const auto& list) {
    for (const auto each : list) out << " " << each;
    out << "\n";
  };

  std::int32_t runs = -1, count = -1, inputs = -1, outputs = -1;
  line("stats", engine.DRL4_GetSimStats(hVars, runs, count), runs, count);
  line("numbers", engine.DRL4_GetNumInputsAndOutputs(hVars, 0, inputs, outputs), inputs, outputs);
  line("type", engine.DRL4_GetSamplingType(hVars), engine.DRL4_SetSamplingType(hVars, 7),
       engine.DRL4_GetSamplingType(hVars));
  for (std::int32_t kind : {0, 1, 2})
    for (std::int32_t index = -1; index <= std::max(inputs, outputs); ++index)
      for (std::int32_t run = 0; run <= runs; ++run) {
        std::vector<double> data(static_cast<std::size_t>(count), 0.25);
        line("data", engine.DRL4_GetDoubleInputOrOutputData(hVars, kind, index, run, 0, count - 1, data, 1));
        for (const double value : data)
          out << " " << std::hex << (std::isnan(value) ? 0 : std::bit_cast<std::uint64_t>(value)) << std::dec
              << (engine.DRL4_DoubleIsNaN(value) ? "n" : "") << (engine.DRL4_DoubleIsError(value) ? "e" : "");
        out << "\n";
      }

  for (std::int32_t index = -1; index <= std::max(inputs, outputs); ++index) {
    std::string t[4] = {"kept", "kept", "kept", "kept"};
    std::int32_t n[8] = {};
    std::int16_t s[6] = {};
    double low = 0.5, high = 0.5;
    line("input",
         engine.DRL7_GetOrderedInputInfoVB(hVars, 1, index, t[0], t[1], t[2], n[0], n[1], s[0], n[2], n[3],
                                           n[4], n[5], s[1], s[2], s[3], s[4], low, high, s[5]),
         t[0], t[1], t[2], low, high);
    numbers(n);
    numbers(s);
    line("output",
         engine.DRL7_GetOrderedOutputInfoVB(hVars, 1, index, t[0], t[1], t[2], n[0], n[1], s[0], n[2], n[3],
                                            n[4], n[5], s[1], s[2], s[3], t[3], n[6], n[7]),
         t[0], t[1], t[2], t[3]);
    numbers(n);
    numbers(s);
    for (std::int32_t kind : {0, 1}) {
      std::int32_t items = -1;
      line("cell",
           engine.DRL7_GetCellWithInputOrOutputVB(hVars, 1, kind, n[2], n[3], index, 0, 1, t[0], t[1], items),
           t[0], t[1], items);
      line("book", engine.DRL7_GetWorkbookWithInputOrOutputVB(hVars, 1, kind, index, items, t[0]), t[0],
           items);
      line("sheet", engine.DRL7_GetSheetWithInputOrOutputVB(hVars, 1, kind, n[2], index, t[1]), t[1]);
    }
  }
  return out.str();
}

TEST(LibraryEngine, SaysWhatTheRecordedRunSays) {
  for (const char* run : {"odd-values.run.json", "products-and-sums.run.json", "three-simulations.run.json"})
    for (std::int32_t manner : {1, 2, 3}) {  // how texts are handed back
      const auto recorded =
          runfile::make_recorded_engine(std::make_shared<runfile::Run>(runfile::read_run(kRuns / run)));
      const std::string expected = transcript(*recorded, manner);
      SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", nullptr);  // the same run again is a new engine
      EXPECT_EQ(library(stand_in())->DRL4_GetSamplingType(1), 1);
      EXPECT_EQ(transcript(*library_of_run(kRuns / run), manner),
                automation::from_ansi(automation::to_ansi(expected)))
          << run << ", texts handed back in manner " << manner;
    }
}

TEST(LibraryEngine, HandsTheContextBackAndKeepsTheLastError) {
  const auto engine = library_of_run(kRuns / "products-and-sums.run.json");
  std::int32_t a = 0, b = 0, c = 0, d = 0, e = 5, f = 6, g = 7;
  std::string h = "Größe €";
  EXPECT_EQ(engine->DrllibInitLibraryVB("", "", a, b, c, d), 0);
  EXPECT_EQ(engine->DrllibFreeLibraryVB(a, b, c, d, e, f, g, h), 0);
  EXPECT_EQ(h, "Größe €+");
  EXPECT_EQ(engine->DrllibFreeLibraryVB(a, b, c, d, e, f, g, h), 1) << "released twice";
  EXPECT_EQ(std::vector({e, f, g}), std::vector({5, 6, 7}));
  EXPECT_EQ(engine->DRL4_Init(1234), 0);
  EXPECT_EQ(automation::last_system_error(*engine), 1234U);
}

TEST(Ansi, ConvertsWhatTheCodePageHas) {
  if (GetACP() != 1252) GTEST_SKIP() << "the ANSI code page is " << GetACP() << ", not 1252";
  struct Case {
    const char *utf8, *ansi, *back;
  };
  for (const Case& each : {Case{"", "", ""},
                           {"Größe €",
                            "Gr\xF6\xDF"
                            "e \x80",
                            "Größe €"},
                           {"Δ 数", "? ?", "? ?"}}) {
    EXPECT_EQ(automation::to_ansi(each.utf8), each.ansi);
    EXPECT_EQ(automation::from_ansi(each.ansi), each.back);
  }
}

// A folder of its own for each test, with a name that is not ASCII.
class Unreachable : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(folder_); }
  void TearDown() override {
    std::error_code ignored;  // a library that is loaded stays
    std::filesystem::remove_all(folder_, ignored);
  }
  path folder_ = std::filesystem::temp_directory_path() / L"Ordv\u00E4ne";
};

// The stand-in with the machine field of its header changed, so that it is of the other width.
void write_other_width(const path& file) {
  std::ifstream in(stand_in(), std::ios::binary);
  std::string bytes(std::istreambuf_iterator<char>(in), {});
  const std::size_t header = std::bit_cast<std::uint32_t>(
      std::array{bytes.at(0x3C), bytes.at(0x3D), bytes.at(0x3E), bytes.at(0x3F)});
  const bool wide = sizeof(void*) == 8;
  bytes.at(header + 4) = wide ? '\x4C' : '\x64';
  bytes.at(header + 5) = wide ? '\x01' : '\x86';
  std::ofstream(file, std::ios::binary) << bytes;
}

TEST_F(Unreachable, IsAnErrorOfTheCall) {
  std::ofstream(folder_ / "text.dll") << "no library";
  write_other_width(folder_ / "width.dll");
  struct Case {
    const char* what;
    path file;
    std::int32_t code;
  };
  for (const Case& each : {Case{"no such file", folder_ / "DRLLIB8_X86.dll", host::errc::kFileNotFound},
                           {"not a library", folder_ / "text.dll", host::errc::kFileNotFound},
                           {"of the other width", folder_ / "width.dll", host::errc::kFileNotFound},
                           {"without the entry point", server_path(), host::errc::kEntryPointNotFound}}) {
    const auto engine = library(each.file);  // says nothing yet
    for (int time : {1, 2}) try {
        engine->DRL4_DoubleIsNaN(0);
        ADD_FAILURE() << each.what << ": the call succeeded";
      } catch (const host::Error& error) {
        EXPECT_EQ(error.code(), each.code) << each.what << ", call " << time;
        EXPECT_NE(error.description().find(text_of(each.file)), std::string::npos) << error.description();
      }
    engine->load_library(text_of(stand_in()));
    EXPECT_EQ(engine->DRL4_DoubleIsNaN(NAN), 1) << each.what << ": a library that is there, afterwards";
  }
  EXPECT_THROW(automation::make_library_engine()->DRL4_DoubleIsNaN(0), host::Error) << "no library at all";
}

TEST_F(Unreachable, NotByItsFolder) {
  SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", (kRuns / "odd-values.run.json").c_str());
  std::filesystem::copy_file(stand_in(), folder_ / "DRLLIB8_X86.dll",
                             std::filesystem::copy_options::overwrite_existing);
  EXPECT_EQ(library(folder_ / "DRLLIB8_X86.dll")->DRL4_DoubleIsNaN(NAN), 1);
}

}  // namespace
}  // namespace ordvane::test
