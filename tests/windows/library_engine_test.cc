// The engine through its library: every call must say what the recorded run says, and a library that cannot
// be reached is an error of the call, never a crash.

#include "automation/library_engine.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "automation/ansi.h"
#include "automation/floating_point.h"
#include "host/error.h"
#include "runfile/recorded_engine.h"
#include "runfile/run.h"
#include "support/files.h"
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

// Every call of a whole report goes through the library where the server serves a script; here, what it makes
// of results that are no numbers, of texts in every manner of handing them back, and of what there is not.
TEST(LibraryEngine, SaysWhatTheRecordedRunSays) {
  const path run = kRuns / "odd-values.run.json";
  const auto recorded = runfile::make_recorded_engine(std::make_shared<runfile::Run>(runfile::read_run(run)));
  const auto in_library = library_of_run(run);
  const auto transcript = [](Engine& engine, std::int32_t manner) {
    std::ostringstream out;
    std::int32_t runs = 0, count = 0;
    out << engine.DRL4_GetSimStats(manner, runs, count);
    for (std::int32_t index = -1; index < 9; ++index) {
      std::vector<double> data(static_cast<std::size_t>(count), 0.25);
      out << "\n"
          << index << " "
          << engine.DRL4_GetDoubleInputOrOutputData(manner, 1, index, 0, 0, count - 1, data, 1);
      for (const double value : data)
        out << " " << (std::isnan(value) ? 0 : std::bit_cast<std::uint64_t>(value))
            << engine.DRL4_DoubleIsNaN(value) << engine.DRL4_DoubleIsError(value);
      std::string t[3] = {"kept", "kept", "kept"};
      std::int32_t n[6] = {};
      std::int16_t s[6] = {};
      double low = 0.5, high = 0.5;
      out << " | "
          << engine.DRL7_GetOrderedInputInfoVB(manner, 1, index, t[0], t[1], t[2], n[0], n[1], s[0], n[2],
                                               n[3], n[4], n[5], s[1], s[2], s[3], s[4], low, high, s[5]);
      for (const std::string& text : t) out << " " << text;
      for (const auto number : n) out << " " << number;
      for (const auto number : s) out << " " << number;
      out << " " << low << " " << high;
    }
    return out.str();
  };
  for (const std::int32_t manner : {1, 2, 3})
    EXPECT_EQ(transcript(*in_library, manner),
              automation::from_ansi(automation::to_ansi(transcript(*recorded, manner))))
        << "texts handed back in manner " << manner;
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

// A folder of its own for each test, with a name that is not in any one code page.
class Unreachable : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(folder_); }
  void TearDown() override {
    std::error_code ignored;  // a library that is loaded stays
    std::filesystem::remove_all(folder_, ignored);
  }
  path folder_ = std::filesystem::temp_directory_path() / L"Ordv\u00E4ne \u0394 \u6570";
};

// The stand-in with the machine field of its header changed, so that it is of the other width.
void write_other_width(const path& file) {
  std::string bytes = file_text(stand_in());
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
  for (const Case& each : {Case{"no such file", folder_ / "missing.dll", host::errc::kFileNotFound},
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

TEST_F(Unreachable, NotByItsFolderNorByWhatItNeeds) {
  SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", (kRuns / "odd-values.run.json").c_str());
  const auto copy = [&](const path& from, const char* name) {
    std::filesystem::copy_file(from, folder_ / name, std::filesystem::copy_options::overwrite_existing);
    return folder_ / name;
  };
  EXPECT_EQ(library(copy(stand_in(), "own.dll"))->DRL4_DoubleIsNaN(NAN), 1);
  const path parts = stand_in().parent_path() / "engine_parts";
  copy(parts / "engine_helper.dll", "engine_helper.dll");
  EXPECT_EQ(library(copy(parts / "engine_with_helper.dll", "with_helper.dll"))->DRL4_Init(40), 42);
}

TEST_F(Unreachable, NotWhereTheHostHasIt) {
  SetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", (kRuns / "odd-values.run.json").c_str());
  std::filesystem::copy_file(stand_in(), folder_ / "hosts.dll",
                             std::filesystem::copy_options::overwrite_existing);
  ASSERT_NE(LoadLibraryW((folder_ / "hosts.dll").c_str()), nullptr);
  EXPECT_EQ(library("C:\\elsewhere\\hosts.dll")->DRL4_DoubleIsNaN(NAN), 1);
}

// The stand-in's initialisation leaves another precision and rounding, as libraries of other compilers do.
TEST(LibraryEngine, KeepsWhatFloatingPointNumbersComeTo) {
  const auto engine = library_of_run(kRuns / "odd-values.run.json");
  std::fesetenv(FE_DFL_ENV);  // whatever the cases before have called
  const automation::FloatingPointState before;
  EXPECT_EQ(engine->DRL4_Init(1), 0);
  EXPECT_TRUE(automation::FloatingPointState() == before);
}

}  // namespace
}  // namespace ordvane::test
