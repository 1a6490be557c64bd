// Whole packages: valid, readable by others, the same every time; files that appear whole or not at all.
#include "xlsx/save.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>

#include "host/error.h"
#include "sample_book.h"
#include "support/external_checks.h"
#include "support/open_xml_sdk.h"
#include "xlsx/whole_file.h"

namespace ordvane::xlsx {
namespace {

using test::file_text;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::set<std::string> names_in(const test::TemporaryFolder& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    names.insert(entry.path().filename());
  return names;
}

std::string message_of(const std::function<void()>& step, std::int32_t code = host::errc::kHostRefused) {
  try {
    step();
  } catch (const host::Error& error) {
    EXPECT_EQ(error.code(), code);
    return error.description();
  }
  return "no error";
}

// Above the size from which cells are written without their names, with gaps.
office::BookModel large_book() {
  office::BookModel book;
  auto sheet = add_sheet(book, "Large", {});
  office::RowBand band(3, 2001, 2, 101);
  for (std::size_t cell = 0; cell < band.cells.size(); ++cell)
    if (cell % 7 != 3) band.cells[cell] = {host::CellKind::kNumber, static_cast<double>(cell)};
  sheet->bands.push_back(band);
  return book;
}

class Packages : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<test::TemporaryFolder>();
    save(full_book(), full());
    save(large_book(), large());
  }
  static void TearDownTestSuite() { folder_.reset(); }
  static std::filesystem::path full() { return *folder_ / "full & all.xlsx"; }
  static std::filesystem::path large() { return *folder_ / "large.xlsx"; }

  static std::unique_ptr<test::TemporaryFolder> folder_;
};
std::unique_ptr<test::TemporaryFolder> Packages::folder_;

TEST_F(Packages, AreValid) {
  EXPECT_EXTERNAL(test::validate_xlsx(full()));
  EXPECT_EXTERNAL(test::validate_xlsx(large()));
}

TEST_F(Packages, PassTheOpenXmlSdk) {
  EXPECT_EXTERNAL(test::open_xml_sdk_accepts(full()));
}

TEST_F(Packages, OpenInLibreOffice) {
  EXPECT_EXTERNAL(test::libreoffice_opens({full()}));
}

