// Report sheets in workbooks that are there: what is refused, what changes and what does not, and files that
// are never harmed.
#include "xlsx/graft.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <set>

#include "host/error.h"
#include "sample_book.h"
#include "support/external_checks.h"
#include "support/open_xml_sdk.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;
using test::file_text;

void write(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

ArchiveEntry entry(const std::string& name, const std::string& text) {
  std::vector<CompressedPiece> pieces{compress(text, true)};
  return join(name, pieces);
}

// One change to a part: `from` becomes `to`; an empty `from` makes the part.
struct Change {
  const char* part;
  std::string from, to;
};

std::string changed(const std::string& package, const std::vector<Change>& changes) {
  OpenArchive archive(package);
  std::map<std::string, std::string> texts;
  for (const Change& change : changes) {
    std::string& text = texts[change.part];
    for (std::size_t i = 0; i < archive.entries().size(); ++i)
      if (text.empty() && archive.entries()[i].name == change.part) text = archive.read(i);
    if (change.from.empty()) {
      text = change.to;
      continue;
    }
    const std::size_t at = text.find(change.from);
    EXPECT_NE(at, text.npos) << change.part << " has no " << change.from;
    text.replace(at, change.from.size(), change.to);
  }
  std::map<std::string, std::size_t> there;
  for (std::size_t i = 0; i < archive.entries().size(); ++i) there[archive.entries()[i].name] = i;
  for (const auto& [name, text] : texts) {
    if (there.contains(name))
      archive.replace(there[name], entry(name, text));
    else
      archive.add(entry(name, text));
  }
  return archive.finish();
}

std::map<std::string, std::string> parts_of(const std::string& package) {
  const OpenArchive archive(package);
  std::map<std::string, std::string> parts;
  for (std::size_t i = 0; i < archive.entries().size(); ++i)
    parts[archive.entries()[i].name] = archive.read(i);
  return parts;
}

// A workbook with charts, text boxes, notes and print titles, whose sheets are reports but for "Styles".
office::BookModel former_reports() {
  office::BookModel book = full_book();
  for (const auto& sheet : book.sheets) sheet->is_report = sheet->name != "Styles";
  return book;
}

class Graft : public testing::Test {
 protected:
  // The package once the sheets at these positions of the full book were put into it.
  std::string with_sheets(const std::string& before, const std::vector<std::size_t>& sheets) {
    write(file_, before);
    ExistingWorkbook existing(file_);
    graft(existing, full_book(), sheets);
    return file_text(file_);
  }

  const test::TemporaryFolder folder_;
  const fs::path file_ = folder_ / "plan.xlsx";
  const std::string package_ = package(former_reports());
};

TEST_F(Graft, RefusesWhatSheetsCannotBeAddedTo) {
  const std::string type = "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml";
  const auto typed = [&](const std::string& other) {
    return changed(package_, {{"[Content_Types].xml", type, other}});
  };
  const auto in_workbook = [&](const std::string& from, const std::string& to) {
    return changed(package_, {{"xl/workbook.xml", from, to}});
  };
  const auto linked = [&](const char* part, const std::string& link) {
    return changed(package_,
                   {{part, "</Relationships>", "<Relationship Id=\"x1\" " + link + "/></Relationships>"}});
  };
  const std::string relation = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
  const std::string compound = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(600, '\0');
  std::string wide;
  for (const char c : std::string("EncryptedPackage")) wide += {c, '\0'};
  std::string torn = package_;
  torn[torn.find("xl/styles.xml") + 60] ^= 0x55;
  const std::pair<std::string, const char*> kCases[] = {
      {"", "it is no workbook; expected an Excel workbook, .xlsx or .xlsm"},
      {"name;value\n1;2\n", "it is no workbook"},
      {compound, "the older format of Excel (.xls)"},
      {compound + wide, "it is encrypted"},
      {package_.substr(0, package_.size() / 2), "it is damaged"},
      {torn, "it is damaged, or no workbook: xl/styles.xml"},
      {typed("application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"),
       "a Word document"},
      {typed("application/vnd.ms-excel.sheet.binary.macroEnabled.main"), "a binary Excel workbook (.xlsb)"},
      {typed("application/vnd.ms-excel.addin.macroEnabled.main+xml"), "an Excel add-in (.xlam)"},
      {typed("text/plain"), "it holds no workbook"},
      {changed(package_, {{"mimetype", "", "application/vnd.oasis.opendocument.spreadsheet"}}), "(.ods)"},
      {in_workbook("<workbookPr/>", "<workbookPr/><workbookProtection lockStructure=\"true\"/>"),
       "its structure is protected"},
      {in_workbook("<workbookPr/>", "<fileSharing reservationPassword=\"CC1A\"/><workbookPr/>"),
       "needs a password"},
      {in_workbook(kMainSpace, "http://purl.oclc.org/ooxml/spreadsheetml/main"), "Strict Open XML"},
      {in_workbook("<?xml", "<!DOCTYPE a [<!ENTITY b 'c'>]><?xml"), "xl/workbook.xml cannot be read: line 1"},
      {in_workbook("encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\""), "its encoding is not UTF-8"},
      {in_workbook("</sheets>", ""), "xl/workbook.xml cannot be read: line "},
      {in_workbook("r:id=\"rId2\"", "r:id=\"rId99\""), "the part of its sheet \"Spider\" is missing"},
      {linked("xl/_rels/workbook.xml.rels",
              "Type=\"" + relation + "/revisionHeaders\" Target=\"revisions/a.xml\""),
       "several users share it"},
      {linked(
           "_rels/.rels",
           "Type=\"http://schemas.openxmlformats.org/package/2006/relationships/digital-signature/origin\" "
           "Target=\"_xmlsignatures/origin.sigs\""),
       "it is digitally signed"},
  };
  for (const auto& [bytes, why] : kCases) {
    write(file_, bytes);
    try {
      ExistingWorkbook existing(file_);
      ADD_FAILURE() << "taken: " << why;
    } catch (const BadWorkbook& error) {
      EXPECT_THAT(error.what(), testing::StartsWith(file_.string() + ": "));
      EXPECT_THAT(error.what(), HasSubstr(why));
    }
    EXPECT_EQ(file_text(file_), bytes);
  }
}

// A window that says what keeps the file, and goes when it goes.
TEST_F(Graft, RefusesAFileThatOthersHaveOrChange) {
  const auto refusal = [&] {
    try {
      ExistingWorkbook existing(file_);
    } catch (const BadWorkbook& error) {
      return std::string(error.what());
    }
    return std::string("taken");
  };
  EXPECT_THAT(refusal(), HasSubstr("there is no such file"));
  fs::create_directory(file_);
  EXPECT_THAT(refusal(), HasSubstr("it is a folder"));
  fs::remove(file_);
  write(file_, package_);
  for (const char* lock : {"~$plan.xlsx", ".~lock.plan.xlsx#"}) {
    write(folder_ / lock, "");
    EXPECT_THAT(refusal(), HasSubstr(lock));
    fs::remove(folder_ / lock);
  }
  fs::permissions(file_, fs::perms{0444});
  EXPECT_THAT(refusal(), HasSubstr("it is read-only"));
  fs::permissions(file_, fs::perms{0644});
  const int handle = ::open(file_.c_str(), O_RDONLY);
  ASSERT_EQ(::flock(handle, LOCK_EX), 0);
  EXPECT_THAT(refusal(), HasSubstr("another program has locked it"));
  ::close(handle);
  EXPECT_EQ(refusal(), "taken");

  for (const char* lock : {"", "~$plan.xlsx"}) {
    write(file_, package_);
    ExistingWorkbook existing(file_);
    EXPECT_THAT(refusal(), HasSubstr("another program has locked it")) << "by this one";
    const std::string now = *lock == '\0' ? "changed" : package_;
    write(*lock == '\0' ? file_ : folder_ / lock, *lock == '\0' ? now : "");
    EXPECT_THROW(graft(existing, full_book(), {1}), BadWorkbook);
    EXPECT_EQ(file_text(file_), now);
  }
}

TEST_F(Graft, LeavesEveryOtherPartAndPutsEntriesIntoTheText) {
  const std::string odd = "<x:ext xmlns:x=\"urn:x\"  odd = 'kept'   />";
  const std::string before = changed(
      package_,
      {{"xl/vbaProject.bin", "", std::string("macros\0", 7)},
       {"[Content_Types].xml", "<Override ", "<Default Extension=\"bin\" ContentType=\"a/b\"/><Override "},
       {"xl/workbook.xml", "</workbook>", "<extLst><ext uri=\"{1}\">" + odd + "</ext></extLst></workbook>"},
       {"xl/workbook.xml", "<workbook ", "<!-- a remark --><workbook "}});
  // Another book's sheets, with names that are free.
  office::BookModel book = full_book();
  for (const auto& sheet : book.sheets) {
    sheet->name = "New " + sheet->name;
    for (const auto& chart : sheet->charts)
      for (const auto& series : chart->series)
        for (office::SeriesData* data : {&series->values, &series->x_values})
          if (!data->sheet.empty()) data->sheet = "New " + data->sheet;
  }
  write(file_, before);
  {
    ExistingWorkbook existing(file_);
    graft(existing, book, {3, 0, 1, 2});
  }
  const auto old_parts = parts_of(before), new_parts = parts_of(file_text(file_));
  std::vector<std::string> different;
  for (const auto& [name, text] : old_parts)
    if (new_parts.at(name) != text) different.push_back(name);
  EXPECT_THAT(different, ElementsAre("[Content_Types].xml", "xl/_rels/workbook.xml.rels", "xl/styles.xml",
                                     "xl/workbook.xml"));
  const std::string& workbook = new_parts.at("xl/workbook.xml");
  EXPECT_THAT(workbook, HasSubstr("<!-- a remark --><workbook "));
  EXPECT_THAT(workbook, HasSubstr(odd));
  EXPECT_THAT(workbook, Not(HasSubstr("fullCalcOnLoad=\"1\" fullCalcOnLoad")));
  EXPECT_THAT(workbook, HasSubstr("localSheetId=\"4\""));
  EXPECT_EQ(new_parts.at("xl/worksheets/sheet5.xml").find("t=\"s\""), std::string::npos);
  std::set<std::string> numbers;  // of the notes' drawings
  for (const auto& [name, text] : new_parts) {
    const std::size_t at = text.find("<o:idmap ");
    if (at == text.npos) continue;
    EXPECT_TRUE(numbers.insert(text.substr(at, text.find("/>", at) - at)).second) << name;
  }
  EXPECT_EQ(numbers.size(), 2U);
  EXPECT_EXTERNAL(test::openpyxl_reads(file_, R"(
assert len(book.sheetnames) == 8 and book.active.title == "Spider"
old, new = book["Styles"], book["New Styles"]
for row in old.iter_rows():
  for cell in row:
    twin = new[cell.coordinate]
    # It reads the escapes of shared strings only.
    assert str(cell.value) == str(twin.value).replace("x005F_", ""), cell.coordinate
    assert (cell.number_format, cell.fill.patternType, cell.fill.fgColor.rgb, cell.border.bottom.style, cell.alignment.wrap_text,
            cell.protection.locked) == (twin.number_format, twin.fill.patternType, twin.fill.fgColor.rgb, twin.border.bottom.style,
            twin.alignment.wrap_text, twin.protection.locked), cell.coordinate
    assert (cell.font.b, cell.font.sz, cell.font.name) == (twin.font.b, twin.font.sz, twin.font.name), cell.coordinate
assert (new.print_title_rows, new.print_title_cols) == (old.print_title_rows, old.print_title_cols) == ("$2:$3", "$A:$B")
assert new["D4"].comment.text == old["D4"].comment.text
)"));
  EXPECT_EXTERNAL(test::validate_xlsx(file_));
}

TEST_F(Graft, GivesTheOpenXmlSdkNothingMoreToSay) {
  const fs::path original = folder_ / "original.xlsx";
  write(original, package_);
  with_sheets(package_, {1, 3});
  EXPECT_EXTERNAL(test::open_xml_sdk_accepts(file_, original));
}

TEST_F(Graft, ReplacesASheetWithWhatItAloneOwns) {
  const std::string drawing = "../drawings/drawing1.xml";
  // The first sheet's drawing, with its chart, is also the last sheet's.
  const std::string relation = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
  const std::string shared = changed(
      package_,
      {{"xl/worksheets/_rels/sheet4.xml.rels", "</Relationships>",
        "<Relationship Id=\"rId9\" Type=\"" + relation + "/drawing\" Target=\"" + drawing +
            "\"/></Relationships>"},
       {"xl/worksheets/sheet2.xml", "<dimension ", "<sheetPr codeName=\"Sheet&amp;9\"/><dimension "}});
  const struct {
    const char* what;
    const std::string& before;
    std::size_t sheet;
    std::size_t more_parts;  // than before
  } kCases[] = {
      {"all its own", package_, 0, 0}, {"a drawing of two", shared, 0, 2}, {"a name", shared, 1, 0}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    const std::string after = with_sheets(c.before, {c.sheet});
    const auto old_parts = parts_of(c.before), new_parts = parts_of(after);
    EXPECT_GE(new_parts.size(), old_parts.size() + c.more_parts);
    if (c.more_parts == 0) {
      EXPECT_EQ(new_parts.size(), old_parts.size());
    }
    const auto names = [](const std::string& workbook) {
      return workbook.substr(workbook.find("<sheets>"),
                             workbook.find("</sheets>") - workbook.find("<sheets>"));
    };
    EXPECT_EQ(names(new_parts.at("xl/workbook.xml")), names(old_parts.at("xl/workbook.xml")))
        << "same place and id";
    EXPECT_EQ(new_parts.at("xl/worksheets/sheet4.xml"), old_parts.at("xl/worksheets/sheet4.xml"));
    const std::string part = "xl/worksheets/sheet" + std::to_string(c.sheet + 1) + ".xml";
    EXPECT_EQ(new_parts.at(part).find("tabSelected") != std::string::npos, c.sheet == 1);
    if (&c.before == &shared && c.sheet == 0) {
      EXPECT_EQ(new_parts.at("xl/drawings/drawing1.xml"), old_parts.at("xl/drawings/drawing1.xml"));
    }
    if (c.sheet == 1) {
      EXPECT_THAT(new_parts.at("xl/worksheets/sheet2.xml"), HasSubstr("codeName=\"Sheet&amp;9\""));
    }
    EXPECT_EXTERNAL(test::openpyxl_reads(file_));
    // Once more: what was added is used again, and nothing grows.
    EXPECT_TRUE(parts_of(with_sheets(after, {c.sheet})) == new_parts);
  }
}

TEST_F(Graft, BringsThePrefixOfReferencesAlong) {
  std::string workbook = parts_of(package_).at("xl/workbook.xml");
  for (const auto& [from, to] :
       {std::pair("xmlns:r=", "xmlns:rel="), {" r:id=", " rel:id="}, {"=\"Spider\"", "=\"Old\""}})
    for (std::size_t at = 0; (at = workbook.find(from, at)) != workbook.npos; at += std::strlen(to))
      workbook.replace(at, std::strlen(from), to);
  with_sheets(changed(package_, {{"xl/workbook.xml", "", workbook}}), {1});
  EXPECT_EQ(ExistingWorkbook(file_).sheets().back().name, "Spider");
}

// A workbook that is computed when it is opened has unsaved changes from then on.
TEST_F(Graft, HasTheWorkbookComputedOnlyWhereOthersLookAtAReplacedSheet) {
  const char* const kSheet = "xl/worksheets/sheet4.xml";
  const char* const kFormula = "0.1+0.2";
  const char* const kWorkbook = "xl/workbook.xml";
  const char* const kNames = "</definedNames>";
  const struct {
    const char *part, *from, *to;
    std::size_t replaced;
    bool computed;
  } kCases[] = {
      {kSheet, kFormula, "1", 1, false},
      {kSheet, kFormula, "1+Spider!A1", 1, true},
      {kSheet, kFormula, "1+Spider!A1", 0, false},
      {kSheet, kFormula, "SUM(1,SPIDER!$A$1)", 1, true},
      {kSheet, kFormula, "'It''s a message &amp; more'!A1", 2, true},
      {kSheet, kFormula, "'t''s a message &amp; more'!A1", 2, false},
      {kSheet, kFormula, "Spiders!A1&amp;Old_Spider!A1", 1, false},
      {kSheet, kFormula, "'[old.xlsx]Spider'!A1", 1, false},
      {kSheet, kFormula, "SUM('A:Z'!A1)", 1, true},
      {kWorkbook, kNames, "<definedName name=\"top\">Spider!$A$1</definedName></definedNames>", 1, true},
      {kWorkbook, kNames,
       "<definedName name=\"top\" localSheetId=\"1\">Spider!$A$1</definedName></definedNames>", 1, false},
  };
  for (const auto& c : kCases) {
    const std::string before = changed(package_, {{c.part, c.from, c.to}});
    const std::string workbook = parts_of(with_sheets(before, {c.replaced})).at(kWorkbook);
    EXPECT_EQ(workbook.find("fullCalcOnLoad") != workbook.npos, c.computed) << c.to << ' ' << c.replaced;
    EXPECT_THAT(workbook, HasSubstr("calcId=\"191029\""));
  }
}

TEST_F(Graft, ChangesTheOrderOfCalculationWithItsFormulas) {
  const std::string type =
      "<Override PartName=\"/xl/calcChain.xml\" ContentType=\"application/"
      "vnd.openxmlformats-officedocument.spreadsheetml.calcChain+xml\"/></Types>";
  const std::string link =
      "<Relationship Id=\"rId99\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
      "relationships/calcChain\" Target=\"calcChain.xml\"/></Relationships>";
  const auto list = [](const std::string& cells) {
    return "<calcChain xmlns=\"" + std::string(kMainSpace) + "\">" + cells + "</calcChain>";
  };
  std::string of_new, prefixed;  // the formulas of the fourth sheet
  const office::BookModel book = full_book();
  for (const auto& [cell, formula] : book.sheets[3]->formulas)
    of_new += "<c r=\"" + office::cell_name(cell.row, cell.column) + "\" i=\"4\"/>";
  ASSERT_NE(of_new, "");
  for (const char letter : of_new) prefixed += letter == '<' ? "<x:" : std::string(1, letter);
  std::string many, many_left;  // longer than what is read at once
  for (int row = 1; row <= 20000; ++row) {
    const std::string cell = "<c r=\"B" + std::to_string(row) + "\" i=\"" + (row % 3 == 0 ? "4" : "1") + "\"";
    many += cell + (row % 2 == 0 ? "/>" : "><!-- a cell --></c>\n");
    if (row % 3 != 0) many_left += cell + (row % 2 == 0 ? "/>" : "><!-- a cell --></c>");
    if (row % 2 != 0) many_left += "\n";
  }
  const std::string root = "<x:calcChain xmlns:x=\"" + std::string(kMainSpace) + "\"";
  const struct {
    std::size_t sheet;
    std::string before, after;  // empty: the part goes
  } kCases[] = {
      {3,
       list("<c r=\"A1\" i=\"1\"/><c r=\"A2\"/><c r=\"C1\" i=\"4\"/><c r=\"C3\" l=\"1\"/><c r=\"A9\" "
            "i=\"1\"/>"),
       list("<c r=\"A1\" i=\"1\"/><c r=\"A2\"/><c r=\"A9\" i=\"1\"/>" + of_new)},
      {1, list("<c r=\"A1\" i=\"1\"/>"), list("<c r=\"A1\" i=\"1\"/>")},
      {1, list("<c r=\"A1\" i=\"2\"/><c r=\"A2\"/>"), ""},
      {3, root + "><x:c r=\"A1\" i=\"4\"/><x:c r=\"A1\" i=\"1\"/></x:calcChain>",
       root + "><x:c r=\"A1\" i=\"1\"/>" + prefixed + "</x:calcChain>"},
      {3, root + "/>", root + ">" + prefixed + "</x:calcChain>"},
      {3, list(many), list(many_left + of_new)},
  };
  const auto grafted = [&](const auto& c) {
    return parts_of(with_sheets(changed(package_, {{"xl/calcChain.xml", "", c.before},
                                                   {"[Content_Types].xml", "</Types>", type},
                                                   {"xl/_rels/workbook.xml.rels", "</Relationships>", link}}),
                                {c.sheet}));
  };
  for (const auto& c : kCases) {
    const auto after = grafted(c);
    EXPECT_EQ(after.contains("xl/calcChain.xml"), !c.after.empty());
    if (!c.after.empty()) {
      EXPECT_EQ(after.at("xl/calcChain.xml"), c.after);
    }
    EXPECT_EQ(after.at("xl/_rels/workbook.xml.rels").find("calcChain") == std::string::npos, c.after.empty());
  }
  // Last: where the schemas are not there, the rest is skipped.
  for (const auto& c : kCases) {
    grafted(c);
    EXPECT_EXTERNAL(test::validate_xlsx(file_));
  }
}

// Every call to the file system fails once.
class FailingFiles : public FileSystem {
 public:
  explicit FailingFiles(int nth) : left_(nth) {}
  bool has_failed() const { return left_ <= 0; }
  int open(const std::string& path, int flags) override {
    return fails() ? -1 : FileSystem::open(path, flags);
  }
  ssize_t read(int file, char* data, std::size_t size) override {
    return fails() ? -1 : FileSystem::read(file, data, size);
  }
  int create(std::string& name, mode_t mode) override {
    return fails() ? -1 : FileSystem::create(name, mode);
  }
  ssize_t write(int file, const char* data, std::size_t size) override {
    // In halves, so that a write fails after one that did not.
    return fails() ? -1 : FileSystem::write(file, data, size > 9000 ? size / 2 : size);
  }
  ssize_t write_at(int file, const char* data, std::size_t size, std::uint64_t position) override {
    return fails() ? -1 : FileSystem::write_at(file, data, size > 20 ? size / 2 : size, position);
  }
  int change_mode(int file, mode_t mode) override {
    return fails() ? -1 : FileSystem::change_mode(file, mode);
  }
  int flush(int file) override { return fails() ? -1 : FileSystem::flush(file); }
  int close(int file) override {
    const int result = FileSystem::close(file);
    return fails() ? -1 : result;
  }
  int rename(const std::string& from, const std::string& to) override {
    return fails() ? -1 : FileSystem::rename(from, to);
  }
  int rename_to_new(const std::string& from, const std::string& to) override {
    return fails() ? -1 : FileSystem::rename_to_new(from, to);
  }

 private:
  bool fails() {
    errno = EIO;
    return --left_ == 0;
  }
  int left_;
};

TEST_F(Graft, AFailureOfAnyCallLeavesTheFileAndNothingElse) {
  const std::string grafted = with_sheets(package_, {1, 3});
  const auto graft_into = [&](FileSystem& files) {
    OpenOptions opening;
    opening.files = &files;
    ExistingWorkbook existing(file_, opening);
    SaveOptions saving;
    saving.files = &files;
    graft(existing, full_book(), {1, 3}, saving);
  };
  // Its header is filled in when most of the file is written.
  office::BookModel large;
  office::RowBand& band = add_sheet(large, "Large", {})->bands.emplace_back(1, 1500, 1, 100);
  for (std::size_t i = 0; i < band.cells.size(); ++i)
    band.cells[i] = {host::CellKind::kNumber, std::sin(static_cast<double>(i))};
  const auto save_large = [&](FileSystem& files) {
    SaveOptions saving;
    saving.files = &files;
    save(large, file_, saving);
  };
  const auto save_over = [&](FileSystem& files, bool replace) {
    SaveOptions saving;
    saving.files = &files;
    saving.replace = replace;
    save(full_book(), file_, saving);
  };
  const struct {
    const char* what;
    std::function<void(FileSystem&)> step;
    std::string wanted;
    int least;  // failures: open, reads, create, writes, mode, flush, close, rename
  } kCases[] = {
      {"into a workbook", graft_into, grafted, 8},
      {"in its place", [&](FileSystem& files) { save_over(files, true); }, package(full_book()), 5},
      {"a new one, where there is one", [&](FileSystem& files) { save_over(files, false); }, package_, 5},
      {"a large one", save_large, package(large), 8},
  };
  for (const auto& c : kCases)
    for (int nth = 1, failures = 0;; ++nth) {
      SCOPED_TRACE(std::string(c.what) + ", call " + std::to_string(nth));
      FailingFiles files(nth);
      write(file_, package_);
      bool done = false;
      try {
        c.step(files);
        done = true;
      } catch (const host::Error& error) {
        if (files.has_failed()) {
          EXPECT_THAT(error.description(), HasSubstr("the disk failed"));
        }
        ++failures;
      }
      EXPECT_TRUE(file_text(file_) == (done ? c.wanted : package_));
      EXPECT_FALSE(done && c.wanted == package_) << "a file gave way to a new one";
      EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1);
      if (files.has_failed()) continue;
      EXPECT_GE(failures, c.least);
      break;
    }
}

TEST(XmlEdits, LeaveTheRestAsItStands) {
  struct Case {
    const char* before;
    std::function<void(const XmlText&, XmlEdits&)> edit;
    const char* after;
  };
  const auto child = [](const XmlText& xml) -> const XmlElement& { return xml.elements()[1]; };
  const Case kCases[] = {
      {"<a><b/></a>", [&](auto& x, auto& e) { e.append(child(x), "<c/>"); }, "<a><b><c/></b></a>"},
      {"<a><b  n='1' /></a>",
       [&](auto& x, auto& e) { e.append(child(x), "<c/>"), e.set_attribute(child(x), "n", "\"2\""); },
       "<a><b  n='&quot;2&quot;' ><c/></b></a>"},
      {"<p:a xmlns:p='u'><p:b/></p:a>",
       [&](auto& x, auto& e) { e.append(child(x), beside(child(x), "<c d=\"1\"/>")); },
       "<p:a xmlns:p='u'><p:b><c xmlns=\"u\" d=\"1\"/></p:b></p:a>"},
      {"<a><b count = \"9\" cnt='x>y'>t</b> </a>",
       [&](auto& x, auto& e) { e.set_attribute(child(x), "cnt", "1"); },
       "<a><b count = \"9\" cnt='1'>t</b> </a>"},
      {"\xEF\xBB\xBF<a>\n<!-- <b> --><b>\u00e4</b><c/></a>\n", [&](auto& x, auto& e) { e.remove(child(x)); },
       "\xEF\xBB\xBF<a>\n<!-- <b> --><c/></a>\n"},
      {"<a><b><d>1</d></b></a>",
       [&](auto& x, auto& e) {
         e.remove(x.elements()[2]), e.append(child(x), "<c/>"), e.insert_after(child(x), "<z/>");
       },
       "<a><b><c/></b><z/></a>"},
      {"<a><b>12</b></a>", [&](auto& x, auto& e) { e.replace_text(child(x), "13"); }, "<a><b>13</b></a>"},
  };
  for (const Case& c : kCases) {
    const XmlText xml(c.before);
    XmlEdits edits(xml);
    EXPECT_EQ(edits.result(), c.before);
    c.edit(xml, edits);
    EXPECT_EQ(edits.result(), c.after);
  }
}

}  // namespace
}  // namespace ordvane::xlsx
