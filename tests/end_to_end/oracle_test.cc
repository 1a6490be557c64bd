// The command's report workbooks against an independent recalculation of every number in them, and against
// other readers.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "end_to_end/programs.h"
#include "support/open_xml_sdk.h"

namespace ordvane::test {
namespace {

namespace fs = std::filesystem;

const fs::path kHere = kSource / "tests/end_to_end";
const fs::path kRecorded = kSource / "../shared/runs";

CommandResult report(const fs::path& run, const fs::path& workbook, const std::string& options) {
  return ordvane("report " + quoted(run) + " -o " + quoted(workbook) + " --overwrite --quiet " + options);
}

// What the terminal says of each simulation, as data: 1.json and so on.
void show(const fs::path& run, const fs::path& folder) {
  for (int simulation = 1;; ++simulation) {
    const std::string number = std::to_string(simulation);
    const CommandResult shown = ordvane("show --json --simulation " + number + " " + quoted(run));
    if (simulation > 1 && shown.status != 0) return;
    ASSERT_EQ(shown.status, 0) << shown.output;
    std::ofstream(folder / (number + ".json")) << shown.output;
  }
}

CommandResult oracle(const fs::path& run, const fs::path& workbook, const std::string& options) {
  if (!kOthersAreAsked) return {};
  return script("tests/end_to_end/oracle.py", {run, workbook}, options);
}

// The example, the runs made for this test, and the recorded runs of real models that are at hand.
std::vector<fs::path> run_files() {
  std::vector<fs::path> files = {kExample};
  for (const fs::path& folder : {kHere / "runs", kRecorded}) {
    if (!fs::exists(folder)) continue;
    for (const auto& entry : fs::directory_iterator(folder))
      if (entry.path().string().ends_with(".run.json")) files.push_back(entry.path());
  }
  std::sort(files.begin() + 1, files.end());
  return files;
}

std::string name_of(const testing::TestParamInfo<fs::path>& info) {
  std::string name = info.param.stem().stem().string();
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

class Reports : public testing::TestWithParam<fs::path> {
 protected:
  // The workbook with every report of the run.
  fs::path workbook(const std::string& options = "") {
    const fs::path path = folder_ / "reports.xlsx";
    fs::remove(path);
    const CommandResult reported = report(GetParam(), path, "--all " + options);
    EXPECT_EQ(reported.status, 0) << reported.output;
    return path;
  }

  TemporaryFolder folder_;
};

TEST_P(Reports, ShowWhatTheRunSays) {
  show(GetParam(), folder_.path());
  for (const char* options : {"", "--percent --low-color none", "--max-inputs 4 --low-color 1A2B3C",
                              "--threshold 0.1", "--threshold 500%", "--percent --all-inputs"}) {
    SCOPED_TRACE(options);
    const CommandResult compared =
        oracle(GetParam(), workbook(options), options + (" --shown " + folder_.path().string()));
    EXPECT_EQ(compared.status, 0) << compared.output;
  }
}

// Of the example and of the models: the runs made for these tests have inputs without names.
TEST(Exchange, SaysWhatTheRunsSay) {
  bool any_model = false;
  for (const fs::path& run : run_files()) {
    if (run.parent_path() == kHere / "runs") continue;
    if (!kOthersAreAsked && run != kExample) continue;
    any_model = any_model || run != kExample;
    const CommandResult compared =
        script("tests/end_to_end/exchange_check.py", {ORDVANE_COMMAND, kSource, run});
    EXPECT_EQ(compared.status, 0) << run << "\n" << compared.output;
  }
  if (!any_model && kOthersAreAsked)
    GTEST_SKIP() << "only the example was compared: there are no recorded runs in " << kRecorded;
}

#ifndef ORDVANE_SANITIZED  // about nothing but the answers of other programs
TEST_P(Reports, AreValid) {
  EXPECT_EXTERNAL(validate_xlsx(workbook()));
}

TEST_P(Reports, PassTheOpenXmlSdk) {
  EXPECT_EXTERNAL(open_xml_sdk_accepts(workbook()));
}
#endif

INSTANTIATE_TEST_SUITE_P(Of, Reports, testing::ValuesIn(run_files()), name_of);

#ifndef ORDVANE_SANITIZED
TEST(AllReports, OpenInLibreOffice) {
  const TemporaryFolder folder;
  std::vector<fs::path> books;
  fs::path printed;  // the example's alone: it takes as long as reading all the others
  for (const fs::path& run : run_files()) {
    const fs::path book = folder / (run.stem().stem().string() + ".xlsx");
    ASSERT_EQ(report(run, book, "--all").status, 0);
    if (run == kExample)
      printed = book;
    else
      books.push_back(book);
  }
  EXPECT_EXTERNAL(libreoffice_opens(books, "csv"));
  EXPECT_EXTERNAL(libreoffice_opens({printed}));
}
#endif

#ifndef ORDVANE_SANITIZED  // about scripts of ours alone
// A comparison that cannot fail proves nothing: a run that differs in the last digit of one number must be
// noticed.
TEST(Oracle, NoticesOneChangedDigit) {
  const struct {
    const char *values, *number;
  } kCases[] = {{"solar-plant.run.csv", "129047.24316653486"},
                {"solar-plant.run.groups.csv", "-803277.7499046503"}};
  const TemporaryFolder folder;
  ASSERT_EQ(report(kExample, folder / "reports.xlsx", "--all").status, 0);
  show(kExample, folder.path());
  for (const auto& c : kCases) {
    for (const char* file : {"solar-plant.run.json", "solar-plant.run.csv", "solar-plant.run.groups.csv"})
      fs::copy_file(kExample.parent_path() / file, folder / file, fs::copy_options::overwrite_existing);
    std::string values = file_text(folder / c.values);
    const std::string number = c.number;
    const std::size_t at = values.find(number);
    ASSERT_NE(at, std::string::npos) << number;
    values[at + number.size() - 1] = '9';
    std::ofstream(folder / c.values) << values;
    const CommandResult compared =
        oracle(folder / "solar-plant.run.json", folder / "reports.xlsx", "--shown " + folder.path().string());
    EXPECT_EQ(compared.status, 1) << compared.output;
    EXPECT_NE(compared.output.find(number + ", expected "), std::string::npos) << compared.output;
    EXPECT_NE(compared.output.find("show, simulation 1"), std::string::npos) << compared.output;
  }
}
#endif

#ifndef ORDVANE_SANITIZED
// The example in the repository is made from what is in the repository, whatever calculates it. Who that was
// stands in the run.
TEST(SolarPlant, IsMadeByItsScriptAndSweptAsRecorded) {
  const TemporaryFolder folder;
  const fs::path model = folder / "solar-plant.xlsx";
  const fs::path recorded = folder / "solar-plant.run.json";
  const CommandResult made = script("examples/make_solar_plant.py", {model});
  ASSERT_EQ(made.status, 0) << made.output;
  const auto description = [](const fs::path& run) {
    auto tree = nlohmann::json::parse(file_text(run));
    tree.erase("calculation");
    return tree;
  };
  for (const char* how : {" --verify none", " --libreoffice"}) {
    SCOPED_TRACE(how);
    const CommandResult swept =
        ordvane("sweep --quiet --overwrite " + quoted(model) + " " +
                quoted(kExample.parent_path() / "solar-plant.whatif.json") + " -o " + quoted(recorded) + how);
    ASSERT_EQ(swept.status, 0) << swept.output;
    EXPECT_EQ(description(recorded), description(kExample));
    for (const char* file : {"solar-plant.run.csv", "solar-plant.run.groups.csv"})
      EXPECT_TRUE(file_text(folder / file) == file_text(kExample.parent_path() / file)) << file;
  }
}
#endif

}  // namespace
}  // namespace ordvane::test