TEST_F(Packages, OpenInOpenpyxl) {
  EXPECT_EXTERNAL(test::openpyxl_reads(full(), R"(
assert book.sheetnames == ["Tornado 'A' 1", "Spider", "It's a message & more", "Styles"], book.sheetnames
assert book.active.title == "Spider"
assert [len(sheet._charts) for sheet in book] == [1, 1, 0, 0]
sheet = book["Styles"]
assert sheet["B3"].value == " two  blanks " and sheet["C4"].value == "#NUM!" and sheet["D4"].value == 12345678901
assert sheet["C2"].value == '=C4&"<"' and sheet["D2"].value is True
assert sheet["B2"].font.b and sheet["B2"].fill.fgColor.rgb == "FF2F6DB5" and sheet["B2"].alignment.wrap_text
assert sheet["D5"].value.year == 2020 and not sheet["D5"].protection.locked
assert sheet["D4"].comment.text.startswith("A note of several lines.\nThe second")
assert sheet.freeze_panes == "B4" and sheet.print_title_rows == "$2:$3" and sheet.print_title_cols == "$A:$B" and "$A$1:$H$20" in str(sheet.print_area) and sheet.row_dimensions[2].height == 30
assert book.properties.title == "Reports" and book.properties.creator == "Ordvane"
cached = openpyxl.load_workbook(sys.argv[1], data_only=True)["Styles"]
assert cached["C5"].value == 0.1 + 0.2
)"));
  EXPECT_EXTERNAL(test::openpyxl_reads(large(), R"(
cells = list(book["Large"].iter_rows(min_row=3, min_col=2, max_col=102, values_only=True))
flat = [value for row in cells for value in row]
assert len(flat) == 2001 * 101
assert all(value == (None if i % 7 == 3 else i) for i, value in enumerate(flat))
)"));
}

TEST_F(Packages, AreTheSameEveryTimeAndOnAnyNumberOfThreads) {
  SaveOptions options;
  std::set<std::string> different = {file_text(full())}, large_ones = {file_text(large())};
  for (const unsigned threads : {1U, 2U, 5U}) {
    options.threads = threads;
    different.insert(package(full_book(), options));
    large_ones.insert(package(large_book(), options));
  }
  EXPECT_EQ(different.size(), 1U);
  EXPECT_EQ(large_ones.size(), 1U);
  options.created = std::chrono::sys_days(std::chrono::January / 31 / 2026) + std::chrono::hours(12);
  EXPECT_NE(package(full_book(), options), *different.begin());
}

TEST_F(Packages, AreDatedAsTheyAreTold) {
  using std::chrono::sys_days;
  const struct {
    std::chrono::sys_seconds created;
    const char *document, *parts;
  } kCases[] = {
      {sys_days(std::chrono::January / 31 / 2026) + std::chrono::seconds(86399), "(2026, 1, 31, 23, 59, 59)",
       "(2026, 1, 31, 23, 59, 58)"},
      {{}, "(1970, 1, 1, 0, 0, 0)", "(1980, 1, 1, 0, 0, 0)"},
      {sys_days(std::chrono::March / 1 / 2900), "(2900, 3, 1, 0, 0, 0)", "(2107, 12, 31, 23, 59, 58)"},
  };
  const test::TemporaryFolder folder;
  for (const auto& c : kCases) {
    SaveOptions options;
    options.created = c.created;
    save(full_book(), folder / "a.xlsx", options);
    EXPECT_EXTERNAL(test::openpyxl_reads(folder / "a.xlsx", std::string(R"(
import zipfile
for when in (book.properties.created, book.properties.modified):
  assert when.timetuple()[:6] == )") + c.document + R"(, when
for part in zipfile.ZipFile(sys.argv[1]).infolist():
  assert part.date_time == )" + c.parts + R"(, part
)"));
  }
}

TEST(Save, ReplacesAFileAndKeepsItsMode) {
  const test::TemporaryFolder folder;
  const auto file = folder / "a.xlsx", link = folder / "link.xlsx";
  std::ofstream(file) << "old";
  std::filesystem::permissions(file, std::filesystem::perms{0640});
  std::filesystem::create_symlink(file, link);
  // File systems without extended attributes have none to lose.
  const bool has_attribute = ::setxattr(file.c_str(), "user.note", "kept", 4, 0) == 0;
  save(full_book(), link);
  char note[4] = {};
  EXPECT_EQ(::getxattr(file.c_str(), "user.note", note, sizeof note), has_attribute ? 4 : -1);
  EXPECT_EQ(file_text(file), package(full_book()));
  EXPECT_TRUE(std::filesystem::is_symlink(link)) << "a link to a workbook stays one";
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms{0640});
  EXPECT_THAT(names_in(folder), ElementsAre("a.xlsx", "link.xlsx"));
}

TEST(Save, LeavesAFileAloneThatIsNotToBeWritten) {
  const test::TemporaryFolder folder;
  const auto file = folder / "a.xlsx";
  std::ofstream(file) << "old";
  const auto refusal = [&] { return message_of([&] { save(full_book(), file); }); };
  std::filesystem::permissions(file, std::filesystem::perms{0444});
  EXPECT_THAT(refusal(), HasSubstr("a.xlsx: cannot write: it is read-only"));
  std::filesystem::permissions(file, std::filesystem::perms{0644});
  for (const char* lock : {"~$a.xlsx", ".~lock.a.xlsx#"}) {
    std::ofstream(folder / lock) << "";
    EXPECT_THAT(refusal(), HasSubstr(lock));
    std::filesystem::remove(folder / lock);
  }
  EXPECT_EQ(file_text(file), "old");
  EXPECT_EQ(refusal(), "no error");
}

TEST(Save, RemovesWhatKilledProcessesLeft) {
  const test::TemporaryFolder folder;
  const std::string longest = std::string(250, 'n') + ".xlsx";
  const std::string cut = "." + longest.substr(0, 247) + ".";
  for (const std::string& name : {std::string(".a.xlsx.Ab12yZ"), std::string(".a.xlsx.notes1x"),
                                  std::string(".b.xlsx.Ab12yZ"), cut + "Ab12yZ"}) {
    std::ofstream(folder / name) << "half";
    std::filesystem::last_write_time(folder / name,
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  }
  std::ofstream(folder / ".a.xlsx.being1") << "half";
  save(full_book(), folder / "a.xlsx");
  save(full_book(), folder / longest);
  EXPECT_THAT(names_in(folder),
              ElementsAre(".a.xlsx.being1", ".a.xlsx.notes1x", ".b.xlsx.Ab12yZ", "a.xlsx", longest));
}

// A system that cannot, whose refusals have no consequence.
class NotedFlushes : public FileSystem {
 public:
  int begin_flush(int, std::uint64_t from, std::uint64_t size) override {
    EXPECT_EQ(from, begun);
    begun += size;
    return -1;
  }
  std::uint64_t begun = 0;
};

TEST(Save, SendsWhatIsLargeToTheDiskWhileItIsMade) {
  const test::TemporaryFolder folder;
  constexpr std::size_t kMegabyte = 1 << 20;
  NotedFlushes files;
  WholeFileOptions options;
  options.files = &files;
  for (const std::size_t megabytes : {20U, 50U}) {  // the second in the place of the first, which is large
    files.begun = 0;
    std::string content;
    const auto write_pieces = [&](const WritePiece& write) {
      for (std::size_t i = 0; i < megabytes; ++i) {
        content += std::string(kMegabyte, static_cast<char>('a' + i % 26));
        write(std::string_view(content).substr(i * kMegabyte));
      }
    };
    write_whole_pieces(folder / "a.txt", write_pieces, options);
    EXPECT_TRUE(file_text(folder / "a.txt") == content) << megabytes;
    EXPECT_GT(files.begun, (megabytes - 17) * kMegabyte);
    EXPECT_LE(files.begun, megabytes * kMegabyte);
  }
}

TEST(Save, GivesANewFileTheModeThatTheMaskLeaves) {
  const test::TemporaryFolder folder;
  const mode_t before = ::umask(027);
  save(full_book(), folder / "a.xlsx");
  EXPECT_EQ(::umask(before), 027U) << "the mask is the whole process's";
  EXPECT_EQ(std::filesystem::status(folder / "a.xlsx").permissions(), std::filesystem::perms{0640});
}

TEST(Save, SaysWhatCannotBeWritten) {
  const test::TemporaryFolder folder;
  std::ofstream(folder / "file") << "x";
  std::filesystem::create_directory(folder / "folder.xlsx");
  const std::pair<std::filesystem::path, const char*> kCases[] = {
      {folder / "missing" / "a.xlsx", "there is no such file or folder"},
      {folder / "file" / "a.xlsx", "on the way to it is a file where a folder is expected"},
      {folder / "folder.xlsx", "it is a folder"},
      {"/dev/full", "it is no file that can be replaced"},
      {folder / (std::string(300, 'n') + ".xlsx"), "its name is too long"},
  };
  for (const auto& [path, reason] : kCases)
    EXPECT_EQ(message_of([&] { save(full_book(), path); }), path.string() + ": cannot write: " + reason);
  EXPECT_THAT(names_in(folder), ElementsAre("file", "folder.xlsx"));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace ordvane::xlsx
