// Workbooks that are made to take memory or time, and damaged ones: what is needed for them is bounded by
// their parts, and whatever is wrong with them is the user's to mend.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "calc/tiny_workbook.h"
#include "fuzz/harnesses.h"
#include "support/external_checks.h"
#include "xlsx/archive.h"

namespace ordvane::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMebi = std::size_t{1} << 20;
constexpr std::size_t kSize = 8 * kMebi;  // of the largest part

struct Outcome {
  int code = -1;
  std::size_t memory = 0;  // bytes, at most
  double seconds = 0;      // of processors
};

// A child begins as large as its parent, which has given back what it can.
Outcome run(const std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  ::malloc_trim(0);
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
    std::vector<xlsx::CompressedPiece> pieces{xlsx::compress(text, true)};
    xlsx::ArchiveEntry entry = xlsx::join(change.part, pieces);
    if (at < there)
      archive.replace(at, std::move(entry));
    else
      archive.add(std::move(entry));
  }
  return archive.finish();
}

std::string many(const std::function<std::string(std::size_t)>& one, std::size_t size = kSize) {
  std::string all;
  all.reserve(size + 64);
  for (std::size_t number = 0; all.size() < size; ++number) all += one(number);
  return all;
}
std::string many(const std::string& text, std::size_t size = kSize) {
  return many([&](std::size_t) { return text; }, size);
}

// A part where `mark` stands, with this before or behind it.
Change in_book(const std::string& xml) {
  return {"xl/workbook.xml", "<sheets>", xml + "<sheets>"};
}
Change in_sheet(const std::string& xml) {
  return {"xl/sheet1.xml", "<sheetData>", "<sheetData>" + xml};
}

std::vector<Change> chain() {
  const std::string office = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
  return {{"xl/calcChain.xml", "",
           "<calcChain xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">" +
               many("<c r=\"A1\" i=\"3\"/><c r=\"A1\" i=\"1\"/>") + "</calcChain>"},
          {"xl/_rels/workbook.xml.rels", "</Relationships>",
           "<Relationship Id=\"chain\" Type=\"" + office +
               "calcChain\" Target=\"calcChain.xml\"/></Relationships>"}};
}

std::string attribute(std::size_t number) {
  return " a" + std::to_string(number) + "=\"\"";
}

TEST(Hostile, TakesNoMoreMemoryThanItsPartsAllow) {
  const test::TemporaryFolder folder;
  const fs::path book = folder / "m.xlsx";
  fs::copy_file(ORDVANE_SOURCE_DIR "/tests/fuzz/corpus/runs/small", folder / "a.run.json");
  test::TinyWorkbook tiny;
  tiny.set("A1", "1").set("B1", "=A1").set(1, "A1", "=Sheet1!A1");
  const std::vector<std::string> report{"ordvane",   "report",     (folder / "a.run.json").string(),
                                        "--tornado", "--quiet",    "--overwrite",
                                        "--into",    book.string()};
  const std::vector<std::string> sweep{"ordvane",
                                       "sweep",
                                       book.string(),
                                       "--output",
                                       "Sheet1!B1",
                                       "--input",
                                       "Sheet1!A1=1..2",
                                       "--verify",
                                       "none",
                                       "--quiet",
                                       "--overwrite",
                                       "-o",
                                       (folder / "s.run.json").string()};
  using Changes = std::vector<Change>;
  const struct {
    const char* what;
    std::function<Changes()> changes;  // made when they are needed
    int report_code, sweep_code;
  } kCases[] = {
      {"elements", [] { return Changes{in_book(many("<a/>"))}; }, 2, 2},
      {"elements in elements", [] { return Changes{in_book(many("<a>"))}; }, 2, 2},
      {"attributes", [] { return Changes{in_book("<a" + many(attribute) + "/>")}; }, 2, 2},
      {"names of attributes",
       [] { return Changes{in_book(many([](std::size_t i) { return "<a" + attribute(i) + "/>"; }))}; }, 2, 2},
      {"a long attribute", [] { return Changes{in_book("<a b=\"" + many("1 ", kMebi) + "\"/>")}; }, 0, 0},
      {"attributes in a sheet", [] { return Changes{in_sheet("<a" + many(attribute) + "/>")}; }, 0, 2},
      {"elements in elements of a sheet", [] { return Changes{in_sheet(many("<a>"))}; }, 0, 2},
      {"a chain of calculation", chain, 0, 0},
      {"numbers of notes",
       [] {
         return Changes{{"xl/a.vml", "", "<xml><o:idmap data=\"" + many("1,", kMebi) + "1\"/></xml>"}};
       },
       0, 0},
      {"a name in quotes", [] { return Changes{in_sheet("<x>'" + many("n") + "'!A1</x>")}; }, 0, 0},
      {"marks of sheets", [] { return Changes{in_sheet("<x>" + many("a!") + "</x>")}; }, 0, 0},
  };
  std::ofstream(book, std::ios::binary) << tiny.bytes();
  ASSERT_EQ(run(report).code, 0);
  std::ifstream reports(book, std::ios::binary);  // which the next ones take the place of
  const std::string sound{std::istreambuf_iterator<char>(reports), {}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    std::ofstream(book, std::ios::binary) << changed(sound, c.changes());
    const Outcome reported = run(report), swept = run(sweep);
    std::printf("%s: report %zu MiB, %.2f s, code %d; sweep %zu MiB, %.2f s, code %d\n", c.what,
                reported.memory / kMebi, reported.seconds, reported.code, swept.memory / kMebi, swept.seconds,
                swept.code);
    EXPECT_EQ(reported.code, c.report_code);
    EXPECT_EQ(swept.code, c.sweep_code);
    if (test::kSanitized) continue;
    for (const Outcome& outcome : {reported, swept}) {
      EXPECT_LE(outcome.memory, 64 * kMebi + 4 * kSize);
      EXPECT_LT(outcome.seconds, 5);
    }
  }
}

// By bytes changed and ends cut off. The harness takes no error but the one of a workbook.
TEST(Hostile, DamagedArchivesAreTheUsersToMend) {
  test::TinyWorkbook tiny;
  tiny.set("A1", "1").set("B1", "=A1");
  const std::string sound = tiny.bytes();
  EXPECT_NO_THROW(try_package(sound));
  const std::size_t stride = test::kSanitized ? 37 : 7;
  for (std::size_t at = 0; at < sound.size(); at += stride) {
    std::string bytes = sound;
    bytes[at] = static_cast<char>(bytes[at] ^ 0x55);
    ASSERT_NO_THROW(try_package(bytes)) << "byte " << at;
    ASSERT_NO_THROW(try_package(sound.substr(0, at))) << "the first " << at << " bytes";
  }
}

}  // namespace
}  // namespace ordvane::fuzz
