// Workbooks that are made to take memory or time: what the command needs for them is bounded by their parts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "calc/tiny_workbook.h"
#include "support/external_checks.h"
#include "xlsx/archive.h"

namespace ordvane::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMebi = std::size_t{1} << 20;

struct Outcome {
  int code = -1;
  std::size_t memory = 0;  // bytes, at most
  double seconds = 0;      // of processors
};

Outcome run(const std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    static_cast<void>(std::freopen("/dev/null", "w", stderr));
    ::execv(ORDVANE_COMMAND, arguments.data());
    ::_exit(127);
  }
  int status = 0;
  rusage used{};
  ::wait4(child, &status, 0, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, static_cast<std::size_t>(used.ru_maxrss) * 1024,
          seconds(used.ru_utime) + seconds(used.ru_stime)};
}

std::string content(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// The package with one text in place of another in a part, which is made where it is not there.
struct Change {
  std::string part, from, to;
};

std::string changed(const std::string& package, const std::vector<Change>& changes) {
  xlsx::OpenArchive archive(package);
  const std::size_t there = archive.entries().size();
  for (const Change& change : changes) {
    std::size_t at = 0;
    while (at < there && archive.entries()[at].name != change.part) ++at;
    std::string text = at < there ? archive.read(at) : "";
    const std::size_t place = text.find(change.from);
    EXPECT_NE(place, text.npos) << change.from;
    text.replace(std::min(place, text.size()), change.from.size(), change.to);
    std::vector<xlsx::CompressedPiece> pieces{xlsx::compress(text, 1, true)};
    xlsx::ArchiveEntry entry = xlsx::join(change.part, pieces);
    if (at < there)
      archive.replace(at, std::move(entry));
    else
      archive.add(std::move(entry));
  }
  return archive.finish();
}

std::string repeated(const std::string& text, std::size_t size) {
  std::string all;
  all.reserve(size + text.size());
  while (all.size() < size) all += text;
  return all;
}

// Attributes of an element, no two the same.
std::string attributes(std::size_t size) {
  std::string all;
  for (std::size_t number = 0; all.size() < size; ++number) all += " a" + std::to_string(number) + "=\"\"";
  return all;
}

TEST(Hostile, TakesNoMoreMemoryThanItsPartsAllow) {
  const test::TemporaryFolder folder;
  const std::string run_file = ORDVANE_SOURCE_DIR "/tests/fuzz/corpus/runs/small";
  fs::copy_file(run_file, folder / "a.run.json");
  const fs::path book = folder / "m.xlsx";
  test::TinyWorkbook tiny;
  tiny.set("A1", "1").set("B1", "=A1").set(1, "A1", "=Sheet1!A1");
  std::ofstream(book, std::ios::binary) << tiny.bytes();
  const std::vector<std::string> report{"ordvane",   "report",     (folder / "a.run.json").string(),
                                        "--tornado", "--quiet",    "--overwrite",
                                        "--into",    book.string()};
  ASSERT_EQ(run(report).code, 0);
  const std::string with_reports = content(book);  // which the next ones replace
  constexpr std::size_t kSize = 8 * kMebi;
  const std::string office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
  const struct {
    const char* what;
    std::vector<Change> changes;
    std::size_t largest;
    int report_code, sweep_code;
  } kCases[] = {
      {"elements", {{"xl/workbook.xml", "<sheets>", repeated("<a/>", kSize) + "<sheets>"}}, kSize, 2, 2},
      {"elements in elements", {{"xl/workbook.xml", "<sheets>", repeated("<a>", kSize)}}, kSize, 2, 2},
      {"attributes", {{"xl/workbook.xml", "<sheets>", "<a" + attributes(kSize) + "/><sheets>"}}, kSize, 2, 2},
      {"elements in elements of a sheet",
       {{"xl/worksheets/sheet1.xml", "<sheetData>", "<sheetData>" + repeated("<a>", kSize)}},
       kSize,
       0,
       2},
      {"a chain of calculation",
       {{"xl/calcChain.xml", "",
         "<calcChain xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">" +
             repeated("<c r=\"A1\" i=\"3\"/><c r=\"A1\" i=\"1\"/>", kSize) + "</calcChain>"},
        {"xl/_rels/workbook.xml.rels", "</Relationships>",
         "<Relationship Id=\"chain\" Type=\"" + office +
             "calcChain\" Target=\"calcChain.xml\"/></Relationships>"}},
       kSize,
       0,
       0},
      {"numbers of notes",
       {{"xl/a.vml", "", "<xml><o:idmap data=\"" + repeated("1,", kMebi) + "1\"/></xml>"}},
       kMebi,
       0,
       0},
      {"a name in quotes",
       {{"xl/worksheets/sheet1.xml", "<sheetData>", "<x>'" + repeated("n", kMebi) + "'!A1</x><sheetData>"}},
       kMebi,
       0,
       0},
      {"marks of sheets",
       {{"xl/worksheets/sheet1.xml", "<sheetData>", "<x>" + repeated("a!", kMebi) + "</x><sheetData>"}},
       kMebi,
       0,
       0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    std::ofstream(book, std::ios::binary) << changed(with_reports, c.changes);
    const Outcome outcome = run(report);
    const Outcome swept = run({"ordvane", "sweep", book.string(), "--output", "Sheet1!B1", "--verify", "none",
                               "--quiet", "--overwrite", "-o", (folder / "s.run.json").string()});
    std::printf("%s: report %zu MiB, %.2f s, code %d; sweep %zu MiB, %.2f s, code %d\n", c.what,
                outcome.memory / kMebi, outcome.seconds, outcome.code, swept.memory / kMebi, swept.seconds,
                swept.code);
    EXPECT_EQ(outcome.code, c.report_code);
    EXPECT_EQ(swept.code, c.sweep_code);
    if (test::kSanitized) continue;
    const std::size_t allowed = 64 * kMebi + 4 * c.largest;
    EXPECT_LE(outcome.memory, allowed);
    EXPECT_LE(swept.memory, allowed);
    EXPECT_LT(outcome.seconds, 5);
  }
}

// Whatever is wrong with an archive is wrong with the workbook that was named.
TEST(Hostile, DamagedArchivesAreTheUsersToMend) {
  const test::TemporaryFolder folder;
  fs::copy_file(ORDVANE_SOURCE_DIR "/tests/fuzz/corpus/runs/small", folder / "a.run.json");
  const fs::path book = folder / "m.xlsx";
  test::TinyWorkbook tiny;
  tiny.set("A1", "1").set("B1", "=A1");
  const std::string sound = tiny.bytes();
  int refused = 0;
  for (std::size_t at = 0; at < sound.size(); at += 7) {
    std::string bytes = sound;
    bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
    std::ofstream(book, std::ios::binary) << bytes;
    const int code = run({"ordvane", "report", (folder / "a.run.json").string(), "--tornado", "--quiet",
                          "--into", book.string()})
                         .code;
    ASSERT_THAT(code, testing::AnyOf(0, 2)) << "byte " << at;
    refused += code == 2 ? 1 : 0;
    if (code == 2) {
      ASSERT_EQ(content(book), bytes) << "byte " << at;
    }
  }
  EXPECT_GT(refused, 50);
}

}  // namespace
}  // namespace ordvane::fuzz
