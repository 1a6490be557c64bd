// The library as it is installed: programs from outside are built with it and run, and so is what the
// documentation shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "end_to_end/programs.h"

namespace ordvane::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const fs::path kExamples = kSource / "examples";
const fs::path kPlant = kExamples / "solar-plant";

// What is built has to be built as the library is.
#ifdef ORDVANE_SANITIZED
constexpr const char* kFlags = "CFLAGS=-fsanitize=address,undefined CXXFLAGS=-fsanitize=address,undefined ";
constexpr const char* kCompile = " -fsanitize=address,undefined ";
constexpr const char* kPython =
    "ASAN_OPTIONS=detect_leaks=0 LD_PRELOAD=\"$(g++ -print-file-name=libasan.so) "
    "$(g++ -print-file-name=libubsan.so)\" /usr/bin/python3 -B ";
#else
constexpr const char* kFlags = "";
constexpr const char* kCompile = " ";
constexpr const char* kPython = "/usr/bin/python3 -B ";
#endif

class InstalledPackage : public testing::Test {
 protected:
  // Below a prefix that nothing else is in.
  void SetUp() override {
    run_here("cmake --install " ORDVANE_BUILD_DIR " --prefix " + prefix_);
    for (const char* file :
         {"solar-plant.run.json", "solar-plant.run.csv", "solar-plant.run.groups.csv", "solar-plant.xlsx"})
      fs::copy_file(kPlant / file, folder_ / file);
  }

  // In the folder of the test; what it prints.
  std::string run_here(const std::string& command) {
    const CommandResult run =
        run_command("cd " + shell_quoted(folder_.path().string()) + " && export PKG_CONFIG_PATH=" + prefix_ +
                    "/" + library_folder_ + "/pkgconfig LD_LIBRARY_PATH=" + prefix_ + "/" + library_folder_ +
                    " PYTHONPATH=" + prefix_ + "/" ORDVANE_PYTHON_DIR " && " + command);
    EXPECT_EQ(run.status, 0) << command << '\n' << run.output;
    return run.output;
  }
  void build(const fs::path& project) {
    run_here(std::string(kFlags) + "cmake -G Ninja -S " + shell_quoted(project.string()) +
             " -B built -DCMAKE_PREFIX_PATH=" + prefix_ + " && cmake --build built");
  }
  std::string text_of(const std::string& name) { return file_text(folder_ / name); }

  const TemporaryFolder folder_;
  const std::string prefix_ = (folder_ / "prefix").string();
  const std::string library_folder_ = ORDVANE_LIBRARY_DIR;
};

TEST_F(InstalledPackage, BuildsTheExamplesInEveryLanguage) {
  build(kExamples / "embed");
  const std::string pkg_config = std::string(kCompile) + "$(pkg-config --cflags --libs ordvane) -lm";
  run_here("g++ -std=c++20 " + (kExamples / "embed/embed.cc").string() + " -o from_pc" + pkg_config);
  run_here("cc -std=c99 -Wall -Wextra -pedantic -Werror " + (kExamples / "embed/embed.c").string() +
           " -o from_pc_c" + pkg_config);
  const std::string arguments = " solar-plant.run.json reports.xlsx";
  const std::string told = run_here("built/embed" + arguments);
  const std::string workbook = text_of("reports.xlsx");
  EXPECT_THAT(told, HasSubstr("1. Feed-in price"));
  EXPECT_GT(workbook.size(), 10000U);
  for (const std::string& program :
       {std::string("built/embed_static"), std::string("built/embed_c"), std::string("./from_pc"),
        std::string("./from_pc_c"), kPython + (kExamples / "embed/embed.py").string()}) {
    fs::remove(folder_ / "reports.xlsx");
    EXPECT_EQ(run_here(program + arguments), told) << program;
    EXPECT_TRUE(text_of("reports.xlsx") == workbook) << program;
  }
  EXPECT_THAT(run_here("built/ask solar-plant.xlsx"), HasSubstr("74 per MWh: 7"));
  EXPECT_THAT(run_here("prefix/bin/ordvane --version"),
              HasSubstr(run_here("pkg-config --modversion ordvane")));
}

// The blocks of a language on a page, in their order; of C and C++ the inclusions apart.
struct Snippets {
  std::string inclusions, code;
};

Snippets snippets_of(const fs::path& page, const std::string& language) {
  std::ifstream file(page);
  Snippets snippets;
  bool inside = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("```")) {
      inside = line == "```" + language;
    } else if (inside) {
      (line.starts_with("#include") ? snippets.inclusions : snippets.code) += line + '\n';
    }
  }
  EXPECT_NE(snippets.code, "") << language;
  return snippets;
}

TEST_F(InstalledPackage, RunsWhatTheDocumentationShows) {
  const fs::path page = kSource / "docs/library.md";
  const auto write_program = [&](const std::string& name, const std::string& language) {
    const Snippets snippets = snippets_of(page, language);
    std::ofstream(folder_ / name) << snippets.inclusions << "int main(void) {\n"
                                  << snippets.code << "return 0;\n}\n";
  };
  write_program("report.cc", "cpp");
  write_program("report.c", "c");
  std::ofstream(folder_ / "CMakeLists.txt") << snippets_of(page, "cmake").code;
  std::ofstream(folder_ / "report.py") << snippets_of(page, "python").code;

  build(folder_.path());
  const std::string told = run_here("built/report");
  EXPECT_THAT(told, HasSubstr("1. Feed-in price: 1.58112e+06"));
  EXPECT_THAT(told, HasSubstr("cancelled: "));
  EXPECT_TRUE(text_of("profit.xlsx") == text_of("again.xlsx"));
  run_here("export CC='cc" + std::string(kCompile) + "' && " +
           [](std::string command) { return command.replace(0, 2, "$CC"); }(snippets_of(page, "sh").code));
  EXPECT_EQ(run_here("./report"), "1. Volume: 60\n2. Price: 16\nAt 80: 326043\n");
  const std::string told_by_python = run_here(kPython + std::string("report.py"));
  EXPECT_THAT(told_by_python, HasSubstr("1. Volume: 60\n2. Price: 16\nWritten(sheets="));
  EXPECT_THAT(told_by_python, HasSubstr("file_exists - "));
  EXPECT_THAT(told_by_python, HasSubstr("\n4.0\n")) << "the interaction";
}

// Programs must not come to depend on what is inside.
TEST_F(InstalledPackage, OffersItsInterfaceOnly) {
  std::istringstream symbols(run_here("nm -D --defined-only " + prefix_ + "/" + library_folder_ +
                                      "/libordvane.so.0 | cut -d' ' -f3"));
  for (std::string symbol; std::getline(symbols, symbol);) {
    symbol.resize(std::min(symbol.size(), symbol.find('@')));
    const bool is_ours = symbol.starts_with("ordvane_") || symbol.starts_with("ORDVANE_") ||
                         symbol.find("7ordvane") != std::string::npos;
    EXPECT_TRUE(is_ours) << symbol;
    for (const char* inside :
         {"8embedded", "7runfile", "4host", "4xlsx", "6office", "5model", "5sweep", "4calc"})
      EXPECT_EQ(symbol.find(inside), std::string::npos) << symbol;
  }
  EXPECT_EQ(run_here("grep -rhoE '#include .*' prefix/include | grep -E '[\"]' | grep -vE "
                     "'\"ordvane(/[a-z]+)?\\.h\"' || true"),
            "")
      << "headers include each other and the standard library";
}

}  // namespace
}  // namespace ordvane::test
