// The parts of a package, one function a part, and what several of them share.
//
// Every function returns the part's whole XML, that of sheets in pieces. Relationship ids are given by the
// caller, who also writes the relationships.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "office/book.h"
#include "xlsx/deflate.h"
#include "xlsx/grid.h"
#include "xlsx/shared_texts.h"
#include "xlsx/sheets_by_name.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {

inline constexpr const char* kMainSpace = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
inline constexpr const char* kDrawingSpace = "http://schemas.openxmlformats.org/drawingml/2006/main";
inline constexpr const char* kChartSpace = "http://schemas.openxmlformats.org/drawingml/2006/chart";
inline constexpr const char* kReferenceSpace =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

// host::Error with errc::kHostRefused: what a package cannot hold.
[[noreturn]] void refuse(const std::string& why);

// <tag>text</tag> with the mark that keeps leading and trailing blanks.
void text_element(Xml& xml, const char* tag, std::string_view text);

struct Relationship {
  std::string type;    // the last part of its type: "worksheet", "chart" …
  std::string target;  // relative to the part that has it
};

// Ids are "rId1", "rId2" … in the order given.
std::string relationships_part(const std::vector<Relationship>& relationships);
std::string relationship_id(std::size_t position);  // from 0

struct PartType {
  std::string name;  // "/xl/workbook.xml"
  std::string content_type;
};
std::string content_types_part(const std::vector<PartType>& parts);

// The name, local to its sheet and hidden, that marks a sheet as a report.
inline constexpr const char* kReportMark = "OrdvaneReport";
// The definedName elements of a sheet at this place (from 0) of its workbook.
std::vector<std::string> sheet_names(const office::SheetModel& sheet, std::size_t place);
// The sheets' relationship ids are rId1 to rIdN.
std::string workbook_part(const office::BookModel& book);
std::string styles_part(const office::StyleTable& styles);
std::string theme_part(const std::string& east_asian_font);
std::string core_properties_part(const host::DocumentProperties& properties,
                                 std::chrono::sys_seconds created);
std::string app_properties_part(const office::BookModel& book);

// How a sheet is written apart from what it holds: what depends on the package around it.
struct SheetFrame {
  std::string drawing, legacy_drawing;                 // relationship ids; empty: none
  bool selected = false;                               // the sheet that the workbook shows
  const SharedTexts* texts = nullptr;                  // null: every cell holds its own text
  const std::vector<std::uint32_t>* styles = nullptr;  // cell format by style; null: numbered alike
  std::string code_name;                               // what macros call the sheet; empty: none
  // Widths in the file count digits of the workbook's default font.
  double digit_pixels = kDigitPixels;
};
// A run of a part's text. The runs of a part can be made side by side.
using Piece = std::function<MarkedText()>;
// The pieces refer to the workbook and to what the frame points at.
std::vector<Piece> sheet_pieces(const office::BookModel& book, std::size_t sheet, const SheetFrame& frame);
// Whether a cell element says where it is when it follows the cell to its left. Without, a sheet takes a
// third less room and time; with, the simplest of readers can follow.
enum class CellNames { kAll, kWhereNeeded };
CellNames cell_names(const office::SheetModel& sheet);
// The row elements of rows `first` to `last`. Where most cells go without names, what they have in common is
// noted as repeated.
void encode_rows(const office::SheetModel& sheet, const SheetFrame& frame, const office::TextTable& strings,
                 CellNames names, std::int32_t first, std::int32_t last, MarkedText& out);

std::string comments_part(const office::SheetModel& sheet);
// The boxes of the notes. `number`: of the sheet, from 1; keeps shape ids apart.
std::string notes_drawing_part(const office::SheetModel& sheet, std::size_t number);
// The frames of the charts; their relationship ids are rId1 to rIdN.
std::string drawing_part(const office::SheetModel& sheet);
// `user_shapes`: relationship id of the text boxes; empty: none.
std::string chart_part(const SheetsByName& sheets, const office::ChartModel& chart,
                       const std::string& user_shapes);
std::string user_shapes_part(const office::ChartModel& chart);

}  // namespace ordvane::xlsx
