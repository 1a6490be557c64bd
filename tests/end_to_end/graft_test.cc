// `ordvane report --into` on real workbooks, judged by a script that knows nothing of its code: parts byte by
// byte, ids, looks, and values that LibreOffice calculates anew.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "end_to_end/programs.h"

namespace ordvane::test {
namespace {

namespace fs = std::filesystem;

const fs::path kShared = kSource / "../shared";

CommandResult into(const fs::path& run, const fs::path& workbook, const std::string& options) {
  return ordvane("report " + quoted(run) + " --into " + quoted(workbook) + " " + options);
}

CommandResult checked(const fs::path& before, const fs::path& after, const std::string& options = "") {
  if (!kOthersAreAsked) return {};
  return script("tests/end_to_end/graft_check.py", {before, after}, options);
}

// Faults that a workbook has of its own are not ours; the tool names the file in each line.
std::string faults(const fs::path& workbook) {
  if (!kOthersAreAsked) return "";
  const fs::path tool = kShared / "tools/validate-xlsx";
  if (!fs::exists(tool)) return "";
  return run_command("cd " + quoted(workbook.parent_path()) + " && " + quoted(tool) + " --all " +
                     quoted(workbook.filename()) + " | sed 's/^[^:]*: //'")
      .output;
}

struct Model {
  const char* what;
  const char* name;
  bool is_shared;       // lies beside the source folder
  bool by_libreoffice;  // saved anew by it
};
const Model kModels[] = {
    {"mortgage", "mortgage-calculator", true, false}, {"plant", "h2-ccgt-lcoe", true, false},
    {"project", "reopt-proforma", true, false},       {"retirement", "retirement-salary", true, false},
    {"openpyxl", "solar-plant", false, false},        {"LibreOffice", "mortgage-calculator", true, true}};

class IntoModel : public testing::TestWithParam<Model> {
 protected:
  void SetUp() override {
    const Model& model = GetParam();
    const fs::path original = kShared / "models" / (std::string(model.name) + ".xlsx");
    if (model.is_shared && !fs::exists(original)) GTEST_SKIP() << "no models beside the source folder";
    if (run_command("command -v soffice").status != 0) GTEST_SKIP() << "LibreOffice is not installed";
    run_ = model.is_shared ? kShared / "runs" / (std::string(model.name) + ".run.json") : kExample;
    before_ = folder_ / (std::string(model.name) + "-before.xlsx");
    const CommandResult made =
        model.by_libreoffice ? run_command("cd " + quoted(folder_.path()) +
                                           " && soffice --headless -env:UserInstallation=file://" +
                                           (folder_ / "profile").string() + " --convert-to xlsx " +
                                           quoted(original) + " && mv *.xlsx " + quoted(before_))
        : model.is_shared    ? run_command("cp " + quoted(original) + " " + quoted(before_))
                             : script("examples/make_solar_plant.py", {before_});
    ASSERT_EQ(made.status, 0) << made.output;
    fs::permissions(before_, fs::perms{0640});
    after_ = folder_ / (std::string(model.name) + ".xlsx");
    fs::copy_file(before_, after_);
  }

  TemporaryFolder folder_;
  fs::path run_, before_, after_;
};

TEST_P(IntoModel, LeavesTheModelAsItWas) {
  const std::string own_faults = faults(before_);
  std::string said;
  std::uintmax_t size = 0;
  // Added, the same once more in the place of the first, and beside them.
  for (const char* options : {"--all", "--all --overwrite", "--tornado"}) {
    const CommandResult reported = into(run_, after_, options);
    ASSERT_EQ(reported.status, 0) << reported.output;
    const bool again = std::string(options).ends_with("--overwrite");
    if (again) {
      EXPECT_EQ(reported.output, said.replace(said.find(": added "), 8, ": replaced ")) << "as many sheets";
      EXPECT_NEAR(static_cast<double>(fs::file_size(after_)), static_cast<double>(size), 2000);
    }
    said = reported.output;
    size = fs::file_size(after_);
    EXPECT_EQ(fs::status(after_).permissions(), fs::perms{0640});
  }
  // The last holds what the first two made and is judged for all.
  const CommandResult judged = checked(before_, after_, "--recalculated");
  EXPECT_EQ(judged.status, 0) << judged.output;
  EXPECT_EQ(faults(after_), own_faults);
}

TEST(GraftCheck, SeesADifference) {
  const TemporaryFolder folder;
  const fs::path after = folder / "after.xlsx";
  fs::copy_file(kExample.parent_path() / "solar-plant.xlsx", after);
  ASSERT_EQ(into(kExample, after, "--tornado").status, 0);
  EXPECT_EQ(checked(after, kExample.parent_path() / "solar-plant.xlsx").status != 0, kOthersAreAsked);
}

INSTANTIATE_TEST_SUITE_P(Models, IntoModel, testing::ValuesIn(kModels),
                         [](const auto& model) { return std::string(model.param.what); });

// The names of reports may be those of the user's own sheets, which stay.
TEST(IntoAWorkbook, ReplacesReportsOnly) {
  const TemporaryFolder folder;
  const fs::path book = folder / "own.xlsx";
  const std::string python = "/usr/bin/python3 -c ";
  const char* kChecks = R"py(
names = book.sheetnames
assert names[:2] == ["summary", "Look"] and book["summary"]["A1"].value == "mine", names
assert names.count("Summary (2)") == 1 and "Summary (3)" not in names, names
assert book["Look"]["A1"].value == "='Summary (2)'!A1" and book.active.title == "summary"
)py";
  const CommandResult made = run_command(
      python + shell_quoted("import openpyxl; b = openpyxl.Workbook(); b.active.title = 'summary'; "
                            "b.active['A1'] = 'mine'; s = b.create_sheet('Look'); "
                            "s['A1'] = \"='Summary (2)'!A1\"; b.save('" +
                            book.string() + "')"));
  if (made.status != 0) GTEST_SKIP() << "openpyxl is not installed";
  for (const char* options : {"--tornado", "--tornado --overwrite", "--tornado --overwrite"}) {
    const CommandResult reported = into(kExample, book, options);
    ASSERT_EQ(reported.status, 0) << reported.output;
    EXPECT_EXTERNAL(openpyxl_reads(book, kChecks));
  }
}

}  // namespace
}  // namespace ordvane::test
