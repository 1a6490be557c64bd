// Sheets, styles and workbooks, element by element.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "host/error.h"
#include "sample_book.h"
#include "xlsx/parts.h"
#include "xlsx/save.h"

namespace ordvane::xlsx {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::string rows(const office::BookModel& book, const office::SheetModel& sheet,
                 CellNames names = CellNames::kAll, std::int32_t first = 1,
                 std::int32_t last = office::kSheetRows) {
  MarkedText out;
  const SharedTexts texts = collect_texts(book);
  SheetFrame frame;
  frame.texts = &texts;
  encode_rows(sheet, frame, book.texts, names, first, last, out);
  return out.text;
}

std::string sheet_xml(const office::BookModel& book, std::size_t position = 0) {
  const SharedTexts texts = collect_texts(book);
  std::string xml;
  SheetFrame frame;
  frame.texts = &texts;
  frame.selected = position == book.active_sheet;
  for (const Piece& piece : sheet_pieces(book, position, frame)) xml += piece().text;
  return xml;
}

TEST(SheetRows, WriteEveryKindOfCell) {
  struct Case {
    const char* what;
    CellValue value;
    const char* formula;
    const char* row;
  };
  const double inf = std::numeric_limits<double>::infinity();
  const Case kCases[] = {
      {"a number", 1.5, "", "<row r=\"3\"><c r=\"AA3\"><v>1.5</v></c></row>"},
      {"a text", "x", "", "<row r=\"3\"><c r=\"AA3\" t=\"s\"><v>0</v></c></row>"},
      {"a truth value", CellValue::boolean(true), "", "<row r=\"3\"><c r=\"AA3\" t=\"b\"><v>1</v></c></row>"},
      {"an error", host::CellError::kNA, "", "<row r=\"3\"><c r=\"AA3\" t=\"e\"><v>#N/A</v></c></row>"},
      {"not a number", std::nan(""), "", "<row r=\"3\"><c r=\"AA3\" t=\"e\"><v>#NUM!</v></c></row>"},
      {"infinity", -inf, "", "<row r=\"3\"><c r=\"AA3\" t=\"e\"><v>#NUM!</v></c></row>"},
      {"nothing", {}, "", ""},
      {"a formula", 2, "=A1<B1", "<row r=\"3\"><c r=\"AA3\"><f>A1&lt;B1</f><v>2</v></c></row>"},
      {"a formula giving a text", "a&b", "=A1",
       "<row r=\"3\"><c r=\"AA3\" t=\"str\"><f>A1</f><v>a&amp;b</v></c></row>"},
      {"a formula not computed", {}, "=A1", "<row r=\"3\"><c r=\"AA3\"><f>A1</f></c></row>"},
  };
  for (const Case& c : kCases) {
    office::BookModel book;
    auto sheet = add_sheet(book, "S", {{c.value}}, {3, 27});
    if (*c.formula != '\0') sheet->formulas[{3, 27}] = c.formula;
    EXPECT_EQ(rows(book, *sheet), c.row) << c.what;
  }
}

// Bands side by side and below each other, heights and formulas outside of them.
TEST(SheetRows, BringBandsHeightsAndFormulasTogether) {
  office::BookModel book;
  auto sheet = add_sheet(book, "S", {{1, 2}, {3, {}}}, {2, 1});
  sheet->bands.emplace_back(2, 1, 4, 1).cells = {{host::CellKind::kNumber, 9}};
  sheet->bands.emplace_back(6, 1, office::kSheetColumns, 1).cells = {{host::CellKind::kNumber, 7}};
  sheet->formulas[{3, 3}] = "=1";
  sheet->formulas[{9, 702}] = "=2";
  sheet->formulas[{9, 1353}] = "=3";
  sheet->row_heights[1] = 20.25;
  sheet->row_heights[3] = 30;
  const std::string all =
      "<row r=\"1\" ht=\"20.25\" customHeight=\"1\"/>"
      "<row r=\"2\"><c r=\"A2\"><v>1</v></c><c r=\"B2\"><v>2</v></c><c r=\"D2\"><v>9</v></c></row>"
      "<row r=\"3\" ht=\"30\" customHeight=\"1\"><c r=\"A3\"><v>3</v></c><c r=\"C3\"><f>1</f></c></row>"
      "<row r=\"6\"><c r=\"XFD6\"><v>7</v></c></row>"
      "<row r=\"9\"><c r=\"ZZ9\"><f>2</f></c><c r=\"AZA9\"><f>3</f></c></row>";
  EXPECT_EQ(rows(book, *sheet), all);
  EXPECT_EQ(rows(book, *sheet, CellNames::kAll, 1, 2) + rows(book, *sheet, CellNames::kAll, 3, 6) +
                rows(book, *sheet, CellNames::kAll, 7, 9),
            all)
      << "any run of rows can be encoded by itself";
  EXPECT_THAT(rows(book, *sheet, CellNames::kWhereNeeded),
              HasSubstr("<row r=\"2\"><c><v>1</v></c><c><v>2</v></c><c r=\"D2\"><v>9</v></c></row>"));
}

TEST(SheetPart, WritesWhatSurroundsTheRows) {
  const std::string xml = sheet_xml(full_book(), 3);
  for (const char* element : {
           "<sheetPr><pageSetUpPr fitToPage=\"1\"/></sheetPr><dimension ref=\"A2:D20\"/>",
           "<pane xSplit=\"1\" ySplit=\"3\" topLeftCell=\"B4\" activePane=\"bottomRight\" state=\"frozen\"/>",
           "<selection pane=\"bottomRight\" activeCell=\"C6\" sqref=\"B5:C6\"/>",
           "<cols><col min=\"2\" max=\"3\" width=\"20.7109375\" customWidth=\"1\"/><col min=\"5\" max=\"5\" "
           "width=\"9.140625\" hidden=\"1\"/></cols>",
           "<autoFilter ref=\"B12:C14\"/><mergeCells count=\"1\"><mergeCell ref=\"B10:D11\"/></mergeCells>"
           "<conditionalFormatting sqref=\"B2:B4\"><cfRule type=\"colorScale\" priority=\"1\"><colorScale>"
           "<cfvo type=\"num\" val=\"-1.5\"/><cfvo type=\"num\" val=\"2\"/><color rgb=\"FFE69F00\"/>"
           "<color rgb=\"FFFFFFFF\"/></colorScale></cfRule></conditionalFormatting><pageMargins",
           "<pageSetup orientation=\"landscape\" fitToWidth=\"1\" fitToHeight=\"0\"/>",
           "<oddHeader>&amp;C&amp;&quot;Calibri,Bold&quot;Report &amp; more</oddHeader>"
           "<oddFooter>&amp;LPage &amp;P of &amp;N&amp;RTrial</oddFooter></headerFooter>"
           "<rowBreaks count=\"2\" manualBreakCount=\"2\"><brk id=\"8\" max=\"16383\" man=\"1\"/>"
           "<brk id=\"13\" max=\"16383\" man=\"1\"/></rowBreaks><colBreaks count=\"1\" "
           "manualBreakCount=\"1\"><brk id=\"2\" max=\"1048575\" man=\"1\"/></colBreaks>",
       })
    EXPECT_THAT(xml, HasSubstr(element));
  EXPECT_THAT(xml, Not(HasSubstr("tabSelected"))) << "another sheet is shown";
}

// A scale is written where nothing else decides the size of the print.
TEST(SheetPart, ScalesPrintsThatAreNotFitted) {
  const struct {
    host::PageSetup page;
    const char* element;
  } kCases[] = {
      {{.scale = 55}, "<pageSetup orientation=\"portrait\" scale=\"55\"/>"},
      {{.landscape = true}, "<pageSetup orientation=\"landscape\"/>"},
      {{.fit_to_pages_tall = 2, .scale = 55},
       "<pageSetup orientation=\"portrait\" fitToWidth=\"0\" fitToHeight=\"2\"/>"},
  };
  for (const auto& c : kCases) {
    office::BookModel book;
    add_sheet(book, "S", {})->page = c.page;
    EXPECT_THAT(sheet_xml(book), HasSubstr(c.element));
  }
}

TEST(SheetPart, CutsHeadersThatWouldMakeTheFileUnreadable) {
  office::BookModel book;
  add_sheet(book, "S", {})->page.left_header = std::string(300, 'h');
  EXPECT_THAT(sheet_xml(book), HasSubstr("<oddHeader>&amp;L" + std::string(253, 'h') + "</oddHeader>"));
}

TEST(Styles, NumberEachPartOnce) {
  office::BookModel book;
  office::CellStyle style;
  style.number_format = "0.00%";
  book.styles.intern(style);
  style.number_format = "#,##0 \"€\"";
  style.fill = 0x0000FF;
  book.styles.intern(style);
  style.bold = true;
  style.right = {static_cast<std::int32_t>(host::LineStyle::kDot), 1, 0xFF0000};
  style.locked = false;
  book.styles.intern(style);
  const std::string xml = styles_part(book.styles);
  for (const char* element : {
           "<numFmts count=\"1\"><numFmt numFmtId=\"164\" formatCode=\"#,##0 &quot;€&quot;\"/></numFmts>",
           "<fonts count=\"2\"><font><sz val=\"11\"/>",
           "<fills count=\"3\"><fill><patternFill patternType=\"none\"/></fill><fill><patternFill "
           "patternType=\"gray125\"/></fill><fill><patternFill patternType=\"solid\"><fgColor "
           "rgb=\"FFFF0000\"/>",
           "<borders count=\"2\">",
           "<right style=\"dotted\"><color rgb=\"FF0000FF\"/></right>",
           "<cellXfs count=\"4\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/><xf "
           "numFmtId=\"10\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\" applyNumberFormat=\"1\"/>",
           "applyProtection=\"1\"><protection locked=\"0\"/></xf></cellXfs>",
       })
    EXPECT_THAT(xml, HasSubstr(element));
}

TEST(SharedTexts, HoldWhatCellsUse) {
  office::BookModel book;
  book.texts.intern("no longer used");
  add_sheet(book, "S", {{"b", " a "}, {"b", "c\nd"}});
  EXPECT_THAT(
      shared_texts_part(book, collect_texts(book)),
      HasSubstr("count=\"4\" uniqueCount=\"3\"><si><t>b</t></si><si><t xml:space=\"preserve\"> a </t></si>"
                "<si><t xml:space=\"preserve\">c\nd</t></si></sst>"));
}

TEST(Workbook, NamesPrintTitlesAndTheCalculation) {
  office::BookModel book;
  add_sheet(book, "A", {});
  auto sheet = add_sheet(book, "It's", {});
  const auto titles = [&](host::Span rows, host::Span columns) {
    sheet->page.print_title_rows = rows;
    sheet->page.print_title_columns = columns;
    return workbook_part(book);
  };
  const std::string name = "<definedName name=\"_xlnm.Print_Titles\" localSheetId=\"1\">'It''s'!";
  EXPECT_THAT(titles({2, 5}, {1, 28}), HasSubstr(name + "$A:$AB,'It''s'!$2:$5</definedName>"));
  EXPECT_THAT(titles({}, {1, 1}), HasSubstr(name + "$A:$A</definedName>"));
  EXPECT_THAT(titles({2, 5}, {}), HasSubstr(name + "$2:$5</definedName>"));
  EXPECT_THAT(workbook_part(book), Not(HasSubstr("calcPr")));
  titles({}, {});
  sheet->formulas[{1, 1}] = "=1";
  EXPECT_THAT(workbook_part(book), Not(HasSubstr("definedName")));
  EXPECT_THAT(workbook_part(book), HasSubstr("<calcPr calcId=\"191029\"/>"));
}

TEST(Package, RefusesWhatTheFormatCannotHold) {
  const struct {
    const char* what;
    std::function<void(office::BookModel&)> spoil;
    const char* message;
  } kCases[] = {
      {"no sheets", [](auto& book) { book.sheets.clear(); }, "without sheets"},
      {"a malformed name", [](auto& book) { book.sheets[0]->name = "a/b"; }, "a/b"},
      {"an empty name", [](auto& book) { book.sheets[0]->name = ""; }, "''"},
      {"a name twice", [](auto& book) { add_sheet(book, "ÄRGER", {}), add_sheet(book, "ärger", {}); },
       "ärger"},
      {"a text that is too long",
       [](auto& book) {
         add_sheet(book, "Long", {{1, std::string(32768, 'x')}}, {4, 2});
       },
       "'Long', cell C4"},
      {"a band below the sheet",
       [](auto& book) {
         add_sheet(book, "Low", {{1}, {2}}, {office::kSheetRows, 1});
       },
       "'Low'"},
      {"a merge beside the sheet",
       [](auto& book) {
         book.sheets[0]->merges = {{1, office::kSheetColumns, 1, 2}};
       },
       "column 16385"},
  };
  for (const auto& c : kCases) {
    office::BookModel book;
    add_sheet(book, "First", {{"x"}});
    ASSERT_NO_THROW(package(book)) << c.what;
    c.spoil(book);
    try {
      package(book);
      ADD_FAILURE() << c.what << " was written";
    } catch (const host::Error& error) {
      EXPECT_EQ(error.code(), host::errc::kHostRefused) << c.what;
      EXPECT_THAT(error.description(), HasSubstr(c.message)) << c.what;
    }
  }
}

TEST(SharedTexts, TakeTheLongestTextACellHolds) {
  office::BookModel book;
  std::string text;  // counted in UTF-16 units, not in bytes
  for (int i = 0; i < 32767; ++i) text += "é";
  add_sheet(book, "S", {{text}});
  EXPECT_NO_THROW(package(book));
}

// Many cells are shared out among all processors.
TEST(SharedTexts, AreThoseThatCellsHold) {
  for (const std::int32_t rows : {9, 1 << 18}) {
    office::BookModel book;
    auto& sheet = *book.sheets.emplace_back(std::make_shared<office::SheetModel>());
    office::RowBand& band = sheet.bands.emplace_back(1, rows, 1, 6);
    const auto put = [&](std::size_t cell, const std::string& text) {
      band.cells[cell] = {host::CellKind::kText, static_cast<double>(book.texts.intern(text))};
    };
    put(1, "b");
    put(0, "forgotten");
    put(0, "a");
    put(band.cells.size() / 2, "b");
    put(band.cells.size() - 2, "c");
    const SharedTexts texts = collect_texts(book);
    EXPECT_EQ(texts.references, 4U);
    EXPECT_EQ(texts.used, (std::vector<office::TextId>{0, 2, 3}));
    EXPECT_EQ(texts.number[3], 2U);
    put(band.cells.size() - 1, std::string(32768, 'x'));
    try {
      collect_texts(book);
      ADD_FAILURE() << "too long for a cell";
    } catch (const host::Error& error) {
      EXPECT_THAT(error.description(), HasSubstr("cell F" + std::to_string(rows) + ":"));
    }
  }
}

}  // namespace
}  // namespace ordvane::xlsx
